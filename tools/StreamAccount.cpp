#include "tools/StreamAccount.h"

#include <algorithm>

namespace JY::Tools {

void StreamAccount::add(const SampleFacts& sample) {
    const bool first = samples == 0;
    if (first || sample.time != previousTime_) {
        ++frames;
        keyFrames += sample.cleanPoint ? 1U : 0U;
    }
    ++samples;
    bytes += sample.bytes;
    firstTime = first ? sample.time : std::min(firstTime, sample.time);
    lastTime = first ? sample.time : std::max(lastTime, sample.time);
    previousTime_ = sample.time;
}

} // namespace JY::Tools
