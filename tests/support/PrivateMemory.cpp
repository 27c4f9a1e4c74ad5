#include "tests/support/PrivateMemory.h"

#include <windows.h>
// psapi.h needs the types of windows.h.
#include <psapi.h>

#include <stdexcept>

namespace JY::Test {

std::size_t privateBytes() {
    PROCESS_MEMORY_COUNTERS counters{};
    counters.cb = sizeof counters;
    if (!GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters)) {
        throw std::runtime_error("GetProcessMemoryInfo");
    }
    return counters.PagefileUsage;
}

} // namespace JY::Test
