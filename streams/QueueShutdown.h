#pragma once

#include <mfobjects.h>

namespace JY::Pictaro::Fs {

/// Shuts an event queue down: a client that waits in its GetEvent wakes with MF_E_SHUTDOWN. What clients have left in
/// it is let go before, one by one and outside the queue's own lock, so that an object that faults costs a record and
/// nothing else. While a client's BeginGetEvent is outstanding the queue gives nothing out: then all goes inside it.
/// Runs clients' code, so the caller holds no lock. May be called again.
void shutDownQueue(IMFMediaEventQueue& queue) noexcept;

} // namespace JY::Pictaro::Fs
