#include "util/LatestValue.h"

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <gtest/gtest.h>
#include <optional>
#include <thread>
#include <vector>

namespace {

using JY::LatestValue;

struct Sample {
    std::uint64_t first;
    std::uint64_t second;
    std::uint64_t third;
    std::uint32_t fourth;
    std::uint32_t fifth;
};

Sample sampleOf(std::uint64_t number) {
    return {number, ~number, number * 3, static_cast<std::uint32_t>(number), 5};
}

bool isWhole(const Sample& sample) {
    return sample.second == ~sample.first && sample.third == sample.first * 3 &&
           sample.fourth == static_cast<std::uint32_t>(sample.first) && sample.fifth == 5;
}

TEST(LatestValue, IsZeroAtFirst) {
    const LatestValue<Sample> latest;
    const std::optional<Sample> sample = latest.get();
    ASSERT_TRUE(sample.has_value());
    EXPECT_EQ(sample->first, 0U);
    EXPECT_EQ(sample->second, 0U);
    EXPECT_EQ(sample->third, 0U);
    EXPECT_EQ(sample->fourth, 0U);
    EXPECT_EQ(sample->fifth, 0U);
}

TEST(LatestValue, IsTheOneSetLast) {
    LatestValue<Sample> latest;
    for (std::uint64_t number = 1; number < 100; ++number) {
        latest.set(sampleOf(number));
        const std::optional<Sample> sample = latest.get();
        ASSERT_TRUE(sample.has_value());
        EXPECT_EQ(sample->first, number);
        EXPECT_TRUE(isWhole(*sample));
    }
}

/// How many values came, and how many of them are made up of two.
struct Got {
    unsigned whole = 0;
    unsigned torn = 0;
};

constexpr unsigned enough = 200'000;

/// Until enough have come, or for ten seconds: a thread that stands still in the middle of setting one keeps the others
/// from coming.
Got getEnough(const LatestValue<Sample>& latest) {
    const ULONGLONG end = GetTickCount64() + 10'000;
    Got got;
    while (got.whole < enough && GetTickCount64() < end) {
        if (const std::optional<Sample> sample = latest.get()) {
            ++(isWhole(*sample) ? got.whole : got.torn);
        }
    }
    return got;
}

TEST(LatestValue, IsNeverMadeUpOfTwo) {
    LatestValue<Sample> latest;
    latest.set(sampleOf(0));
    std::atomic<unsigned> reading{3};
    std::vector<Got> got(reading);
    {
        std::vector<std::jthread> threads;
        for (std::uint64_t thread = 0; thread < 2; ++thread) {
            threads.emplace_back([&, thread] {
                for (std::uint64_t number = thread; reading != 0; number += 2) {
                    latest.set(sampleOf(number));
                }
            });
        }
        for (Got& readersOwn : got) {
            threads.emplace_back([&] {
                readersOwn = getEnough(latest);
                --reading;
            });
        }
    }
    for (const Got& readersOwn : got) {
        EXPECT_EQ(readersOwn.torn, 0U);
        EXPECT_GT(readersOwn.whole, 0U);
    }
}

} // namespace
