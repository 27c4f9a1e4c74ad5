#include "bench/DefaultSettings.h"

#include "tools/Failure.h"
#include "tools/Text.h"

#include <windows.h>

#include <stdexcept>
#include <string>

namespace JY::Bench {

namespace {

constexpr const wchar_t* settingsPath = L"Software\\JyMorvane\\JyFlvSource";
constexpr DWORD nameSpace = 16384; ///< characters of the longest name of a value, and its end

/// The names of all values of a key, with commas between.
std::wstring valueNames(HKEY key) {
    std::wstring names;
    std::wstring name(nameSpace, L'\0');
    for (DWORD index = 0;; ++index) {
        DWORD length = nameSpace;
        const LSTATUS status = RegEnumValueW(key, index, name.data(), &length, nullptr, nullptr, nullptr, nullptr);
        if (status == ERROR_NO_MORE_ITEMS) {
            return names;
        }
        Tools::check(HRESULT_FROM_WIN32(status), "RegEnumValue");
        names += (index == 0 ? L"" : L", ") + name.substr(0, length);
    }
}

std::wstring settings() {
    HKEY key = nullptr;
    const LSTATUS status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, settingsPath, 0, KEY_QUERY_VALUE | KEY_WOW64_64KEY, &key);
    if (status == ERROR_FILE_NOT_FOUND) {
        return {};
    }
    Tools::check(HRESULT_FROM_WIN32(status), "RegOpenKeyEx");
    std::wstring names = valueNames(key);
    RegCloseKey(key);
    return names;
}

} // namespace

void requireDefaultSettings() {
    const std::wstring names = settings();
    if (!names.empty()) {
        throw std::runtime_error(Tools::toUtf8(
            L"the module is measured as it is by default; remove these settings from HKEY_LOCAL_MACHINE\\" +
            std::wstring(settingsPath) + L": " + names));
    }
}

} // namespace JY::Bench
