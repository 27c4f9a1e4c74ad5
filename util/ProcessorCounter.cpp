#include "util/ProcessorCounter.h"

#include <array>

namespace JY {

namespace {

bool saysThatItIsSteady() {
    constexpr int highestExtended = static_cast<int>(0x80000000);
    constexpr int powerManagement = static_cast<int>(0x80000007);
    constexpr int steady = 1 << 8;
    std::array<int, 4> registers{};
    __cpuid(registers.data(), highestExtended);
    if (static_cast<unsigned>(registers[0]) < static_cast<unsigned>(powerManagement)) {
        return false;
    }
    __cpuid(registers.data(), powerManagement);
    return (registers[3] & steady) != 0;
}

} // namespace

const bool ProcessorCounter::isSteady_ = saysThatItIsSteady();

} // namespace JY
