#include "flv/BitReader.h"

#include "tests/support/Bytes.h"

#include <gtest/gtest.h>

namespace {

using JY::Pictaro::Fs::BitReader;
using JY::Test::Bytes;

} // namespace

TEST(BitReader, ReadsTheMostSignificantBitFirst) {
    const Bytes bytes = {0b10110001};
    BitReader reader(bytes);
    EXPECT_EQ(reader.read(1), 1U);
    EXPECT_EQ(reader.read(3), 0b011U);
    EXPECT_EQ(reader.read(4), 0b0001U);
}

TEST(BitReader, FieldsRunAcrossBytes) {
    const Bytes bytes = {0x12, 0x10}; // 00010 0100 0010 000
    BitReader reader(bytes);
    EXPECT_EQ(reader.read(5), 2U);
    EXPECT_EQ(reader.read(4), 4U);
    EXPECT_EQ(reader.read(4), 2U);
    EXPECT_EQ(reader.read(3), 0U);
}

TEST(BitReader, ReadsUpToThirtyTwoBitsAtOnce) {
    const Bytes bytes = {0xFF, 0xFB, 0x90, 0x64, 0x80};
    BitReader reader(bytes);
    EXPECT_EQ(reader.read(32), 0xFFFB9064U);
    EXPECT_EQ(reader.read(1), 1U);
}

TEST(BitReader, ReadOfNoBitsIsZeroAndDoesNotMove) {
    const Bytes bytes = {0x80};
    BitReader reader(bytes);
    EXPECT_EQ(reader.read(0), 0U);
    EXPECT_EQ(reader.read(1), 1U);
}

TEST(BitReader, SkipsBits) {
    const Bytes bytes = {0x01, 0x80};
    BitReader reader(bytes);
    reader.skip(7);
    EXPECT_EQ(reader.read(2), 3U);
}

TEST(BitReader, IsNotOverrunAtItsEnd) {
    const Bytes bytes = {0xFF};
    BitReader reader(bytes);
    EXPECT_EQ(reader.read(8), 0xFFU);
    EXPECT_FALSE(reader.isOverrun());
}

TEST(BitReader, BitsBehindTheEndAreZeroAndNoticed) {
    const Bytes bytes = {0xFF};
    BitReader reader(bytes);
    EXPECT_EQ(reader.read(12), 0xFF0U);
    EXPECT_TRUE(reader.isOverrun());
}

TEST(BitReader, SkippingBehindTheEndIsNoticed) {
    BitReader reader({});
    EXPECT_FALSE(reader.isOverrun());
    reader.skip(1);
    EXPECT_TRUE(reader.isOverrun());
    EXPECT_EQ(reader.read(8), 0U);
}
