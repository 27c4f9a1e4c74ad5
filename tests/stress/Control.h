#pragma once

#include "tests/support/Watchdog.h"

namespace JY::Test {

/// Makes the calls that the module and its clients make of the system, without the module, and tells by how much the
/// process grows with each.
void measureSystem(Watchdog& watchdog);

} // namespace JY::Test
