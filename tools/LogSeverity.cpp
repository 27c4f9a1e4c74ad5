#include "tools/LogSeverity.h"

#include <algorithm>
#include <array>

namespace JY::Tools {

std::optional<LogSeverity> severityNamed(std::string_view name) {
    static constexpr std::array<std::string_view, 8> names{"trace",  "debug", "info",  "warn",
                                                           "notice", "error", "fatal", "Unknown"};
    const auto* const found = std::ranges::find(names, name);
    if (found == names.end()) {
        return std::nullopt;
    }
    return static_cast<LogSeverity>(found - names.begin());
}

} // namespace JY::Tools
