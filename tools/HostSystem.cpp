#include "tools/HostSystem.h"

#include <windows.h>

namespace JY::Tools {

bool runsUnderWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

} // namespace JY::Tools
