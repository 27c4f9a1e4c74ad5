#pragma once

#include <windows.h>

#include <cstddef>
#include <string>
#include <vector>

namespace JY {

/// The version block of a module's file, loaded once. Read-only afterwards, so any thread may read it.
class VersionResource {
public:
    /// Throws ApiErrorException "GetFileVersionInfoSize" or "GetFileVersionInfo" for a module without a version block.
    explicit VersionResource(HMODULE module);

    /// A text such as "FileVersion": from the table of the Japanese language with the Unicode code page 04b0, else of
    /// that with 03a4; empty when neither has it.
    std::wstring getString(const wchar_t* name) const;

private:
    std::vector<std::byte> block_;
};

} // namespace JY
