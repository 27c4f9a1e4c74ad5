#include "util/JYRegistryUtl.h"

#include "util/ApiErrorException.h"
#include "util/RegistryHandle.h"

#include <cstdint>

namespace JY {

namespace {

constexpr SourceFile here{"JYRegistryUtl"};

[[gnu::always_inline]] inline void throwUnlessDone(LSTATUS result, SourcePosition position, const char* call) {
    if (result != ERROR_SUCCESS) {
        throw ApiErrorException(position, call, static_cast<std::uint32_t>(result));
    }
}

} // namespace

std::wstring readRegistryString(HKEY root, const wchar_t* path, const wchar_t* name) {
    RegistryHandle key;
    throwUnlessDone(RegOpenKeyExW(root, path, 0, KEY_READ, key.put()), here(), "RegOpenKey");
    DWORD type = REG_NONE;
    DWORD size = 0;
    throwUnlessDone(RegQueryValueExW(key.get(), name, nullptr, &type, nullptr, &size), here(), "RegQueryValue");
    throwUnlessDone(type == REG_SZ ? ERROR_SUCCESS : ERROR_UNSUPPORTED_TYPE, here(), "RegQueryValue");
    std::wstring text((size + 1) / sizeof(wchar_t), L'\0');
    throwUnlessDone(RegQueryValueExW(key.get(), name, nullptr, nullptr, reinterpret_cast<BYTE*>(text.data()), &size),
                    here(), "RegQueryValue");
    // The stored text need not be terminated.
    text.resize(size / sizeof(wchar_t));
    return text.substr(0, text.find(L'\0'));
}

} // namespace JY
