// A library that does what the environment variable JY_FAULTY names, to see that the fuzzer notices:
//   ends     the process ends when a class object is asked for
//   hangs    the call does not come back
//   faults   a fault inside, which is handled there
// Otherwise it has no class object.

#include "tests/support/Faults.h"
#include "util/StructureException.h"
#include "util/StructuredExceptionGuard.h"

#include <windows.h>

#include <array>
#include <cstdlib>
#include <string_view>

namespace {

std::string_view fault() {
    static std::array<char, 16> value{};
    const DWORD length = GetEnvironmentVariableA("JY_FAULTY", value.data(), static_cast<DWORD>(value.size()));
    return {value.data(), length};
}

void handleFault() {
    const JY::TranslatorScope translator(JY::translateStructuredException);
    try {
        JY::callTranslated([] { JY::Test::readFrom(nullptr); });
    } catch (const JY::StructureException&) {
        return;
    }
}

} // namespace

STDAPI DllGetClassObject(REFCLSID, REFIID, LPVOID* object) {
    *object = nullptr;
    if (fault() == "ends") {
        TerminateProcess(GetCurrentProcess(), 0);
    }
    while (fault() == "hangs") {
        Sleep(1000);
    }
    if (fault() == "faults") {
        handleFault();
    }
    return CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() {
    return S_OK;
}
