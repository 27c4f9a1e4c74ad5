#include "util/JYWin32.h"

#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/Handle.h"

#include <windows.h>
// lmcons.h needs the types of windows.h.
#include <lmcons.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace JY {

namespace {

constexpr SourceFile here{"JYWin32"};

struct IntegrityLevel {
    WELL_KNOWN_SID_TYPE type;
    const char* name;
};

constexpr IntegrityLevel knownLevels[] = {{WinUntrustedLabelSid, "Untrusted"}, {WinLowLabelSid, "Low"},
                                          {WinMediumLabelSid, "Medium"},       {WinHighLabelSid, "High"},
                                          {WinSystemLabelSid, "System"},       {WinMediumPlusLabelSid, "MediumPlus"}};

/// The token's TOKEN_MANDATORY_LABEL together with the SID that it points to.
std::vector<std::byte> readIntegrityLabel(HANDLE token) {
    DWORD size = 0;
    if (!GetTokenInformation(token, TokenIntegrityLevel, nullptr, 0, &size)) {
        throwIfFalse(GetLastError() == ERROR_INSUFFICIENT_BUFFER, here(), "GetTokenInformation");
    }
    std::vector<std::byte> label(size);
    throwIfFalse(GetTokenInformation(token, TokenIntegrityLevel, label.data(), size, &size), here(),
                 "GetTokenInformation");
    return label;
}

} // namespace

WELL_KNOWN_SID_TYPE getIntegrityLevel() {
    Handle token;
    throwIfFalse(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.put()), here(), "OpenProcessToken");
    const std::vector<std::byte> label = readIntegrityLabel(token.get());
    return integrityLevelOf(reinterpret_cast<const TOKEN_MANDATORY_LABEL*>(label.data())->Label.Sid);
}

WELL_KNOWN_SID_TYPE integrityLevelOf(PSID label, SidTest isWellKnown) {
    for (const IntegrityLevel& level : knownLevels) {
        if (isWellKnown(label, level.type)) {
            return level.type;
        }
    }
    throw ErrorException(here(), "Unknown SID type.");
}

const char* integrityLevelName(WELL_KNOWN_SID_TYPE level) {
    const auto* const known = std::ranges::find(knownLevels, level, &IntegrityLevel::type);
    return known != std::end(knownLevels) ? known->name : "Unknown";
}

std::wstring getUserName() {
    wchar_t name[UNLEN + 1];
    DWORD size = UNLEN + 1; // characters, with the terminator
    throwIfFalse(GetUserNameW(name, &size), here(), "GetUserName");
    return name;
}

HMODULE getModuleHandle(const void* address) {
    HMODULE module = nullptr;
    throwIfFalse(
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           static_cast<const wchar_t*>(address), &module),
        here(), "GetModuleHandleEx");
    return module;
}

HMODULE getModuleHandle(const wchar_t* name) {
    const HMODULE module = GetModuleHandleW(name);
    throwIfFalse(module != nullptr, here(), "GetModuleHandle");
    return module;
}

std::wstring getModulePath(HMODULE module) {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
        throwIfFalse(length != 0, here(), "GetModuleFileName");
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2); // cut: what fills the buffer has no terminator
    }
}

} // namespace JY
