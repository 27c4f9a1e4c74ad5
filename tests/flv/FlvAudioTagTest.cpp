#include "flv/FlvAudioTag.h"

#include "tests/support/MemoryStream.h"
#include "tests/support/Thrown.h"
#include "util/ErrorException.h"

#include <gtest/gtest.h>

namespace {

using JY::ErrorException;
using JY::Pictaro::Fs::FlvAudioTag;
using JY::Test::Bytes;
using JY::Test::MemoryStream;
using JY::Test::thrown;

} // namespace

TEST(FlvAudioTag, FieldsAreThoseOfTheHeaderByte) {
    MemoryStream stream({0b00101101});
    FlvAudioTag tag;
    tag.read(stream);
    EXPECT_EQ(tag.getSoundFormat(), 2);
    EXPECT_EQ(tag.getSoundRate(), 3);
    EXPECT_EQ(tag.getSoundSize(), 0);
    EXPECT_EQ(tag.getSoundType(), 1);
}

TEST(FlvAudioTag, StreamIsLeftAtThePayload) {
    MemoryStream stream({0x2F, 0xFF, 0xFB});
    FlvAudioTag().read(stream);
    EXPECT_EQ(stream.tell(), 1);
}

TEST(FlvAudioTag, AacHasAPacketTypeBehindTheHeaderByte) {
    MemoryStream stream({0xAF, 1, 0x21});
    FlvAudioTag tag;
    tag.read(stream);
    EXPECT_EQ(tag.getSoundFormat(), FlvAudioTag::aac);
    EXPECT_EQ(tag.getAacPacketType(), 1);
    EXPECT_EQ(stream.tell(), 2);
}

TEST(FlvAudioTag, OnlyAacHasAPacketType) {
    for (unsigned header = 0; header < 256; ++header) {
        MemoryStream stream({static_cast<std::uint8_t>(header), 7, 7});
        FlvAudioTag tag;
        tag.read(stream);
        const bool isAac = (header & 0xF0) == 0xA0;
        EXPECT_EQ(tag.getAacPacketType(), isAac ? 7 : 0) << header;
        EXPECT_EQ(stream.tell(), isAac ? 2 : 1) << header;
    }
}

TEST(FlvAudioTag, NothingIsLeftOfTheTagReadBefore) {
    MemoryStream stream({0xAF, 1, 0x2F});
    FlvAudioTag tag;
    tag.read(stream);
    tag.read(stream);
    EXPECT_EQ(tag.getSoundFormat(), FlvAudioTag::mp3);
    EXPECT_EQ(tag.getAacPacketType(), 0);
}

TEST(FlvAudioTag, EmptyBodyIsTooShort) {
    MemoryStream stream({0xAF});
    stream.setLimit(0);
    EXPECT_EQ(thrown<ErrorException>([&] { FlvAudioTag().read(stream); }), "Too short. @FlvAudioTag:13");
}

TEST(FlvAudioTag, AacWithoutAPacketTypeIsTooShort) {
    MemoryStream stream({0xAF, 1});
    stream.setLimit(1);
    EXPECT_EQ(thrown<ErrorException>([&] { FlvAudioTag().read(stream); }), "Too short. @FlvAudioTag:16");
}
