#include "util/FileSearch.h"

#include "util/Handle.h"

#include <shlwapi.h>
#include <windows.h>

namespace JY {

namespace {

/// The system also lists a file whose short name matches, such as "a.log2" for "*.log".
bool isFileOf(const WIN32_FIND_DATAW& entry, const std::wstring& pattern) {
    const bool isFolder = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    return !isFolder && PathMatchSpecW(entry.cFileName, pattern.c_str());
}

} // namespace

std::vector<FoundFile> findFiles(const std::wstring& directory, const std::wstring& pattern) {
    std::vector<FoundFile> files;
    if (directory.empty()) {
        return files; // not the root of the drive
    }
    WIN32_FIND_DATAW entry{};
    const Handle search(FindFirstFileExW((directory + L'\\' + pattern).c_str(), FindExInfoBasic, &entry,
                                         FindExSearchNameMatch, nullptr, 0),
                        &FindClose);
    for (bool found = static_cast<bool>(search); found; found = FindNextFileW(search.get(), &entry)) {
        if (isFileOf(entry, pattern)) {
            files.push_back({entry.cFileName, (std::uint64_t{entry.nFileSizeHigh} << 32) | entry.nFileSizeLow});
        }
    }
    return files;
}

} // namespace JY
