#pragma once

#include <windows.h>

#include <span>
#include <string>

namespace JY {

/// A token in paths that stands for a folder of the system.
struct KnownFolderToken {
    const GUID& folder;
    const wchar_t* token;
    const wchar_t* fallback; ///< takes the token's place when the folder cannot be had
};

/// `path` with "%LocalAppDataLow%" (or the given tokens) and then environment variables replaced; a known folder that
/// cannot be had becomes "%TEMP%".
std::wstring expandPath(const std::wstring& path);
std::wstring expandPath(const std::wstring& path, std::span<const KnownFolderToken> tokens);

/// Makes every missing folder of `path`, in which environment variables are replaced. Throws ErrorException
/// "path is empty.", or ApiErrorException "CreateDirectory"; the folders made before stay.
void createDirectories(const std::wstring& path);

} // namespace JY
