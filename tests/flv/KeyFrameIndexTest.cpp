#include "flv/FlvMetaDataImpl.h"
#include "log/Core.h"
#include "tests/support/FlvBuilder.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MemoryStream.h"
#include "tests/support/Thrown.h"

#include <gtest/gtest.h>
#include <limits>
#include <utility>

namespace {

using namespace JY::Pictaro::Fs;
using JY::Pictaro::TimePosition;
using JY::Test::Bytes;
using JY::Test::FlvBuilder;
using JY::Test::LogCapture;
using JY::Test::MemoryStream;
using JY::Test::MetaData;
using JY::Test::thrown;
namespace Amf0 = JY::Test::Amf0;
using NotFound = FlvMetaData::MetaDataNotFoundException;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr std::int64_t smallest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t largestFromDouble = 0x7FFFFFFFFFFFFC00;

FlvMetaDataImpl with(const MetaData& metaData) {
    FlvMetaDataImpl result;
    MemoryStream stream(FlvBuilder().onMetaData(metaData).build());
    result.scan(stream, JY::Log2::untraced());
    return result;
}

FlvMetaDataImpl withKeyFrames(const Bytes& keyFrames) {
    return with(MetaData().add("keyframes", keyFrames));
}

FlvMetaDataImpl withIndex(const std::vector<double>& times, const std::vector<double>& positions) {
    return with(MetaData().keyframes(times, positions));
}

/// Time and file position of the key frame for a target in microseconds.
std::pair<std::int64_t, std::uint64_t> keyFrameFor(const FlvMetaData& metaData, std::int64_t target) {
    const KeyFrame keyFrame = metaData.getNearlestLessKeyFrame(TimePosition(target));
    return {keyFrame.time.microseconds(), keyFrame.filePosition};
}

std::pair<std::int64_t, std::uint64_t> keyFrame(std::int64_t time, std::uint64_t position) {
    return {time, position};
}

std::string thrownBy(const FlvMetaData& metaData) {
    return thrown<NotFound>([&] { metaData.getNearlestLessKeyFrame(TimePosition(0)); });
}

} // namespace

TEST(KeyFrameIndex, GivesTheKeyFrameAtExactlyTheTarget) {
    EXPECT_EQ(keyFrameFor(withIndex({0, 2, 4}, {100, 200, 300}), 4000000), keyFrame(4000000, 300));
}

TEST(KeyFrameIndex, GivesTheLastKeyFrameBeforeTheTarget) {
    const FlvMetaDataImpl metaData = withIndex({0, 2, 4}, {100, 200, 300});
    EXPECT_EQ(keyFrameFor(metaData, 3999999), keyFrame(2000000, 200));
    EXPECT_EQ(keyFrameFor(metaData, 1), keyFrame(0, 100));
    EXPECT_EQ(keyFrameFor(metaData, 1000000000), keyFrame(4000000, 300));
}

TEST(KeyFrameIndex, GivesTheFirstKeyFrameWhenAllAreLater) {
    EXPECT_EQ(keyFrameFor(withIndex({0, 2, 4}, {100, 200, 300}), -1), keyFrame(0, 100));
    EXPECT_EQ(keyFrameFor(withIndex({1, 2}, {100, 200}), 0), keyFrame(1000000, 100));
}

TEST(KeyFrameIndex, OfOneKeyFrameAlwaysGivesThatOne) {
    const FlvMetaDataImpl metaData = withIndex({2}, {100});
    EXPECT_EQ(keyFrameFor(metaData, 0), keyFrame(2000000, 100));
    EXPECT_EQ(keyFrameFor(metaData, 9000000), keyFrame(2000000, 100));
}

TEST(KeyFrameIndex, GivesTheLastOfKeyFramesAtOneTime) {
    EXPECT_EQ(keyFrameFor(withIndex({0, 2, 2, 4}, {100, 200, 300, 400}), 2000000), keyFrame(2000000, 300));
}

TEST(KeyFrameIndex, SecondsAreMultipliedAsDoublesAndTruncated) {
    EXPECT_EQ(keyFrameFor(withIndex({29.97}, {100}), 0), keyFrame(29970000, 100));
    EXPECT_EQ(keyFrameFor(withIndex({8.033}, {100}), 0), keyFrame(static_cast<std::int64_t>(8.033 * 1e6), 100));
    EXPECT_EQ(keyFrameFor(withIndex({0.0000019}, {100}), 0), keyFrame(1, 100));
}

