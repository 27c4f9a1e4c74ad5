#include "tests/fuzz/EndlessFile.h"

#include "tests/support/FlvBuilder.h"

#include <gtest/gtest.h>

namespace {

using namespace JY::Fuzz;
using JY::Test::FlvBuilder;
using JY::Test::MetaData;

FlvBuilder soundUpTo(std::uint32_t milliseconds) {
    return FlvBuilder().aacSequenceHeader(0).aacRaw(milliseconds, {1, 2});
}

TEST(EndlessFile, IsOneWhoseTagsAllLieInTheFirstSecond) {
    EXPECT_TRUE(isSearchedForEver(soundUpTo(0).build()));
    EXPECT_TRUE(isSearchedForEver(soundUpTo(1000).build()));
    EXPECT_FALSE(isSearchedForEver(soundUpTo(1001).build()));
    EXPECT_FALSE(isSearchedForEver(soundUpTo(0x01000000).build()));
}

TEST(EndlessFile, IsOneWhoseLastTagIsCutShort) {
    Bytes file = soundUpTo(10).build();
    file.resize(file.size() - 6); // in the last body
    EXPECT_TRUE(isSearchedForEver(file));
    file.resize(file.size() - 6); // in the last record
    EXPECT_FALSE(isSearchedForEver(file));
}

TEST(EndlessFile, IsNoneWithScriptDataOrOtherTags) {
    EXPECT_FALSE(isSearchedForEver(soundUpTo(10).onMetaData().build()));
    EXPECT_FALSE(isSearchedForEver(soundUpTo(10).tag(0x28, 20, {}).build()));
    EXPECT_FALSE(isSearchedForEver(soundUpTo(10).strayBytes({0}).build()));
    EXPECT_FALSE(isSearchedForEver(FlvBuilder().build()));
    EXPECT_FALSE(isSearchedForEver({}));
}

TEST(EndlessFile, EndsBehindAFarTag) {
    Bytes file = soundUpTo(10).build();
    leaveTheFirstSecond(file);
    EXPECT_FALSE(isSearchedForEver(file));
    const Bytes once = file;
    leaveTheFirstSecond(file);
    EXPECT_EQ(file, once);
}

TEST(EndlessFile, EndsWhenLengthened) {
    EXPECT_FALSE(isSearchedForEver(lengthened(soundUpTo(10).build())));
    const Bytes lying = soundUpTo(10).withDataSize(0xFFFFFF).aacRaw(20, {1}).build();
    ASSERT_TRUE(isSearchedForEver(lying));
    EXPECT_FALSE(isSearchedForEver(lengthened(lying)));
}

} // namespace
