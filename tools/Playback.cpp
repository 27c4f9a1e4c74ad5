#include "tools/Playback.h"

#include "tools/Failure.h"
#include "tools/MediaEvents.h"
#include "tools/PropVariant.h"

#include <utility>

using Microsoft::WRL::ComPtr;

namespace JY::Tools {

void Playback::start(IMFPresentationDescriptor& presentation, LONGLONG position) {
    stop();
    const PropVariant start(position);
    check(source_.Start(&presentation, &GUID_NULL, start.get()), "IMFMediaSource::Start");
    started_ = true;
    waitFor(MESourceStarted);
}

void Playback::stop() {
    if (!std::exchange(started_, false)) {
        return;
    }
    check(source_.Stop(), "IMFMediaSource::Stop");
    waitFor(MESourceStopped);
    for (const auto& [identifier, stream] : streams_) {
        discardEvents(*stream.Get());
    }
    streams_.clear();
}

void Playback::waitFor(MediaEventType awaited) {
    for (;;) {
        const MediaEvent event = nextEvent(source_);
        if (event.type == awaited) {
            return;
        }
        if ((event.type == MENewStream || event.type == MEUpdatedStream) && event.object) {
            addStream(*event.object.Get());
        }
    }
}

void Playback::addStream(IUnknown& object) {
    ComPtr<IMFMediaStream> stream;
    check(object.QueryInterface(IID_PPV_ARGS(stream.GetAddressOf())), "QueryInterface(IMFMediaStream)");
    ComPtr<IMFStreamDescriptor> descriptor;
    check(stream->GetStreamDescriptor(descriptor.GetAddressOf()), "IMFMediaStream::GetStreamDescriptor");
    DWORD identifier = 0;
    check(descriptor->GetStreamIdentifier(&identifier), "IMFStreamDescriptor::GetStreamIdentifier");
    streams_[identifier] = stream;
}

} // namespace JY::Tools
