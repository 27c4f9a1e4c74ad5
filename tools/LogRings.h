#pragma once

#include "tools/LogFileName.h"
#include "tools/LogTime.h"

#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace JY::Tools {

/// Tells the files of one ring from those of others. A file whose name is not a log file's is a ring of its own.
struct LogRingKey {
    /// The folder, or the whole path of a file that is a ring of its own.
    std::wstring place;
    /// None for a file that is a ring of its own.
    std::optional<DWORD> process;
    bool snapshots = false;

    // NOLINTNEXTLINE(modernize-use-nullptr): takes the comparison with zero for one with a pointer
    auto operator<=>(const LogRingKey&) const = default;
};

/// The paths of rings' files by their index, for every ring.
using LogRings = std::map<LogRingKey, std::map<DWORD, std::wstring>>;

/// Which of a folder's log files are wanted. A file that is named itself is wanted whatever it holds.
enum class LogKinds { texts, snapshots, both };

/// Finds the log files of folders, and files themselves.
/// @param paths those that do not exist are passed over.
LogRings findLogs(const std::vector<std::wstring>& paths, LogKinds kinds);

/// Where in a ring's files, which are written by turns, the oldest stands.
/// @param times when each file began, in the order of their index; none where that is not to be told.
std::size_t oldestInRing(std::span<const std::optional<LogTime>> times);

} // namespace JY::Tools
