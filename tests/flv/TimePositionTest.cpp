#include "flv/TimePosition.h"

#include "tests/support/Thrown.h"
#include "util/ErrorException.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>

namespace {

using JY::ErrorException;
using JY::Pictaro::TimePosition;
using JY::Test::thrown;

constexpr const char* invalidValue = "Invalid value. @JY::Pictaro::TimePosition::checkIsValid:41";

std::string textOf(TimePosition position) {
    JY::TextBuffer text;
    text << position;
    return text.str();
}

} // namespace

TEST(TimePosition, IsAThousandTimesTheMillisecondsOfATag) {
    EXPECT_EQ(TimePosition::fromMilliseconds(40).microseconds(), 40000);
}

TEST(TimePosition, OfATagWrapsAfterThirtyTwoBitsOfMicroseconds) {
    EXPECT_EQ(TimePosition::fromMilliseconds(4294967).microseconds(), 4294967000);
    EXPECT_EQ(TimePosition::fromMilliseconds(4294968).microseconds(), 704);
    EXPECT_EQ(TimePosition::fromMilliseconds(4295000).microseconds(), 32704);
    EXPECT_EQ(TimePosition::fromMilliseconds(0xFFFFFFFF).microseconds(), 4294966296);
}

TEST(TimePosition, IsTenTimesAsManyHundredsOfNanoseconds) {
    EXPECT_EQ(TimePosition(40000).hundredNanoseconds(), 400000);
}

TEST(TimePosition, LargestNumberIsTheInvalidOne) {
    EXPECT_FALSE(TimePosition(9223372036854775807).isValid());
    EXPECT_EQ(TimePosition::invalid(), TimePosition(9223372036854775807));
    EXPECT_TRUE(TimePosition(9223372036854775806).isValid());
    EXPECT_TRUE(TimePosition().isValid());
}

TEST(TimePosition, CheckOfTheInvalidOneThrows) {
    EXPECT_EQ(thrown<ErrorException>([] { TimePosition::invalid().checkIsValid(); }), invalidValue);
    EXPECT_NO_THROW(TimePosition(-1).checkIsValid());
}

TEST(TimePosition, ComparesByTime) {
    EXPECT_TRUE(TimePosition(1) <= TimePosition(2));
    EXPECT_TRUE(TimePosition(2) <= TimePosition(2));
    EXPECT_FALSE(TimePosition(3) <= TimePosition(2));
    EXPECT_TRUE(TimePosition(3) > TimePosition(2));
    EXPECT_FALSE(TimePosition(2) > TimePosition(2));
}

TEST(TimePosition, ComparisonWithTheInvalidOneThrows) {
    EXPECT_EQ(thrown<ErrorException>([] { (void)(TimePosition(1) <= TimePosition::invalid()); }), invalidValue);
    EXPECT_EQ(thrown<ErrorException>([] { (void)(TimePosition::invalid() <= TimePosition(1)); }), invalidValue);
    EXPECT_EQ(thrown<ErrorException>([] { (void)(TimePosition::invalid() > TimePosition(1)); }), invalidValue);
}

TEST(TimePosition, EqualityWithTheInvalidOneDoesNotThrow) {
    EXPECT_TRUE(TimePosition::invalid() == TimePosition::invalid());
    EXPECT_FALSE(TimePosition(0) == TimePosition::invalid());
}

TEST(TimePosition, DifferenceIsInMicroseconds) {
    EXPECT_EQ(TimePosition(5) - TimePosition(7), TimePosition(-2));
}

TEST(TimePosition, DifferenceWithTheInvalidOneThrows) {
    EXPECT_EQ(thrown<ErrorException>([] { (void)(TimePosition(1) - TimePosition::invalid()); }), invalidValue);
    EXPECT_EQ(thrown<ErrorException>([] { (void)(TimePosition::invalid() - TimePosition(1)); }), invalidValue);
}

TEST(TimePosition, DifferenceThatIsTheInvalidOneThrows) {
    EXPECT_EQ(thrown<ErrorException>([] { (void)(TimePosition(9223372036854775806) - TimePosition(-1)); }),
              invalidValue);
}

TEST(TimePosition, DifferenceBeyondTheRangeWrapsRound) {
    constexpr auto smallest = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(TimePosition(5) - TimePosition(smallest), TimePosition(smallest + 5));
}

TEST(TimePosition, IsWrittenInMicroseconds) {
    EXPECT_EQ(textOf(TimePosition(-40000)), "-40000[microsec]");
    EXPECT_EQ(textOf(TimePosition::invalid()), "Invalid value.");
}
