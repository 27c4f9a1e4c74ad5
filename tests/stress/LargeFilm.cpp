#include "tests/stress/LargeFilm.h"

#include "tests/support/FlvBuilder.h"
#include "util/Handle.h"

#include <windows.h>

#include <stdexcept>
#include <utility>
#include <vector>
#include <winioctl.h>

namespace JY::Test {

namespace {

constexpr std::uint32_t largestTag = 0xFFFFFF;
constexpr unsigned largeTags = 260;
constexpr std::uint64_t tagFrame = 15;   // a tag's header and, behind its body, its size
constexpr std::uint64_t fileHeader = 13; // with the size of no tag
constexpr std::uint8_t scriptTag = 18;

void require(BOOL done, const char* what) {
    if (!done) {
        throw std::runtime_error(what);
    }
}

/// Writes here and there; what lies between stays unwritten.
class SparseFile {
public:
    explicit SparseFile(const std::wstring& path)
        : handle_(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr)) {
        require(static_cast<bool>(handle_), "CreateFile");
        DWORD unused = 0;
        // Where this is not known, file systems leave holes out by themselves.
        DeviceIoControl(handle_.get(), FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &unused, nullptr);
    }

    void write(std::uint64_t position, const Bytes& bytes) const {
        LARGE_INTEGER place;
        place.QuadPart = static_cast<LONGLONG>(position);
        require(SetFilePointerEx(handle_.get(), place, nullptr, FILE_BEGIN), "SetFilePointerEx");
        DWORD written = 0;
        require(WriteFile(handle_.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr),
                "WriteFile");
    }

private:
    Handle handle_;
};

void addSecond(FlvBuilder& film, unsigned second) {
    const auto last = static_cast<std::uint8_t>(second);
    film.avcNalus(second * 1000, FlvBuilder::key, {{0x65, 0x88, 0x80, 0x10, 0x00, last}});
    film.aacRaw(second * 1000, {0x21, 0x10, last});
}

FlvBuilder before(const MetaData& metaData) {
    FlvBuilder film;
    film.onMetaData(metaData).avcSequenceHeader(0).aacSequenceHeader(0);
    for (unsigned second = 0; second <= LargeFilm::lastSecondBefore; ++second) {
        addSecond(film, second);
    }
    return film;
}

FlvBuilder behind() {
    FlvBuilder film;
    for (unsigned second = LargeFilm::firstSecondBehind; second <= LargeFilm::lastSecond; ++second) {
        addSecond(film, second);
    }
    return film;
}

std::uint64_t sizeOfLargeTags() {
    return largeTags * (std::uint64_t{largestTag} + tagFrame);
}

/// The index of the key frames on both sides, which takes the same room whatever it tells.
MetaData indexed(std::uint64_t sizeBefore) {
    std::vector<double> times;
    std::vector<double> positions;
    const FlvBuilder first = before(MetaData::typical()); // its tags are shifted by what the index takes
    const std::uint64_t shift = sizeBefore - first.build().size();
    for (unsigned second = 0; second <= LargeFilm::lastSecondBefore; ++second) {
        times.push_back(second);
        positions.push_back(static_cast<double>(static_cast<std::uint64_t>(first.tagPosition(3 + 2 * second)) + shift));
    }
    const FlvBuilder last = behind();
    for (unsigned second = LargeFilm::firstSecondBehind; second <= LargeFilm::lastSecond; ++second) {
        times.push_back(second);
        const auto position = last.tagPosition(std::size_t{2} * (second - LargeFilm::firstSecondBehind));
        positions.push_back(
            static_cast<double>(sizeBefore + sizeOfLargeTags() + static_cast<std::uint64_t>(position) - fileHeader));
    }
    return MetaData::typical().keyframes(times, positions);
}

Bytes largeTagHeader(std::uint32_t milliseconds) {
    const auto byte = [&](unsigned shift) { return static_cast<std::uint8_t>(milliseconds >> shift); };
    return {scriptTag, 0xFF, 0xFF, 0xFF, byte(16), byte(8), byte(0), byte(24), 0, 0, 0};
}

Bytes bigEndian(std::uint32_t value) {
    return {static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
            static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

} // namespace

LargeFilm::LargeFilm(Index index) {
    Bytes head = before(MetaData::typical()).build();
    if (index == Index::ofKeyFrames) {
        const std::uint64_t size = before(indexed(head.size())).build().size();
        head = before(indexed(size)).build();
    }
    const SparseFile file(file_.path());
    file.write(0, head);
    std::uint64_t position = head.size();
    for (unsigned tag = 0; tag < largeTags; ++tag) {
        file.write(position, largeTagHeader((lastSecondBefore + 1 + tag) * 1000));
        position += tagFrame + largestTag;
        file.write(position - 4, bigEndian(largestTag + 11));
    }
    positionBehind_ = position;
    Bytes tail = behind().build();
    tail.erase(tail.begin(), tail.begin() + static_cast<std::ptrdiff_t>(fileHeader));
    file.write(position, tail);
    size_ = position + tail.size();
}

} // namespace JY::Test
