#pragma once

#include <string>

namespace JY::Pictaro {

/// Writes the records that a log begins with: the directory, the module, the executable, the user, the module's version
/// and the system. A value that cannot be had is left empty, after a record that says why.
void recordLogHeader(const std::wstring& directory);

} // namespace JY::Pictaro
