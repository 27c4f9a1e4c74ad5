#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace JY::Test {

struct StressOptions {
    unsigned seconds = 60;
    std::uint64_t seed = 1;
    unsigned threads = 16;
    unsigned patience = 20;  ///< seconds that a thread may stand still
    bool isControl = false;  ///< the system alone, without the module
    bool isDeadlock = false; ///< two threads that wait for each other, for a look at the watchdog
    bool isCrash = false;
};

/// Throws std::invalid_argument, whose text says what cannot be understood.
StressOptions parseStressOptions(const std::vector<std::string>& arguments);

} // namespace JY::Test
