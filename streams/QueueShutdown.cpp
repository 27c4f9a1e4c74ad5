#include "streams/QueueShutdown.h"

#include "com/ClientReference.h"

namespace JY::Pictaro::Fs {

namespace {

/// Takes one event out of the queue and lets it go; false when there is none.
bool dropEvent(IMFMediaEventQueue& queue) {
    ClientReference<IMFMediaEvent> event;
    return SUCCEEDED(queue.GetEvent(MF_EVENT_FLAG_NO_WAIT, event.put()));
}

} // namespace

void shutDownQueue(IMFMediaEventQueue& queue) noexcept {
    letGo([&] {
        while (dropEvent(queue)) {
        }
    });
    letGo([&] { queue.Shutdown(); });
}

} // namespace JY::Pictaro::Fs
