#pragma once

#include "log/Severity.h"

#include <cstdint>
#include <string>

namespace JY::Pictaro {

/// The process-wide log set-up: a ring of text files, the recent records kept for snapshots, and an eraser that keeps
/// the directory small.
class AppLog {
public:
    AppLog() = delete;

    /// Creates the core with its sinks, installs it and writes the header records. Every process that gives the same
    /// `name` shares the directory's budget of twice its own ring. A sink that cannot be made is left out and the
    /// reason recorded; the debugger's output then takes the text files' place. Library load only.
    /// @param directory    names in percent signs are expanded
    /// @param maxEachSize  bytes after which a file is full
    /// @param maxWrap      files in the ring
    /// @param snapshotSize records kept for snapshots
    static void initialize(const std::wstring& name, const std::wstring& directory, std::uint32_t maxEachSize,
                           std::uint32_t maxWrap, std::uint32_t snapshotSize);
    /// Sets the lowest severity that reaches the normal log, and records it. Any thread.
    static void setNormalLevel(Log2::Severity severity);
    /// Sets the lowest severity of the records kept for snapshots. Any thread.
    static void setSnapshotLevel(Log2::Severity severity);
    /// Writes the recent records to the snapshot file; due after every fatal record. Any thread. Throws what writing
    /// throws.
    static void snapshot();
    /// Records the end, closes the sinks and removes the core. Library unload only.
    static void finalize();
    /// For the end of the process, when its other threads have been stopped wherever they were. The first leaves out
    /// the sinks that one of them was using; it comes before anything else is logged. The second is `finalize`, but
    /// leaves the core and the sinks themselves to the system.
    /// @{
    static void leaveOutBusySinks();
    static void finalizeAtProcessEnd();
    /// @}
};

} // namespace JY::Pictaro
