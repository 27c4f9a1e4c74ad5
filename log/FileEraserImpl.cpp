#include "log/FileEraserImpl.h"

#include "util/FileSearch.h"
#include "util/Path.h"

#include <windows.h>

#include <utility>
#include <vector>

namespace JY::Log2 {

namespace {

std::uint64_t totalSize(const std::vector<FoundFile>& files) {
    std::uint64_t total = 0;
    for (const FoundFile& file : files) {
        total += file.size;
    }
    return total;
}

} // namespace

FileEraserImpl::FileEraserImpl(const std::wstring& directory, std::wstring pattern, std::uint64_t budget)
    : directory_(expandPath(directory)), pattern_(std::move(pattern)), budget_(budget) {}

void FileEraserImpl::erase() {
    const std::vector<FoundFile> files = findFiles(directory_, pattern_);
    std::uint64_t left = totalSize(files);
    for (auto file = files.begin(); file != files.end() && left > budget_; ++file) {
        DeleteFileW((directory_ + L'\\' + file->name).c_str()); // another process may hold it: the next one goes, then
        left -= file->size;
    }
}

} // namespace JY::Log2
