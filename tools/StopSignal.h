#pragma once

#include <windows.h>

#include <chrono>

namespace JY::Tools {

/// Lets a program that goes on for ever end in good order when the user presses Ctrl+C or Ctrl+Break or closes the
/// console. There is at most one.
class StopSignal {
public:
    /// @throws Failure
    StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;
    ~StopSignal();

    /// Waits no longer than `time`.
    /// @returns whether the program is to end.
    bool waitFor(std::chrono::milliseconds time) const;

private:
    HANDLE event_;
};

} // namespace JY::Tools
