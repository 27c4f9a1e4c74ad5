#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

namespace JY::Pictaro {

/// The module's own settings, under HKEY_LOCAL_MACHINE "Software\JyMorvane\JyFlvSource" (64-bit view). Each call reads
/// the registry; a value that does not exist gives the default. Throws what the registry access throws for a value of
/// the wrong type or one that cannot be read.
std::uint32_t getFlvSourceUInt(const std::wstring& name, std::uint32_t defaultValue);
std::wstring getFlvSourceString(const std::wstring& name, const std::wstring& defaultValue);

/// The log directory: the "LogDir" setting, else a default that depends on the process's integrity level. Names in
/// percent signs are not expanded.
std::wstring getDefaultLogDir();
/// The default for a process of an integrity level.
std::wstring getDefaultLogDir(WELL_KNOWN_SID_TYPE integrityLevel);

} // namespace JY::Pictaro
