#include "tools/LogFolders.h"

#include "tools/Failure.h"

#include <shlobj.h>
#include <windows.h>

#include <cwchar>
#include <memory>
#include <optional>
#include <string_view>

namespace JY::Tools {

namespace {

constexpr const wchar_t* settingsKey = L"Software\\JyMorvane\\JyFlvSource";
constexpr const wchar_t* folderSetting = L"LogDir";
constexpr std::wstring_view lowFolderToken = L"%LocalAppDataLow%";

struct TaskMemoryDeleter {
    void operator()(void* memory) const { CoTaskMemFree(memory); }
};

/// The folder as it is set; none when it is not.
std::optional<std::wstring> configuredFolder() {
    constexpr DWORD flags = RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND;
    DWORD bytes = 0;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, settingsKey, folderSetting, flags, nullptr, nullptr, &bytes) !=
        ERROR_SUCCESS) {
        return std::nullopt;
    }
    std::wstring folder(bytes / sizeof(wchar_t), L'\0');
    const LSTATUS result =
        RegGetValueW(HKEY_LOCAL_MACHINE, settingsKey, folderSetting, flags, nullptr, folder.data(), &bytes);
    check(HRESULT_FROM_WIN32(static_cast<DWORD>(result)), "reading the log folder's setting");
    folder.resize(folder.find_last_not_of(L'\0') + 1);
    return folder;
}

std::wstring lowIntegrityFolder() {
    wchar_t* path = nullptr;
    const HRESULT result = SHGetKnownFolderPath(FOLDERID_LocalAppDataLow, 0, nullptr, &path);
    const std::unique_ptr<wchar_t, TaskMemoryDeleter> owner(path); // to be freed after a failure, too
    return SUCCEEDED(result) ? path : L"%TEMP%";
}

std::wstring expandEnvironment(const std::wstring& text) {
    std::wstring result(ExpandEnvironmentStringsW(text.c_str(), nullptr, 0), L'\0');
    ExpandEnvironmentStringsW(text.c_str(), result.data(), static_cast<DWORD>(result.size()));
    result.resize(std::wcslen(result.c_str()));
    return result;
}

/// As the module does it with its log folder.
std::wstring expand(std::wstring folder) {
    for (std::size_t at = folder.find(lowFolderToken); at != std::wstring::npos; at = folder.find(lowFolderToken)) {
        folder.replace(at, lowFolderToken.size(), lowIntegrityFolder());
    }
    return expandEnvironment(folder);
}

} // namespace

std::vector<std::wstring> logFolders() {
    if (const auto folder = configuredFolder()) {
        return {expand(*folder)};
    }
    return {expand(L"%TEMP%\\JyMorvane\\Pictaro"), expand(L"%LocalAppDataLow%\\JyMorvane\\Pictaro")};
}

} // namespace JY::Tools
