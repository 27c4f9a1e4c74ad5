#include "streams/SampleClock.h"

#include "util/ApiErrorException.h"

namespace JY::Pictaro::Fs {

namespace {
constexpr SourceFile here{"SampleClock"};
}

void SampleClock::stamp(IMFSample& sample, TimePosition time) {
    const TimePosition duration = time - last_;
    throwIfFailed(sample.SetSampleTime(time.hundredNanoseconds()), here(), "SetSampleTime");
    throwIfFailed(sample.SetSampleDuration(duration.hundredNanoseconds()), here(), "SetSampleDuration");
    last_ = time;
}

} // namespace JY::Pictaro::Fs
