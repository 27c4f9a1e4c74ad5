#include "config/FlvSourceConfig.h"

#include "config/RegActual.h"
#include "config/RegDebug.h"
#include "tests/config/RegistryTesting.h"
#include "tests/support/RecordingRegistry.h"
#include "tests/support/RegistryScope.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/JYWin32.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace JY;
using JY::Test::AbsentKey;
using JY::Test::RecordingRegistry;
using JY::Test::RegistryScope;
using JY::Test::thrownIn;
using Pictaro::getDefaultLogDir;
using Pictaro::getFlvSourceString;
using Pictaro::getFlvSourceUInt;
using testing::ElementsAre;

const std::wstring settings = L"Software\\JyMorvane\\JyFlvSource";

/// Runs on the real registry and on the one in memory; both begin without the module's key.
template <class Registry>
class FlvSourceConfig : public testing::Test {
protected:
    FlvSourceConfig() { Utl::RegDebug().deleteKey(HKEY_LOCAL_MACHINE, settings, 0); }
    ~FlvSourceConfig() override { Utl::RegDebug().deleteKey(HKEY_LOCAL_MACHINE, settings, 0); }

    template <class Value>
    void set(const std::wstring& name, const Value& value) {
        registry.setValue(HKEY_LOCAL_MACHINE, settings, name, value, KEY_WOW64_64KEY);
    }

    AbsentKey absent{HKEY_LOCAL_MACHINE, settings};
    Registry registry;
    RegistryScope scope{registry};
};

using Registries = testing::Types<Utl::RegActual, Utl::RegDebug>;
TYPED_TEST_SUITE(FlvSourceConfig, Registries);

} // namespace

TYPED_TEST(FlvSourceConfig, WithoutTheKeyEverySettingHasItsDefault) {
    ASSERT_FALSE(this->registry.isExist(HKEY_LOCAL_MACHINE, settings, KEY_WOW64_64KEY));
    EXPECT_EQ(getFlvSourceUInt(L"LogLevel", 3), 3U);
    EXPECT_EQ(getFlvSourceUInt(L"SeekByMetaData", 1), 1U);
    EXPECT_EQ(getFlvSourceUInt(L"TagTraverseThreshold", 10000), 10000U);
    EXPECT_EQ(getFlvSourceUInt(L"NumDumpBin", 32), 32U);
    EXPECT_EQ(getFlvSourceUInt(L"EnableSingleStream", 0), 0U);
    EXPECT_EQ(getFlvSourceString(L"LogDir", L"default"), L"default");
    EXPECT_FALSE(this->registry.isExist(HKEY_LOCAL_MACHINE, settings, KEY_WOW64_64KEY));
}

TYPED_TEST(FlvSourceConfig, MissingValueBesideOthersHasItsDefault) {
    this->set(L"LogLevel", std::uint32_t{1});
    EXPECT_EQ(getFlvSourceUInt(L"NumDumpBin", 32), 32U);
}

TYPED_TEST(FlvSourceConfig, ValueInTheRegistryIsUsed) {
    this->set(L"TagTraverseThreshold", std::uint32_t{0xFFFFFFFF});
    this->set(L"LogDir", std::wstring(L"C:\\logs"));
    EXPECT_EQ(getFlvSourceUInt(L"TagTraverseThreshold", 10000), 0xFFFFFFFFU);
    EXPECT_EQ(getFlvSourceString(L"LogDir", L"default"), L"C:\\logs");
}

TYPED_TEST(FlvSourceConfig, EveryReadGoesToTheRegistry) {
    this->set(L"NumDumpBin", std::uint32_t{1});
    EXPECT_EQ(getFlvSourceUInt(L"NumDumpBin", 32), 1U);
    this->set(L"NumDumpBin", std::uint32_t{2});
    EXPECT_EQ(getFlvSourceUInt(L"NumDumpBin", 32), 2U);
    this->registry.deleteValue(HKEY_LOCAL_MACHINE, settings, L"NumDumpBin", KEY_WOW64_64KEY);
    EXPECT_EQ(getFlvSourceUInt(L"NumDumpBin", 32), 32U);
}

