#include "tools/LogRings.h"

#include <windows.h>

#include <filesystem>
#include <memory>

namespace JY::Tools {

namespace {

struct FindCloser {
    void operator()(HANDLE handle) const { FindClose(handle); }
};

bool isWanted(const LogFileName& name, LogKinds kinds) {
    return kinds == LogKinds::both || name.snapshot == (kinds == LogKinds::snapshots);
}

void addFile(LogRings& rings, const std::filesystem::path& path, const LogFileName& name) {
    const std::wstring folder = path.parent_path().wstring();
    rings[{folder, name.process, name.snapshot}][name.index] = path.wstring();
}

void addNamedFile(LogRings& rings, const std::filesystem::path& path) {
    if (const auto name = LogFileName::parse(path.filename().wstring())) {
        addFile(rings, path, *name);
    } else {
        rings[{path.wstring(), std::nullopt, false}][0] = path.wstring();
    }
}

void addFolder(LogRings& rings, const std::filesystem::path& folder, LogKinds kinds) {
    WIN32_FIND_DATAW entry{};
    const std::wstring pattern = (folder / LogFileName::prefix).wstring() + L"*";
    const HANDLE handle = FindFirstFileW(pattern.c_str(), &entry);
    if (handle == INVALID_HANDLE_VALUE) {
        return;
    }
    const std::unique_ptr<void, FindCloser> search(handle);
    do {
        const auto name = LogFileName::parse(entry.cFileName);
        if (name && isWanted(*name, kinds)) {
            addFile(rings, folder / entry.cFileName, *name);
        }
    } while (FindNextFileW(handle, &entry));
}

/// One form for a path, however it is given.
std::filesystem::path wholePath(const std::wstring& path) {
    const auto whole = std::filesystem::absolute(path).lexically_normal();
    return whole.has_filename() ? whole : whole.parent_path();
}

/// How often time goes back from one file to the next when `first` is the oldest.
std::size_t stepsBack(std::span<const std::optional<LogTime>> times, std::size_t first) {
    std::size_t steps = 0;
    std::optional<LogTime> latest;
    for (std::size_t count = 0; count < times.size(); ++count) {
        const auto& time = times[(first + count) % times.size()];
        steps += time && latest && *time < *latest ? 1 : 0;
        latest = time ? time : latest;
    }
    return steps;
}

} // namespace

LogRings findLogs(const std::vector<std::wstring>& paths, LogKinds kinds) {
    LogRings rings;
    for (const std::wstring& path : paths) {
        const DWORD attributes = GetFileAttributesW(path.c_str());
        if (attributes == INVALID_FILE_ATTRIBUTES) {
            continue;
        }
        if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            addFolder(rings, wholePath(path), kinds);
        } else {
            addNamedFile(rings, wholePath(path));
        }
    }
    return rings;
}

std::size_t oldestInRing(std::span<const std::optional<LogTime>> times) {
    std::size_t best = 0;
    for (std::size_t first = 1; first < times.size(); ++first) {
        if (stepsBack(times, first) < stepsBack(times, best)) {
            best = first;
        }
    }
    return best;
}

} // namespace JY::Tools
