#pragma once

#include "tools/Playback.h"
#include "tools/SampleFacts.h"
#include "tools/StreamAccount.h"

#include <functional>
#include <vector>

namespace JY::Tools {

/// Called for every sample with the identifier of its stream, in the order of delivery.
using SampleVisitor = std::function<void(DWORD stream, const SampleFacts& sample)>;

/// Reads every sample of the started streams to the end. The stream that is furthest behind is asked next, so that a
/// source which reads one file for all of them need not keep much. A stream whose request fails is given up, with the
/// reason in its account; the others are read on.
std::vector<StreamAccount> walkSamples(const PlayingStreams& streams, const SampleVisitor& visit);

} // namespace JY::Tools
