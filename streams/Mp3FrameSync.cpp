#include "streams/Mp3FrameSync.h"

#include "util/ErrorException.h"

#include <array>
#include <span>

namespace JY::Pictaro::Fs {

namespace {

constexpr SourceFile here{"Mp3FrameSync"};

/// Room for a whole frame of common size, so that junk costs few reads.
using Block = std::array<std::uint8_t, 1024>;

/// The next bytes; none at the fence or the end of the data. A read past the fence gives nothing, whatever is left
/// before it, so that it asks for less and less.
std::span<const std::uint8_t> readBlock(Stream& reader, Block& block) {
    for (auto size = static_cast<std::uint32_t>(block.size()); size != 0; size /= 2) {
        if (const std::uint32_t taken = reader.read(block.data(), size); taken != 0) {
            return std::span(block).first(taken);
        }
    }
    return {};
}

constexpr bool isSync(std::uint8_t first, std::uint8_t second) {
    return first == 0xFF && (second & 0xE0) == 0xE0;
}

/// Where the second byte of a sync lies, or the size of `bytes` when there is none. `previous` lies before them.
std::uint32_t findSecondByte(std::uint8_t previous, std::span<const std::uint8_t> bytes) {
    std::uint32_t index = 0;
    while (index != bytes.size() && !isSync(previous, bytes[index])) {
        previous = bytes[index];
        ++index;
    }
    return index;
}

} // namespace

std::uint32_t skipToMp3FrameSync(Stream& reader) {
    Block block; // filled before it is looked at
    std::uint32_t passed = 0;
    std::uint8_t previous = 0;
    for (;;) {
        const std::span<const std::uint8_t> bytes = readBlock(reader, block);
        if (bytes.empty()) {
            throw ErrorException(here(), "Parse error.");
        }
        const std::uint32_t second = findSecondByte(previous, bytes);
        passed += second;
        if (second != bytes.size()) {
            const auto taken = static_cast<std::int64_t>(bytes.size());
            if (!reader.skip(second - taken - 1)) {
                throw ErrorException(here(), "Seek error.");
            }
            return passed - 1;
        }
        previous = bytes.back();
    }
}

} // namespace JY::Pictaro::Fs
