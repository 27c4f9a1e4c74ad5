#pragma once

#include <windows.h>

namespace JY::Tools {

/// The time (100 ns) that a sample's time stands for, given the time that is expected about there. Some media sources
/// count microseconds in 32 bits, so that their sample times begin again at 0 every 71 minutes; times that do not wrap
/// come out as they are, unless they step back by more than half of that.
LONGLONG unwrapped(LONGLONG time, LONGLONG expected);

} // namespace JY::Tools
