#include "flv/FlvAudioTag.h"

#include "flv/ReadByte.h"

namespace JY::Pictaro::Fs {

namespace {

constexpr SourceFile here{"FlvAudioTag"};
constexpr const char* tooShort = "Too short.";

} // namespace

void FlvAudioTag::read(Stream& stream) {
    *this = {};
    header_ = readByte(stream, here.at(13), tooShort);
    if (getSoundFormat() == aac) {
        aacPacketType_ = readByte(stream, here.at(16), tooShort);
    }
}

} // namespace JY::Pictaro::Fs
