#pragma once

#include "log/Severity.h"

namespace JY::Pictaro {

/// The process-wide log set-up.
class AppLog {
public:
    AppLog() = delete;

    /// Creates the core with its sinks and installs it. Library load only.
    static void initialize();
    /// Sets the lowest severity that reaches the normal log, and records it. Any thread.
    static void setNormalLevel(Log2::Severity severity);
    /// Keeps the recent records; due after every fatal record. Any thread.
    static void snapshot();
    /// Records the end, closes the sinks and removes the core. Library unload only.
    static void finalize();
};

} // namespace JY::Pictaro
