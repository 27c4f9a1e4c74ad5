#include "source/ThumbnailHost.h"

#include "util/JYWin32.h"

#include <windows.h>

#include <algorithm>
#include <array>

namespace JY::Pictaro::Fs {

namespace {

constexpr std::array<std::wstring_view, 2> thumbnailHosts{L"PictaroSB.exe", L"PictaroPV.exe"};

bool equalIgnoringCase(std::wstring_view left, std::wstring_view right) {
    return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

} // namespace

bool isThumbnailHost(std::wstring_view executablePath) {
    const std::wstring_view fileName = executablePath.substr(executablePath.find_last_of(L"\\/") + 1);
    return std::ranges::any_of(thumbnailHosts, [&](auto host) { return equalIgnoringCase(fileName, host); });
}

bool isInThumbnailHost() {
    return isThumbnailHost(getModulePath(nullptr));
}

} // namespace JY::Pictaro::Fs
