#include "flv/FlvTag.h"

#include "flv/BigEndian.h"
#include "log/Core.h"
#include "util/ErrorException.h"
#include "util/FatalException.h"

#include <span>

namespace JY::Pictaro::Fs {

namespace {

constexpr SourceFile here{"FlvTag"};

constexpr std::int64_t previousTagSizeSize = 4;

void requireSeeked(bool done, int line) {
    if (!done) {
        throw ErrorException(here.at(line), "Seek error.");
    }
}

} // namespace

std::uint32_t dataSizeOf(std::span<const std::uint8_t, tagRecordSize> record) {
    return fromBigEndian<std::uint32_t>(record.subspan<5, 3>());
}

void FlvTag::read() {
    isRead_ = false;
    recordPosition_ = stream_.tell();
    if (stream_.read(record_.data(), tagRecordSize) < tagRecordSize) {
        throw ErrorException(here.at(21), "Too short FlvTag.");
    }
    isRead_ = true;
}

bool FlvTag::next() {
    requireRead();
    seekToRecord();
    const std::int64_t wholeSize = std::int64_t{tagRecordSize} + getDataSize();
    if (!stream_.hasMoreThan(wholeSize + previousTagSizeSize)) {
        return false; // at most the size of this tag follows it
    }
    isRead_ = false;
    requireSeeked(stream_.skip(wholeSize), 80);
    return true;
}

bool FlvTag::previous() {
    requireRead();
    if (getPreviousTagSize() == 0) {
        return false;
    }
    const std::int64_t distance = -previousTagSizeSize - std::int64_t{getPreviousTagSize()};
    Log2::untraced().info(here.at(88)) << "seekSize=" << distance;
    isRead_ = false;
    requireSeeked(stream_.seek(recordPosition_), 90);
    requireSeeked(stream_.skip(distance), 91);
    return true;
}

std::uint8_t FlvTag::getTagType() const {
    requireRead();
    return record_[4];
}

std::uint32_t FlvTag::getDataSize() const {
    requireRead();
    return dataSizeOf(record_);
}

std::uint32_t FlvTag::getTimestamp() const {
    requireRead();
    const auto lowerBits = fromBigEndian<std::uint32_t>(std::span(record_).subspan<8, 3>());
    return (std::uint32_t{record_[11]} << 24) | lowerBits;
}

std::uint32_t FlvTag::getPreviousTagSize() const {
    requireRead();
    return fromBigEndian<std::uint32_t>(std::span(record_).first<4>());
}

void FlvTag::seekToRecord() {
    requireSeeked(stream_.seek(recordPosition_), 71);
}

void FlvTag::requireRead() const {
    if (!isRead_) {
        throw FatalException(here.at(65), "Not read yet.");
    }
}

} // namespace JY::Pictaro::Fs
