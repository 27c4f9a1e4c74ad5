#include "tools/MediaEvents.h"

#include "tools/Failure.h"
#include "tools/PropVariant.h"

#include <mferror.h>

#include <chrono>
#include <thread>

using Microsoft::WRL::ComPtr;

namespace JY::Tools {

namespace {

constexpr std::chrono::seconds patience{30};
constexpr std::chrono::milliseconds pause{1};

/// Null when no event is there.
ComPtr<IMFMediaEvent> eventAtHand(IMFMediaEventGenerator& generator) {
    ComPtr<IMFMediaEvent> event;
    const HRESULT result = generator.GetEvent(MF_EVENT_FLAG_NO_WAIT, event.GetAddressOf());
    if (result == MF_E_NO_EVENTS_AVAILABLE) {
        return nullptr;
    }
    check(result, "IMFMediaEventGenerator::GetEvent");
    return event;
}

ComPtr<IMFMediaEvent> waitForEvent(IMFMediaEventGenerator& generator) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (;;) {
        if (ComPtr<IMFMediaEvent> event = eventAtHand(generator)) {
            return event;
        }
        if (std::chrono::steady_clock::now() > deadline) {
            throw Failure(HRESULT_FROM_WIN32(ERROR_TIMEOUT), "waiting for an event of the media source");
        }
        std::this_thread::sleep_for(pause);
    }
}

} // namespace

MediaEvent nextEvent(IMFMediaEventGenerator& generator) {
    const ComPtr<IMFMediaEvent> event = waitForEvent(generator);
    HRESULT status = S_OK;
    check(event->GetStatus(&status), "IMFMediaEvent::GetStatus");
    check(status, "an event of the media source");

    MediaEvent result;
    check(event->GetType(&result.type), "IMFMediaEvent::GetType");
    PropVariant value;
    check(event->GetValue(value.put()), "IMFMediaEvent::GetValue");
    if (value->vt == VT_UNKNOWN) {
        result.object = value->punkVal;
    }
    return result;
}

void discardEvents(IMFMediaEventGenerator& generator) {
    while (eventAtHand(generator)) {
    }
}

} // namespace JY::Tools
