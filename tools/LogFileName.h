#pragma once

#include <windows.h>

#include <optional>
#include <string_view>

namespace JY::Tools {

/// What the name of a log file tells: "JyFlvSource-1234-0.log", and "JyFlvSource-1234-s-0.log" for snapshots.
struct LogFileName {
    DWORD process = 0;
    bool snapshot = false;
    /// Its place in the ring of files that the process writes by turns.
    DWORD index = 0;

    /// Begins the names of all log files.
    static constexpr std::wstring_view prefix = L"JyFlvSource-";

    /// @param name without the folder; capital and small letters are the same.
    /// @returns none when it is not the name of a log file.
    static std::optional<LogFileName> parse(std::wstring_view name);
};

} // namespace JY::Tools