TYPED_TEST(FlvSourceConfig, ValueOfTheWrongTypeIsTheCallersProblem) {
    this->set(L"NumDumpBin", Utl::ByteString{1});
    this->set(L"LogDir", std::uint32_t{1});
    const std::string number = thrownIn<ErrorException>([] { getFlvSourceUInt(L"NumDumpBin", 32); });
    EXPECT_TRUE(number.starts_with("Type missmatch.")) << number;
    const std::string text = thrownIn<ErrorException>([] { getFlvSourceString(L"LogDir", L""); });
    EXPECT_TRUE(text.starts_with("Type missmatch.")) << text;
    const std::string directory = thrownIn<ErrorException>([] { getDefaultLogDir(); });
    EXPECT_TRUE(directory.starts_with("Type missmatch.")) << directory;
}

TYPED_TEST(FlvSourceConfig, LogDirectoryIsTheSettingUnexpanded) {
    this->set(L"LogDir", std::wstring(L"%APPDATA%\\logs"));
    EXPECT_EQ(getDefaultLogDir(), L"%APPDATA%\\logs");
}

TYPED_TEST(FlvSourceConfig, LogDirectoryWithoutASettingFollowsTheProcesssIntegrityLevel) {
    EXPECT_EQ(getDefaultLogDir(), getDefaultLogDir(getIntegrityLevel()));
}

TEST(FlvSourceConfigOnTheRealRegistry, SettingLongerThan127CharactersCannotBeRead) {
    const AbsentKey absent(HKEY_LOCAL_MACHINE, settings);
    Utl::RegActual().setValue(HKEY_LOCAL_MACHINE, settings, L"LogDir", std::wstring(128, L'x'), KEY_WOW64_64KEY);
    EXPECT_EQ(thrownIn<ApiErrorException>([] { getDefaultLogDir(); }),
              "RegQueryValueEx(HKLM/Software\\JyMorvane\\JyFlvSource, LogDir): (0xea) @SimpleRegKey");
}

TEST(FlvSourceConfigOnTheRealRegistry, NumberWhoseDataIsTooLongHasTheRegistrysCode) {
    const AbsentKey absent(HKEY_LOCAL_MACHINE, settings);
    Utl::RegActual().setValue(HKEY_LOCAL_MACHINE, settings, L"LogLevel", std::wstring(L"three"), KEY_WOW64_64KEY);
    EXPECT_EQ(thrownIn<ApiErrorException>([] { getFlvSourceUInt(L"LogLevel", 3); }),
              "RegQueryValueEx(HKLM/Software\\JyMorvane\\JyFlvSource, LogLevel): (0xea) @SimpleRegKey");
}

TEST(DefaultLogDirectory, LowIntegrityLogsUnderTheLowLocalFolder) {
    EXPECT_EQ(getDefaultLogDir(WinLowLabelSid), L"%LocalAppDataLow%\\JyMorvane\\Pictaro");
}

TEST(DefaultLogDirectory, EveryOtherIntegrityLogsUnderTheTemporaryFolder) {
    for (const auto level :
         {WinUntrustedLabelSid, WinMediumLabelSid, WinMediumPlusLabelSid, WinHighLabelSid, WinSystemLabelSid}) {
        EXPECT_EQ(getDefaultLogDir(level), L"%TEMP%\\JyMorvane\\Pictaro");
    }
}

TEST(FlvSourceSettings, AreReadFromTheLocalMachineInThe64BitView) {
    RecordingRegistry registry;
    const RegistryScope scope(registry);
    getFlvSourceUInt(L"LogLevel", 3);
    getFlvSourceString(L"LogDir", L"");
    EXPECT_THAT(registry.calls, ElementsAre("isExist(HKLM/Software\\JyMorvane\\JyFlvSource, LogLevel, view=256)",
                                            "isExist(HKLM/Software\\JyMorvane\\JyFlvSource, LogDir, view=256)"));
}