TEST(KeyFrameIndex, FindsEveryKeyFrameOfALongIndex) {
    std::vector<double> times;
    std::vector<double> positions;
    for (int index = 0; index < 1000; ++index) {
        times.push_back(index * 2.0);
        positions.push_back(index * 1000.0);
    }
    const FlvMetaDataImpl metaData = withIndex(times, positions);
    for (std::int64_t index = 0; index < 1000; ++index) {
        const auto expected = keyFrame(index * 2000000, static_cast<std::uint64_t>(index) * 1000);
        EXPECT_EQ(keyFrameFor(metaData, index * 2000000), expected);
        EXPECT_EQ(keyFrameFor(metaData, index * 2000000 + 1999999), expected);
    }
}

TEST(KeyFrameIndex, LookUpIsRecorded) {
    const FlvMetaDataImpl metaData = withIndex({0, 2}, {100, 200});
    const LogCapture log;
    metaData.getNearlestLessKeyFrame(TimePosition(2500000));
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"Search time position=2500000[microsec]",
                                                        "time=2000000[microsec] seekPosition=200"}));
    EXPECT_EQ(log.count("ENTER: JY::Pictaro::Fs::FlvMetaDataImpl::getNearlestLessKeyFrame"), 1U);
}

TEST(KeyFrameIndex, LookUpOfTheInvalidTimeIsRecordedAndGivesTheLastKeyFrame) {
    const FlvMetaDataImpl metaData = withIndex({0, 2}, {100, 200});
    const LogCapture log;
    EXPECT_EQ(metaData.getNearlestLessKeyFrame(TimePosition::invalid()).filePosition, 200U);
    EXPECT_EQ(log.count("Search time position=Invalid value."), 1U);
}

TEST(KeyFrameIndex, WithoutOnMetaDataThereIsNone) {
    EXPECT_EQ(thrownBy(FlvMetaDataImpl()), "No onMetaData. @FlvMetaData:128");
}

TEST(KeyFrameIndex, OnMetaDataAsAnObjectHasNone) {
    EXPECT_EQ(thrownBy(with(MetaData().keyframes({0}, {1}).asObject())), "Invalid metaDatas type. @FlvMetaData:129");
}

TEST(KeyFrameIndex, MustBeThere) {
    EXPECT_EQ(thrownBy(with(MetaData::typical())), "keyframes not found. @FlvMetaData:133");
}

TEST(KeyFrameIndex, MustBeAnObject) {
    EXPECT_EQ(thrownBy(withKeyFrames(Amf0::number(1))), "Invalid keyFrames type. @FlvMetaData:134");
    EXPECT_EQ(thrownBy(withKeyFrames(
                  Amf0::ecmaArray({{"filepositions", Amf0::numbers({1})}, {"times", Amf0::numbers({0})}}))),
              "Invalid keyFrames type. @FlvMetaData:134");
}

TEST(KeyFrameIndex, MustHaveTwoMembers) {
    const std::string invalidSize = "Invalid keyFrames object size. @FlvMetaData:137";
    const Amf0::Members members = {{"filepositions", Amf0::numbers({1})}, {"times", Amf0::numbers({0})}};
    EXPECT_EQ(thrownBy(withKeyFrames(Amf0::object({members[0], members[1], {"x", Amf0::number(1)}}))), invalidSize);
    EXPECT_EQ(thrownBy(withKeyFrames(Amf0::object({members[0]}))), invalidSize);
    EXPECT_EQ(thrownBy(withKeyFrames(Amf0::object({}))), invalidSize);
    EXPECT_EQ(thrownBy(withKeyFrames(Amf0::object({members[0], members[1], members[1]}))), invalidSize);
}

TEST(KeyFrameIndex, MustHaveFilePositions) {
    EXPECT_EQ(thrownBy(withKeyFrames(Amf0::object({{"x", Amf0::numbers({1})}, {"times", Amf0::numbers({0})}}))),
              "filepositions not found. @FlvMetaData:140");
    EXPECT_EQ(
        thrownBy(withKeyFrames(Amf0::object({{"filepositions", Amf0::number(1)}, {"times", Amf0::numbers({0})}}))),
        "Invalid filepositions type. @FlvMetaData:141");
}

TEST(KeyFrameIndex, MustHaveTimes) {
    EXPECT_EQ(thrownBy(withKeyFrames(Amf0::object({{"filepositions", Amf0::numbers({1})}, {"x", Amf0::numbers({0})}}))),
              "times not found. @FlvMetaData:145");
    EXPECT_EQ(
        thrownBy(withKeyFrames(Amf0::object({{"filepositions", Amf0::numbers({1})}, {"times", Amf0::number(0)}}))),
        "Invalid times type. @FlvMetaData:146");
}

