#include "tools/StreamReader.h"

#include "tools/Failure.h"
#include "tools/MediaEvents.h"

#include <mferror.h>

#include <algorithm>

using Microsoft::WRL::ComPtr;

namespace JY::Tools {

namespace {
constexpr int endsToMeet = 2;

/// The event that answers a request, past those that tell how the stream is doing. A tick is a gap in the stream.
MediaEvent nextAnswer(IMFMediaStream& stream) {
    for (;;) {
        MediaEvent event = nextEvent(stream);
        if (event.type == MEMediaSample || event.type == MEEndOfStream || event.type == MEStreamTick) {
            return event;
        }
    }
}

/// Null when the event is no sample.
ComPtr<IMFSample> sampleOf(const MediaEvent& event) {
    ComPtr<IMFSample> sample;
    if (event.type == MEMediaSample && event.object) {
        check(event.object.As(&sample), "QueryInterface(IMFSample)");
    }
    return sample;
}

} // namespace

std::optional<DeliveredSample> StreamReader::next() {
    while (const ComPtr<IMFSample> sample = requestUntilEnd()) {
        const SampleFacts facts = factsOf(*sample.Get());
        if (!end_.met || !isRepeat(facts)) {
            remember(facts);
            return DeliveredSample{sample, facts};
        }
    }
    return std::nullopt;
}

ComPtr<IMFSample> StreamReader::requestUntilEnd() {
    while (endsMet_ < endsToMeet) {
        if (ComPtr<IMFSample> sample = request()) {
            return sample;
        }
        ++endsMet_;
        end_.met = true;
    }
    return nullptr;
}

/// Null when the answer is the end of the stream.
ComPtr<IMFSample> StreamReader::request() {
    for (;;) {
        const HRESULT result = stream_.RequestSample(nullptr);
        if (result == MF_E_END_OF_STREAM) {
            discardEvents(stream_);
            return nullptr;
        }
        check(result, "IMFMediaStream::RequestSample");
        const MediaEvent answer = nextAnswer(stream_);
        if (answer.type != MEStreamTick) {
            return sampleOf(answer);
        }
    }
}

bool StreamReader::isRepeat(const SampleFacts& facts) const {
    return std::ranges::any_of(latest_, [&](const SampleFacts& known) { return known.sameContent(facts); });
}

void StreamReader::remember(const SampleFacts& facts) {
    if (!latest_.empty() && latest_.front().time != facts.time) {
        latest_.clear();
    }
    latest_.push_back(facts);
}

} // namespace JY::Tools
