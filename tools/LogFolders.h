#pragma once

#include <string>
#include <vector>

namespace JY::Tools {

/// Where the module's log files are on this machine: the folder that is set for the machine, or the two that hosts of
/// ordinary and of low integrity write into when none is set. They need not exist.
std::vector<std::wstring> logFolders();

} // namespace JY::Tools
