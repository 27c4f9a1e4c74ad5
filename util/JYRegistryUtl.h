#pragma once

#include <windows.h>

#include <string>

namespace JY {

/// Reads a REG_SZ value below a system key, opened with KEY_READ. Throws ApiErrorException "RegOpenKey" or
/// "RegQueryValue" with the registry's code, which is ERROR_UNSUPPORTED_TYPE for a value that is no text.
std::wstring readRegistryString(HKEY root, const wchar_t* path, const wchar_t* name);

} // namespace JY
