#include "flv/BigEndian.h"

#include "tests/support/MemoryStream.h"

#include <gtest/gtest.h>

namespace {

using JY::Pictaro::Fs::fromBigEndian;
using JY::Pictaro::Fs::readBigEndian;
using JY::Test::Bytes;
using JY::Test::MemoryStream;

} // namespace

TEST(BigEndian, FirstByteIsTheMostSignificant) {
    EXPECT_EQ(fromBigEndian<std::uint16_t>(Bytes{0x12, 0x34}), 0x1234U);
    EXPECT_EQ(fromBigEndian<std::uint32_t>(Bytes{0x12, 0x34, 0x56}), 0x123456U);
    EXPECT_EQ(fromBigEndian<std::uint64_t>(Bytes{0x80, 1, 2, 3, 4, 5, 6, 7}), 0x8001020304050607U);
}

TEST(BigEndian, NoBytesAreZero) {
    EXPECT_EQ(fromBigEndian<std::uint32_t>(Bytes{}), 0U);
}

TEST(BigEndian, ReadTakesAsManyBytesAsTheTypeHas) {
    MemoryStream stream({0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE});
    EXPECT_EQ(readBigEndian<std::uint8_t>(stream), 0x12);
    EXPECT_EQ(readBigEndian<std::uint16_t>(stream), 0x3456);
    EXPECT_EQ(readBigEndian<std::uint32_t>(stream), 0x789ABCDEU);
}

TEST(BigEndian, ReadTakesAsManyBytesAsAreAskedFor) {
    MemoryStream stream({0x12, 0x34, 0x56, 0x78});
    EXPECT_EQ(readBigEndian<std::uint32_t>(stream, 3), 0x123456U);
    EXPECT_EQ(stream.tell(), 3);
}

TEST(BigEndian, ReadOfTooFewBytesGivesNothing) {
    MemoryStream stream({0x12, 0x34, 0x56});
    EXPECT_EQ(readBigEndian<std::uint32_t>(stream), std::nullopt);
    stream.clearLimit();
    EXPECT_EQ(readBigEndian<std::uint32_t>(stream), std::nullopt);
}
