#include "tools/FileUrl.h"

#include "tools/Failure.h"

#include <shlwapi.h>

#include <array>

namespace JY::Tools {

namespace {

std::wstring escapedUrl(const std::wstring& path) {
    std::array<wchar_t, 4096> url{};
    auto length = static_cast<DWORD>(url.size());
    check(UrlCreateFromPathW(path.c_str(), url.data(), &length, 0), "UrlCreateFromPath");
    return url.data();
}

} // namespace

std::wstring fullPath(const std::wstring& path) {
    const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    std::wstring full(size, L'\0');
    const DWORD length = GetFullPathNameW(path.c_str(), size, full.data(), nullptr);
    if (length == 0 || length >= size) {
        throw Failure(HRESULT_FROM_WIN32(GetLastError()), "GetFullPathName");
    }
    full.resize(length);
    return full;
}

std::vector<std::wstring> fileUrls(const std::wstring& path) {
    if (path.find(L"://") != std::wstring::npos) {
        return {path};
    }
    const std::wstring full = fullPath(path);
    return {L"file://" + full, escapedUrl(full)};
}

} // namespace JY::Tools
