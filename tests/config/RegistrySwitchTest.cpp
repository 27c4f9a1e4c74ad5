// In a program of its own, where nothing has asked for the process-wide registry yet.

#include "config/RegActual.h"
#include "config/RegDebug.h"
#include "config/Registry.h"

#include <gtest/gtest.h>

namespace {
using namespace JY;
}

TEST(RegistrySwitch, CountsAtTheFirstUseAndNoLonger) {
    Utl::useRegistrySimulation = true;
    Utl::RegInterface& registry = Utl::getRegistry();
    EXPECT_NE(dynamic_cast<Utl::RegDebug*>(&registry), nullptr);

    Utl::useRegistrySimulation = false;
    EXPECT_EQ(&Utl::getRegistry(), &registry);
}

TEST(RegistrySwitch, LeavesTheRealRegistryAlone) {
    Utl::useRegistrySimulation = true;
    Utl::exchangeRegistry(nullptr);
    Utl::setValue(HKEY_CURRENT_USER, L"Software\\JyMorvaneTests-switch", L"name", std::uint32_t{7});
    EXPECT_EQ(Utl::getUInt(HKEY_CURRENT_USER, L"Software\\JyMorvaneTests-switch", L"name"), 7U);
    EXPECT_FALSE(Utl::RegActual().isExist(HKEY_CURRENT_USER, L"Software\\JyMorvaneTests-switch", KEY_WOW64_64KEY));
}
