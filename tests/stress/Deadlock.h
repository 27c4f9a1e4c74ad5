#pragma once

#include "tests/support/Watchdog.h"

namespace JY::Test {

/// Two watched threads take two locks, each the other's first. Does not return.
[[noreturn]] void standStill(Watchdog& watchdog);

} // namespace JY::Test
