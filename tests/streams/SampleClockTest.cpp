#include "streams/SampleClock.h"

#include "tests/streams/MediaFoundationCalls.h"
#include "tests/streams/StreamTest.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro::Fs;
using Pictaro::TimePosition;

class SampleClockTest : public testing::Test {
protected:
    SampleClockTest() { EXPECT_EQ(MFCreateSample(sample.GetAddressOf()), S_OK); }

    void stamp(std::int64_t microseconds) { clock.stamp(*sample.Get(), TimePosition(microseconds)); }
    LONGLONG time() const {
        LONGLONG value = -1;
        EXPECT_EQ(sample->GetSampleTime(&value), S_OK);
        return value;
    }
    LONGLONG duration() const {
        LONGLONG value = -1;
        EXPECT_EQ(sample->GetSampleDuration(&value), S_OK);
        return value;
    }

    ComPtr<IMFSample> sample;
    SampleClock clock;
};

TEST_F(SampleClockTest, StartsAtZero) {
    EXPECT_EQ(clock.last(), TimePosition(0));
}

TEST_F(SampleClockTest, GivesTheFirstSampleItsOwnTimeAsDuration) {
    stamp(40'000);
    EXPECT_EQ(time(), 400'000);
    EXPECT_EQ(duration(), 400'000);
    EXPECT_EQ(clock.last(), TimePosition(40'000));
}

TEST_F(SampleClockTest, GivesLaterSamplesTheirDistanceFromTheOneBefore) {
    stamp(40'000);
    stamp(63'000);
    EXPECT_EQ(time(), 630'000);
    EXPECT_EQ(duration(), 230'000);
    stamp(63'000);
    EXPECT_EQ(duration(), 0);
}

TEST_F(SampleClockTest, GivesANegativeDurationWhereTimesRunBackwards) {
    stamp(40'000);
    stamp(10'000);
    EXPECT_EQ(time(), 100'000);
    EXPECT_EQ(duration(), -300'000);
    EXPECT_EQ(clock.last(), TimePosition(10'000));
}

TEST_F(SampleClockTest, RefusesTheInvalidTimeAndStaysAsItWas) {
    stamp(40'000);
    EXPECT_EQ(thrown<ErrorException>([&] { clock.stamp(*sample.Get(), TimePosition::invalid()); }),
              "Invalid value. @JY::Pictaro::TimePosition::checkIsValid:41");
    EXPECT_EQ(clock.last(), TimePosition(40'000));
}

TEST_F(SampleClockTest, NamesTheCallThatFailsAndStaysAsItWas) {
    const struct {
        MediaFoundationCall call;
        const char* name;
    } rows[] = {{MediaFoundationCall::setSampleTime, "SetSampleTime"},
                {MediaFoundationCall::setSampleDuration, "SetSampleDuration"}};
    stamp(1000);
    for (const auto& [call, name] : rows) {
        const MediaFoundationFault fault(call, E_UNEXPECTED);
        ComPtr<IMFSample> failing;
        ASSERT_EQ(MFCreateSample(failing.GetAddressOf()), S_OK);
        EXPECT_EQ(thrownIn<ApiErrorException>([&] { clock.stamp(*failing.Get(), TimePosition(5000)); }),
                  std::string(name) + ": (0x8000ffff) @SampleClock");
        EXPECT_EQ(clock.last(), TimePosition(1000));
    }
}

} // namespace
