#pragma once

namespace JY::Test {

/// Tells the watchdog of the tests that the test gets on. Every test may take its patience, a minute, without.
void beatTestWatchdog();

} // namespace JY::Test
