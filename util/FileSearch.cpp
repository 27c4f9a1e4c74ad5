#include "util/FileSearch.h"

#include "util/Handle.h"

#include <windows.h>

namespace JY {

std::vector<FoundFile> findFiles(const std::wstring& directory, const std::wstring& pattern) {
    std::vector<FoundFile> files;
    WIN32_FIND_DATAW entry{};
    const Handle search(FindFirstFileExW((directory + L'\\' + pattern).c_str(), FindExInfoBasic, &entry,
                                         FindExSearchNameMatch, nullptr, 0),
                        &FindClose);
    for (bool found = static_cast<bool>(search); found; found = FindNextFileW(search.get(), &entry)) {
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            files.push_back({entry.cFileName, (std::uint64_t{entry.nFileSizeHigh} << 32) | entry.nFileSizeLow});
        }
    }
    return files;
}

} // namespace JY
