#include "flv/FlvVideoTag.h"

#include "tests/support/MemoryStream.h"
#include "tests/support/Thrown.h"
#include "util/ErrorException.h"

#include <gtest/gtest.h>

namespace {

using JY::ErrorException;
using JY::Pictaro::Fs::FlvVideoTag;
using JY::Test::Bytes;
using JY::Test::MemoryStream;
using JY::Test::thrown;

const Bytes avcBody = {0x17, 1, 0x12, 0x34, 0x56, 0x99};

/// What reading the header from the start of a body throws; `size` bytes of the body are in the tag.
std::string thrownByBodyOf(std::int64_t size) {
    MemoryStream stream(avcBody);
    stream.setLimit(size);
    return thrown<ErrorException>([&] { FlvVideoTag().read(stream); });
}

/// The same where the file ends after `size` bytes, and the tag later.
std::string thrownByFileOf(std::size_t size) {
    MemoryStream stream(JY::Test::firstBytes(avcBody, size));
    stream.setLimit(100);
    return thrown<ErrorException>([&] { FlvVideoTag().read(stream); });
}

} // namespace

TEST(FlvVideoTag, FieldsAreThoseOfTheHeaderByte) {
    MemoryStream stream({0x24});
    FlvVideoTag tag;
    tag.read(stream);
    EXPECT_EQ(tag.getFrameType(), 2);
    EXPECT_EQ(tag.getCodecId(), 4);
    EXPECT_EQ(stream.tell(), 1);
}

TEST(FlvVideoTag, OnlyFrameTypeOneIsAKeyFrame) {
    for (unsigned type = 0; type < 16; ++type) {
        MemoryStream stream({static_cast<std::uint8_t>((type << 4) | 4)});
        FlvVideoTag tag;
        tag.read(stream);
        EXPECT_EQ(tag.isKeyFrame(), type == 1) << type;
    }
}

TEST(FlvVideoTag, AvcHasPacketTypeAndCompositionTimeBehindTheHeaderByte) {
    MemoryStream stream(avcBody);
    FlvVideoTag tag;
    tag.read(stream);
    EXPECT_TRUE(tag.isKeyFrame());
    EXPECT_EQ(tag.getCodecId(), FlvVideoTag::avc);
    EXPECT_EQ(tag.getAvcPacketType(), 1);
    EXPECT_EQ(tag.getCompositionTimeBits(), 0x123456U);
    EXPECT_EQ(stream.tell(), 5);
}

TEST(FlvVideoTag, OnlyAvcHasMoreThanTheHeaderByte) {
    for (unsigned header = 0; header < 256; ++header) {
        MemoryStream stream({static_cast<std::uint8_t>(header), 7, 7, 7, 7, 7});
        FlvVideoTag tag;
        tag.read(stream);
        const bool isAvc = (header & 0x0F) == 7;
        EXPECT_EQ(tag.getAvcPacketType(), isAvc ? 7 : 0) << header;
        EXPECT_EQ(stream.tell(), isAvc ? 5 : 1) << header;
    }
}

TEST(FlvVideoTag, NothingIsLeftOfTheTagReadBefore) {
    MemoryStream stream({0x17, 1, 0x12, 0x34, 0x56, 0x24});
    FlvVideoTag tag;
    tag.read(stream);
    tag.read(stream);
    EXPECT_EQ(tag.getAvcPacketType(), 0);
    EXPECT_EQ(tag.getCompositionTimeBits(), 0U);
}

TEST(FlvVideoTag, EmptyBodyIsTooShort) {
    EXPECT_EQ(thrownByBodyOf(0), "Too short FlvVideoTag. @FlvVideoTag:13");
    EXPECT_EQ(thrownByFileOf(0), "Too short FlvVideoTag. @FlvVideoTag:13");
}

TEST(FlvVideoTag, AvcWithoutAPacketTypeIsTooShort) {
    EXPECT_EQ(thrownByBodyOf(1), "Too short FlvVideoTag. @FlvVideoTag:16");
    EXPECT_EQ(thrownByFileOf(1), "Too short FlvVideoTag. @FlvVideoTag:16");
}

TEST(FlvVideoTag, AvcWithoutACompositionTimeIsTooShort) {
    EXPECT_EQ(thrownByBodyOf(2), "Too short FlvVideoTag. @FlvVideoTag:17");
    EXPECT_EQ(thrownByFileOf(2), "Too short FlvVideoTag. @FlvVideoTag:17");
}

TEST(FlvVideoTag, CompositionTimeThatTheTagCutsIsTooShort) {
    EXPECT_EQ(thrownByBodyOf(3), "Too short FlvVideoTag. @FlvVideoTag:17");
    EXPECT_EQ(thrownByBodyOf(4), "Too short FlvVideoTag. @FlvVideoTag:17");
}

TEST(FlvVideoTag, CompositionTimeThatTheFileCutsIsAcceptedAsFarAsItGoes) {
    EXPECT_EQ(thrownByFileOf(3), "nothing was thrown");
    EXPECT_EQ(thrownByFileOf(4), "nothing was thrown");
    MemoryStream stream(JY::Test::firstBytes(avcBody, 3));
    stream.setLimit(5);
    FlvVideoTag tag;
    tag.read(stream);
    EXPECT_EQ(tag.getAvcPacketType(), 1);
    EXPECT_EQ(tag.getCompositionTimeBits(), 0x120000U);
}
