#include "log/Severity.h"

#include <array>
#include <cstddef>

namespace JY::Log2 {

const char* severityName(Severity severity) {
    static constexpr std::array names{"trace", "debug", "info", "warn", "notice", "error", "fatal"};
    const auto index = static_cast<std::uint32_t>(severity);
    return index < names.size() ? names[index] : "Unknown";
}

} // namespace JY::Log2
