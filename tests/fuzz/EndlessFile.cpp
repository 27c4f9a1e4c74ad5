#include "tests/fuzz/EndlessFile.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace JY::Fuzz {

using Test::bigEndian;
using Test::join;

namespace {

constexpr std::size_t headerSize = 9;
constexpr std::size_t recordSize = 15;
constexpr std::size_t previousTagSizeSize = 4;
constexpr std::uint32_t firstSecond = 1000; ///< milliseconds
constexpr std::size_t largestTag = 0xFFFFFF;
constexpr std::size_t mostAppended = 4096; ///< bytes
/// A byte that, repeated, is a tag of no kind at 4.5 hours (40 minutes, as positions wrap) and of 64 KiB.
constexpr std::uint8_t farTagByte = 0x01;

/// A tag where its record stands in the file.
class TagAt {
public:
    TagAt(const Bytes& file, std::size_t record) : file_(file), record_(record) {}

    bool isWhole() const { return record_ + recordSize <= file_.size(); }
    std::uint8_t type() const { return file_[record_ + 4]; }
    std::uint32_t milliseconds() const { return number(11, 1) << 24 | number(8, 3); }
    /// Where its body ends, which may be behind the end of the file.
    std::size_t end() const { return record_ + recordSize + number(5, 3); }
    /// Whether nothing but its own size can follow it.
    bool isLast() const { return file_.size() <= end() + previousTagSizeSize; }

private:
    std::uint32_t number(std::size_t offset, std::size_t size) const {
        std::uint32_t value = 0;
        for (std::size_t index = 0; index < size; ++index) {
            value = value << 8 | file_[record_ + offset + index];
        }
        return value;
    }

    const Bytes& file_;
    std::size_t record_;
};

} // namespace

bool isSearchedForEver(const Bytes& file) {
    if (file.size() < headerSize) {
        return false;
    }
    for (std::size_t record = headerSize;;) {
        const TagAt tag(file, record);
        const bool isMedia = tag.isWhole() && (tag.type() == 8 || tag.type() == 9);
        if (!isMedia || tag.milliseconds() > firstSecond) {
            return false; // the search ends here, in one way or another
        }
        if (tag.isLast()) {
            return true;
        }
        record = tag.end();
    }
}

void leaveTheFirstSecond(Bytes& file) {
    std::size_t record = headerSize;
    while (TagAt(file, record).isWhole() && !TagAt(file, record).isLast()) {
        record = TagAt(file, record).end();
    }
    const TagAt last(file, record);
    if (!last.isWhole() || last.milliseconds() > firstSecond || last.end() > file.size() + mostAppended) {
        return;
    }
    const Bytes farTag = join({{18}, bigEndian(3, 3), bigEndian(9000, 3), {0}, bigEndian(0, 3), {2, 0, 0}});
    const std::size_t size = last.end() - record - previousTagSizeSize;
    file.resize(last.end());
    file = join({file, bigEndian(size, 4), farTag, bigEndian(farTag.size(), 4)});
}

Bytes lengthened(const Bytes& file) {
    Bytes result = file;
    result.resize(file.size() + largestTag + 2 * recordSize + 2 * 0x10101, farTagByte);
    return result;
}

} // namespace JY::Fuzz
