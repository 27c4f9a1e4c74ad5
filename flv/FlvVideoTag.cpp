#include "flv/FlvVideoTag.h"

#include "flv/BigEndian.h"
#include "util/ErrorException.h"

namespace JY::Pictaro::Fs {

namespace {

constexpr SourceFile here{"FlvVideoTag"};

void require(bool hasCome, int line) {
    if (!hasCome) {
        throw ErrorException(here.at(line), "Too short FlvVideoTag.");
    }
}

} // namespace

void FlvVideoTag::read(Stream& stream) {
    *this = {};
    require(stream.read(&header_, 1) == 1, 13);
    if (getCodecId() != avc) {
        return;
    }
    require(stream.read(&avcPacketType_, 1) == 1, 16);
    require(stream.read(compositionTime_.data(), 3) != 0, 17);
}

std::uint32_t FlvVideoTag::getCompositionTimeBits() const {
    return fromBigEndian<std::uint32_t>(compositionTime_);
}

} // namespace JY::Pictaro::Fs
