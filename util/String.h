#pragma once

#include <windows.h>

#include <string>

namespace JY {

/// Wide text in the ANSI code page, up to its first NUL. Throws FatalException "arg is null.".
std::string toNarrow(const wchar_t* wide);
std::string toNarrow(const std::wstring& wide);

/// `source` with every `from` replaced by `to`, from left to right; what has been put in is not looked at again. An
/// empty `from` replaces nothing. Throws FatalException "szFrom is NULL." or "szTo is NULL.".
std::wstring replaceAll(const std::wstring& source, const wchar_t* from, const wchar_t* to);

/// "01234567-89ab-cdef-0123-456789abcdef": lower-case, without braces.
std::string guidToString(const GUID& guid);

} // namespace JY
