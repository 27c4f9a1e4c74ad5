#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace JY {

/// A file as the listing of its folder shows it.
struct FoundFile {
    std::wstring name;  ///< without the folder
    std::uint64_t size; ///< bytes
};

/// The files of `directory` whose names match `pattern` ("*" and "?"), in the order in which the system lists them.
/// Folders are left out. A folder that is not there or cannot be listed, and an empty `directory`, have no files.
std::vector<FoundFile> findFiles(const std::wstring& directory, const std::wstring& pattern);

} // namespace JY
