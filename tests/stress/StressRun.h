#pragma once

#include "tests/stress/StressClient.h"
#include "tests/support/Watchdog.h"

#include <chrono>
#include <cstdint>

namespace JY::Test {

/// Has that many clients at work at once for so long. When it returns all of them have given up what they had, and
/// every thread of theirs has ended. @return the number of actions taken
std::uint64_t runStressClients(const LoadedModule& module, const Films& films, Watchdog& watchdog, unsigned threads,
                               std::uint64_t seed, std::chrono::milliseconds duration);

} // namespace JY::Test
