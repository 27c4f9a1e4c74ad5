#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace JY::Tools {

/// How a check of snapshots can end beyond success and damage.
enum SnapshotStatus : int { snapshotsIntact = 0, snapshotsDamaged = 1, snapshotsUnread = 3 };

/// Checks the snapshot files of folders, and files themselves, and writes a line for every block.
/// @param tell takes a remark for the user about what cannot be read.
/// @returns `snapshotsUnread` when a file could not be read and no damage was found in the others.
SnapshotStatus reportSnapshots(const std::vector<std::wstring>& paths, std::ostream& out,
                               const std::function<void(const std::string&)>& tell);

} // namespace JY::Tools
