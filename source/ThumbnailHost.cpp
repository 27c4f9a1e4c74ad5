#include "source/ThumbnailHost.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <string>

namespace JY::Pictaro::Fs {

namespace {

constexpr std::array<std::wstring_view, 2> thumbnailHosts{L"PictaroSB.exe", L"PictaroPV.exe"};

bool equalIgnoringCase(std::wstring_view left, std::wstring_view right) {
    return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

std::wstring executablePath() {
    constexpr std::size_t longestPath = 32768;
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size() || path.size() >= longestPath) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

} // namespace

bool isThumbnailHost(std::wstring_view executablePath) {
    const std::wstring_view fileName = executablePath.substr(executablePath.find_last_of(L"\\/") + 1);
    return std::ranges::any_of(thumbnailHosts, [&](auto host) { return equalIgnoringCase(fileName, host); });
}

bool isInThumbnailHost() {
    return isThumbnailHost(executablePath());
}

} // namespace JY::Pictaro::Fs
