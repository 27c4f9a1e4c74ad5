#pragma once

#include "com/ModuleUsageCounter.h"

#include <windows.h>

#include <gtest/gtest.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved);

namespace JY::Test {

/// What the system tells of the reason for a detach.
enum class Detach { unloads, processEnds };

/// Calls the library's entry point as the loader does.
inline BOOL callDllMain(DWORD reason, Detach detach = Detach::unloads) {
    int anything = 0;
    return DllMain(GetModuleHandleW(nullptr), reason, detach == Detach::processEnds ? &anything : nullptr);
}

/// The library loaded into the test program itself. Detaches on every path, so that the next test finds no log.
class AttachedModule {
public:
    AttachedModule() { EXPECT_TRUE(callDllMain(DLL_PROCESS_ATTACH)); }
    AttachedModule(const AttachedModule&) = delete;
    AttachedModule& operator=(const AttachedModule&) = delete;
    ~AttachedModule() {
        EXPECT_TRUE(callDllMain(DLL_PROCESS_DETACH));
        Pictaro::ModuleUsageCounter::instance().setActions(nullptr, nullptr);
    }
};

} // namespace JY::Test
