#pragma once

#include <windows.h>

#include <chrono>
#include <optional>
#include <ostream>

namespace JY::Tools {

/// A line at a terminal that says how far a long piece of work has come; nothing for a short one. It is wiped out at
/// the end.
class ProgressLine {
public:
    /// @param whole what counts as all of the work; without it there is no line.
    ProgressLine(std::ostream& terminal, std::optional<LONGLONG> whole);
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;
    ~ProgressLine() { wipe(); }

    void reached(LONGLONG part);
    /// Before something else is written.
    void wipe();

private:
    using Clock = std::chrono::steady_clock;

    std::ostream& terminal_;
    LONGLONG whole_;
    Clock::time_point next_;
    bool shown_ = false;
};

} // namespace JY::Tools
