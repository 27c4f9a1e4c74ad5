#include "flv/FlvAudioTag.h"

#include "util/ErrorException.h"

namespace JY::Pictaro::Fs {

namespace {

constexpr SourceFile here{"FlvAudioTag"};

void readByte(Stream& stream, std::uint8_t& byte, int line) {
    if (stream.read(&byte, 1) != 1) {
        throw ErrorException(here.at(line), "Too short.");
    }
}

} // namespace

void FlvAudioTag::read(Stream& stream) {
    *this = {};
    readByte(stream, header_, 13);
    if (getSoundFormat() == aac) {
        readByte(stream, aacPacketType_, 16);
    }
}

} // namespace JY::Pictaro::Fs
