#pragma once

#include "tests/support/Watchdog.h"

namespace JY::Test {

/// Makes the calls that the module and its clients make of the system, without the module, and tells by how much the
/// process grows with each.
void measureSystem(Watchdog& watchdog);

/// How many bytes of its heaps the system loses for ever with each work item, callback that is invoked, or event that a
/// callback gets, whoever asks for it: measured now, in this process, without the module.
double bytesLostWithAWorkItem();

} // namespace JY::Test
