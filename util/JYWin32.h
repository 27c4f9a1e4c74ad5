#pragma once

#include <windows.h>

#include <string>

namespace JY {

/// The mandatory integrity level of the running process, as the type of its label's SID (WinLowLabelSid, ...). Throws
/// ErrorException for a label that is none of the known ones, ApiErrorException for a failed call.
WELL_KNOWN_SID_TYPE getIntegrityLevel();

/// "Untrusted", "Low", "Medium", "High", "System" or "MediumPlus"; "Unknown" for what is no integrity level.
const char* integrityLevelName(WELL_KNOWN_SID_TYPE level);

/// Tells whether a SID is of a well-known type, as IsWellKnownSid does.
using SidTest = BOOL(WINAPI*)(PSID sid, WELL_KNOWN_SID_TYPE type);
/// The level that a mandatory-label SID stands for.
WELL_KNOWN_SID_TYPE integrityLevelOf(PSID label, SidTest isWellKnown = IsWellKnownSid);

/// The name of the user whom the process, or the thread's impersonation, stands for. Throws ApiErrorException
/// "GetUserName".
std::wstring getUserName();

/// The loaded module that contains an address, or that has a name. The module is not kept loaded by it. Throws
/// ApiErrorException when there is none.
HMODULE getModuleHandle(const void* address);
HMODULE getModuleHandle(const wchar_t* name);
/// The full path of a module's file, of any length; null stands for the executable. Throws ApiErrorException for what
/// is no module.
std::wstring getModulePath(HMODULE module);

} // namespace JY
