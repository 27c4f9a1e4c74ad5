#pragma once

#include "tools/SampleFacts.h"

#include <mfidl.h>
#include <wrl/client.h>

#include <optional>
#include <vector>

namespace JY::Tools {

/// A sample and what can be told of it.
struct DeliveredSample {
    Microsoft::WRL::ComPtr<IMFSample> sample;
    SampleFacts facts;
};

/// Whether a stream of the playback has met the end. All readers of one playback share it.
struct PlaybackEnd {
    bool met = false;
};

/// Reads one stream of a started media source, sample by sample, each once.
///
/// Media sources differ at the end. Some still hold samples when they announce it, so the reader asks on until it is
/// announced a second time; some then read their last piece again for each further request of any stream, so that from
/// the first announcement on samples that have been delivered already are passed over.
class StreamReader {
public:
    /// `stream` and `end` outlive the reader.
    StreamReader(IMFMediaStream& stream, PlaybackEnd& end) : stream_(stream), end_(end) {}

    /// Asks for the next sample and waits for it. Nothing after the last one.
    /// @throws Failure
    std::optional<DeliveredSample> next();

private:
    Microsoft::WRL::ComPtr<IMFSample> request();
    Microsoft::WRL::ComPtr<IMFSample> requestUntilEnd();
    bool isRepeat(const SampleFacts& facts) const;
    void remember(const SampleFacts& facts);

    IMFMediaStream& stream_;
    PlaybackEnd& end_;
    int endsMet_ = 0;
    /// The samples of the latest time.
    std::vector<SampleFacts> latest_;
};

} // namespace JY::Tools