TEST(KeyFrameIndex, MustHaveAsManyTimesAsFilePositions) {
    EXPECT_EQ(thrownBy(withIndex({0, 1}, {100})), "Size missmatch between filepositions and times. @FlvMetaData:149");
    EXPECT_EQ(thrownBy(withIndex({}, {100})), "Size missmatch between filepositions and times. @FlvMetaData:149");
}

TEST(KeyFrameIndex, MustNotBeEmpty) {
    EXPECT_EQ(thrownBy(withIndex({}, {})), "filepositions is empty. @FlvMetaData:150");
}

TEST(KeyFrameIndex, TimeThatIsLookedAtMustBeANumber) {
    const FlvMetaDataImpl metaData = withKeyFrames(
        Amf0::object({{"filepositions", Amf0::numbers({100, 200, 300})},
                      {"times", Amf0::strictArray({Amf0::number(0), Amf0::string("2"), Amf0::number(4)})}}));
    EXPECT_EQ(thrownBy(metaData), "Invalid fileposition type. @FlvMetaData:155");
}

TEST(KeyFrameIndex, TimeThatIsNotLookedAtMayBeAnything) {
    const FlvMetaDataImpl metaData =
        withKeyFrames(Amf0::object({{"filepositions", Amf0::numbers({100, 200, 300})},
                                    {"times", Amf0::strictArray({Amf0::null(), Amf0::number(2), Amf0::number(4)})}}));
    EXPECT_EQ(keyFrameFor(metaData, 3000000), keyFrame(2000000, 200));
}

TEST(KeyFrameIndex, FilePositionThatIsGivenMustBeANumber) {
    const FlvMetaDataImpl metaData =
        withKeyFrames(Amf0::object({{"filepositions", Amf0::strictArray({Amf0::boolean(true), Amf0::number(200)})},
                                    {"times", Amf0::numbers({0, 2})}}));
    EXPECT_EQ(thrownBy(metaData), "Invalid fileposition type. @FlvMetaData:160");
    EXPECT_EQ(keyFrameFor(metaData, 2000000), keyFrame(2000000, 200));
}

TEST(KeyFrameIndex, FilePositionsOfSixtyFourBitsAreKept) {
    EXPECT_EQ(keyFrameFor(withIndex({0}, {0x1p63}), 0), keyFrame(0, 0x8000000000000000U));
    EXPECT_EQ(keyFrameFor(withIndex({0}, {0x1.8p63}), 0), keyFrame(0, 0xC000000000000000U));
    EXPECT_EQ(keyFrameFor(withIndex({0}, {4294967296.75}), 0), keyFrame(0, 4294967296U));
}

TEST(KeyFrameIndex, FilePositionsBeyondTheRangeAreTheOutermostOnes) {
    EXPECT_EQ(keyFrameFor(withIndex({0}, {infinity}), 0), keyFrame(0, 0xFFFFFFFFFFFFF800U));
    EXPECT_EQ(keyFrameFor(withIndex({0}, {1e300}), 0), keyFrame(0, 0xFFFFFFFFFFFFF800U));
    EXPECT_EQ(keyFrameFor(withIndex({0}, {-1}), 0), keyFrame(0, 0));
    EXPECT_EQ(keyFrameFor(withIndex({0}, {-infinity}), 0), keyFrame(0, 0));
    EXPECT_EQ(keyFrameFor(withIndex({0}, {notANumber}), 0), keyFrame(0, 0));
}

TEST(KeyFrameIndex, TimesBeyondTheRangeAreTheOutermostValidOnes) {
    EXPECT_EQ(keyFrameFor(withIndex({infinity}, {100}), 0), keyFrame(largestFromDouble, 100));
    EXPECT_EQ(keyFrameFor(withIndex({1e300}, {100}), 0), keyFrame(largestFromDouble, 100));
    EXPECT_EQ(keyFrameFor(withIndex({-infinity}, {100}), 0), keyFrame(smallest, 100));
    EXPECT_EQ(keyFrameFor(withIndex({notANumber}, {100}), 0), keyFrame(0, 100));
    EXPECT_TRUE(TimePosition(largestFromDouble).isValid());
}

TEST(KeyFrameIndex, InfiniteTimeIsLaterThanEveryTarget) {
    EXPECT_EQ(keyFrameFor(withIndex({0, 2, infinity}, {100, 200, 300}), 9000000000), keyFrame(2000000, 200));
}
