#include "tests/module/LoadedModule.h"

#include <windows.h>

#include <cstddef>
#include <gtest/gtest.h>

namespace {

using JY::Test::LoadedModule;

DWORD stateOf(const void* address) {
    MEMORY_BASIC_INFORMATION information{};
    VirtualQuery(address, &information, sizeof information);
    return information.State;
}

/// The start of the page behind the one of an address.
const void* nextPage(const void* address) {
    constexpr std::size_t size = 4096;
    return reinterpret_cast<const void*>((reinterpret_cast<std::size_t>(address) / size + 1) * size);
}

TEST(GuardedModule, HasItsObjectsAtTheEndOfPages) {
    const LoadedModule module(L"JyFlvSourceGuarded.dll");
    auto handler = module.makeHandler();
    const void* const object = handler.Get();
    EXPECT_EQ(stateOf(object), static_cast<DWORD>(MEM_COMMIT));
    EXPECT_EQ(stateOf(nextPage(object)), static_cast<DWORD>(MEM_RESERVE));
    handler.Reset();
    EXPECT_EQ(stateOf(object), static_cast<DWORD>(MEM_RESERVE));
}

} // namespace
