#pragma once

#include "flv/TimePosition.h"

#include <mfobjects.h>

namespace JY::Pictaro::Fs {

/// Puts time stamps on the samples of one codec handler. A sample's duration is its distance from the sample before:
/// the first one's is its own time, and it is negative where times run backwards.
class SampleClock {
public:
    /// Stamps the next sample. Throws ErrorException "Invalid value." for the invalid time, ApiErrorException
    /// "SetSampleTime" or "SetSampleDuration"; the clock stays as it was then.
    void stamp(IMFSample& sample, TimePosition time);
    /// The time of the last sample stamped; 0 before the first.
    TimePosition last() const { return last_; }

private:
    TimePosition last_;
};

} // namespace JY::Pictaro::Fs
