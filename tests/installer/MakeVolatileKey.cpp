// make_volatile_key KEY: makes a key under HKEY_LOCAL_MACHINE that lives until the next start of the system only, so
// that no lasting key can be made below it.

#include "util/RegistryHandle.h"

#include <windows.h>

int wmain(int count, wchar_t** arguments) {
    JY::RegistryHandle key;
    DWORD disposition = 0;
    return count == 2 &&
                   RegCreateKeyExW(HKEY_LOCAL_MACHINE, arguments[1], 0, nullptr, REG_OPTION_VOLATILE, KEY_WRITE,
                                   nullptr, key.put(), &disposition) == ERROR_SUCCESS &&
                   disposition == REG_CREATED_NEW_KEY
               ? 0
               : 1;
}
