#pragma once

#include "tests/module/LoadedModule.h"
#include "tests/source/ClientObjects.h"
#include "tests/support/ThreadStacks.h"

namespace JY::Test {

/// Whether no other thread is in the module any more, in time. A thread of a work queue that has released the last
/// object may still have to return.
inline bool becomesLeft(const LoadedModule& module) {
    auto* const address = module.find<CanUnloadNow>("DllCanUnloadNow");
    return becomesTrue([&] { return !isOtherThreadIn(reinterpret_cast<const void*>(address)); });
}

/// Whether nothing of the module is in use any more, in time, and it may be unloaded.
inline bool becomesUnused(const LoadedModule& module) {
    auto* const canUnloadNow = module.find<CanUnloadNow>("DllCanUnloadNow");
    return becomesTrue([&] { return canUnloadNow() == S_OK; }) && becomesLeft(module);
}

} // namespace JY::Test
