#include "streams/Mp3FrameSync.h"

#include "tests/support/MemoryStream.h"
#include "tests/support/Thrown.h"
#include "util/ErrorException.h"

#include <algorithm>
#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <ostream>
#include <random>

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro::Fs;

/// What a search comes to: the bytes before the sync, nothing when there is none, and where the reader stands then.
struct Outcome {
    std::optional<std::uint32_t> junk;
    std::int64_t position;

    friend bool operator==(const Outcome&, const Outcome&) = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
    *out << testing::PrintToString(outcome.junk) << " at " << outcome.position;
}

/// The outcome in a stream of these bytes, fenced to the first `fence` of them.
Outcome search(const Bytes& bytes, std::size_t fence) {
    MemoryStream stream(bytes);
    stream.setLimit(static_cast<std::int64_t>(fence));
    try {
        const std::uint32_t junk = skipToMp3FrameSync(stream);
        return {junk, stream.tell()};
    } catch (const ErrorException& exception) {
        EXPECT_EQ(exception.getMessage(), "Parse error.");
        return {std::nullopt, stream.tell()};
    }
}

Outcome search(const Bytes& bytes) {
    return search(bytes, bytes.size());
}

/// The same, one byte after the other, as the search is defined.
Outcome searchByteByByte(const Bytes& bytes, std::size_t fence) {
    const std::size_t end = std::min<std::size_t>(fence, bytes.size());
    for (std::size_t index = 0; index < end;) {
        if (bytes[index++] == 0xFF && index < end && (bytes[index++] & 0xE0) == 0xE0) {
            return {static_cast<std::uint32_t>(index - 2), static_cast<std::int64_t>(index - 2)};
        }
    }
    return {std::nullopt, static_cast<std::int64_t>(end)};
}

TEST(Mp3FrameSync, IsAByteOfSetBitsAndThreeMore) {
    EXPECT_EQ(search({0xFF, 0xFB, 0x90}), (Outcome{0, 0}));
    EXPECT_EQ(search({0xFF, 0xE0}), (Outcome{0, 0}));
    EXPECT_EQ(search({0xFF, 0xFF}), (Outcome{0, 0}));
    EXPECT_EQ(search({0xFF, 0xDF}), (Outcome{std::nullopt, 2}));
    EXPECT_EQ(search({0xFF, 0x7F}), (Outcome{std::nullopt, 2}));
    EXPECT_EQ(search({0xFE, 0xFB}), (Outcome{std::nullopt, 2}));
}

TEST(Mp3FrameSync, IsFoundBehindJunk) {
    EXPECT_EQ(search({0x54, 0x41, 0xFF, 0xFB, 0x90}), (Outcome{2, 2}));
}

TEST(Mp3FrameSync, IsSearchedOnBehindTheByteThatDidNotMatch) {
    EXPECT_EQ(search({0xFF, 0x00, 0xFF, 0xFB}), (Outcome{2, 2}));
    EXPECT_EQ(search({0xFF, 0x1F, 0xE0, 0xFF, 0xF3}), (Outcome{3, 3}));
}

TEST(Mp3FrameSync, IsMissedInNothing) {
    EXPECT_EQ(search({}), (Outcome{std::nullopt, 0}));
}

TEST(Mp3FrameSync, IsNotCompletedByAByteBehindTheFence) {
    EXPECT_EQ(search({0x00, 0xFF, 0xFB, 0x90}, 2), (Outcome{std::nullopt, 2}));
}

TEST(Mp3FrameSync, MayLieAtTheVeryEnd) {
    EXPECT_EQ(search({0x00, 0xFF, 0xFB}), (Outcome{1, 1}));
}

TEST(Mp3FrameSync, IsFoundWhereverReadsAreDivided) {
    for (std::size_t junk = 0; junk < 3000; ++junk) {
        Bytes bytes(junk + 10, 0);
        bytes[junk] = 0xFF;
        bytes[junk + 1] = 0xF3;
        ASSERT_EQ(search(bytes), (Outcome{static_cast<std::uint32_t>(junk), static_cast<std::int64_t>(junk)}));
    }
}

TEST(Mp3FrameSync, IsTheOneThatASearchByteByByteFinds) {
    std::mt19937 random(20240301);
    constexpr std::array<std::uint8_t, 8> values = {0, 0, 0, 0x1F, 0xDF, 0xE0, 0x7F, 0xFF};
    for (int round = 0; round < 2000; ++round) {
        // Sync bytes that become rarer, so that long searches occur, too.
        const auto kinds = 1 + random() % values.size();
        Bytes bytes(random() % 2500);
        for (std::uint8_t& byte : bytes) {
            byte = random() % 100 == 0 ? values[7] : values[random() % kinds];
        }
        const std::size_t fence = random() % (bytes.size() + 5);
        ASSERT_EQ(search(bytes, fence), searchByteByByte(bytes, fence)) << round;
    }
}

TEST(Mp3FrameSync, IsFoundWithFewReads) {
    Bytes bytes(100'000, 0);
    bytes.insert(bytes.end(), {0xFF, 0xFB});
    MemoryStream stream(bytes);
    EXPECT_EQ(skipToMp3FrameSync(stream), 100'000U);
    EXPECT_LT(stream.readCount(), 120U);
}

TEST(Mp3FrameSync, IsRefusedByAStreamThatCannotGoBack) {
    MemoryStream stream({0xFF, 0xFB, 0x90});
    stream.failMovesAfter(0);
    EXPECT_EQ(thrownIn<ErrorException>([&] { skipToMp3FrameSync(stream); }), "Seek error. @Mp3FrameSync");
}

TEST(Mp3FrameSync, IsMissedWhereTheDataEndBeforeTheFence) {
    MemoryStream stream({0x00, 0xFF, 0xFB, 0x90});
    stream.setLimit(1000);
    stream.cutReadsAt(2);
    EXPECT_EQ(thrownIn<ErrorException>([&] { skipToMp3FrameSync(stream); }), "Parse error. @Mp3FrameSync");
    EXPECT_EQ(stream.tell(), 2);
}

} // namespace
