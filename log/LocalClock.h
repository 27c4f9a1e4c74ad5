#pragma once

#include <windows.h>

namespace JY::Log2 {

/// The local time of this moment, as GetLocalTime tells it but many times faster. Any thread. A clock that is set shows
/// with the next millisecond at the latest, a change of the time zone with the next full minute.
SYSTEMTIME localTime();

} // namespace JY::Log2
