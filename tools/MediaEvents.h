#pragma once

#include <mfidl.h>
#include <windows.h>
#include <wrl/client.h>

namespace JY::Tools {

/// One event of a media source or stream.
struct MediaEvent {
    MediaEventType type = MEUnknown;
    /// The object that it carries; null when it carries none.
    Microsoft::WRL::ComPtr<IUnknown> object;
};

/// Waits for the next event. Half a minute without one is a failure: a source that has lost its way must not make its
/// client wait for ever.
/// @throws Failure also for an event whose status is a failure.
MediaEvent nextEvent(IMFMediaEventGenerator& generator);

/// Takes every event that is there off the queue, without a look at it.
void discardEvents(IMFMediaEventGenerator& generator);

} // namespace JY::Tools
