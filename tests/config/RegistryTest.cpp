#include "config/Registry.h"

#include "config/RegActual.h"
#include "config/RegDebug.h"
#include "tests/support/RecordingRegistry.h"
#include "tests/support/RegistryScope.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace JY;
using JY::Test::RecordingRegistry;
using JY::Test::RegistryScope;
using testing::ElementsAre;

} // namespace

TEST(Registry, IsTheRealOneByDefault) {
    EXPECT_FALSE(Utl::useRegistrySimulation);
    EXPECT_NE(dynamic_cast<Utl::RegActual*>(&Utl::getRegistry()), nullptr);
}

TEST(Registry, StaysTheSame) {
    EXPECT_EQ(&Utl::getRegistry(), &Utl::getRegistry());
}

TEST(Registry, CanBeExchangedAndPutBack) {
    Utl::RegInterface* const before = &Utl::getRegistry();
    {
        RecordingRegistry other;
        const RegistryScope scope(other);
        EXPECT_EQ(&Utl::getRegistry(), &other);
    }
    EXPECT_EQ(&Utl::getRegistry(), before);
}

TEST(Registry, ThinFunctionsUseThe64BitView) {
    RecordingRegistry registry;
    const RegistryScope scope(registry);
    const HKEY root = HKEY_LOCAL_MACHINE;
    EXPECT_FALSE(Utl::isExist(root, L"key", L"name"));
    EXPECT_FALSE(Utl::isExist(root, L"key"));
    EXPECT_EQ(Utl::getUInt(root, L"key", L"name"), 32U);
    EXPECT_EQ(Utl::getULongLong(root, L"key", L"name"), 64U);
    EXPECT_EQ(Utl::getString(root, L"key", L"name"), L"text");
    EXPECT_EQ(Utl::getBinary(root, L"key", L"name"), (Utl::ByteString{1, 2}));
    Utl::setValue(root, L"key", L"name", Utl::ByteString{1});
    Utl::setValue(root, L"key", L"name", std::wstring(L"value"));
    Utl::setValue(root, L"key", L"name", std::uint32_t{1});
    Utl::setValue(root, L"key", L"name", std::uint64_t{2});
    Utl::deleteValue(root, L"key", L"name");
    Utl::deleteKey(root, L"key");
    EXPECT_THAT(registry.calls,
                ElementsAre("isExist(HKLM/key, name, view=256)", "isExist(HKLM/key, view=256)",
                            "getUInt(HKLM/key, name, view=256)", "getULongLong(HKLM/key, name, view=256)",
                            "getString(HKLM/key, name, view=256)", "getBinary(HKLM/key, name, view=256)",
                            "setValue(HKLM/key, name, 1 bytes, view=256)",
                            "setValue(HKLM/key, name, \"value\", view=256)", "setValue(HKLM/key, name, 1u, view=256)",
                            "setValue(HKLM/key, name, 2ull, view=256)", "deleteValue(HKLM/key, name, view=256)",
                            "deleteKey(HKLM/key, view=256)"));
}
