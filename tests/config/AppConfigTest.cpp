#include "config/AppConfig.h"

#include "config/RegActual.h"
#include "config/RegDebug.h"
#include "tests/config/RegistryTesting.h"
#include "tests/support/RecordingRegistry.h"
#include "tests/support/RegistryScope.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/FatalException.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

namespace {

using namespace JY;
using JY::Test::AbsentKey;
using JY::Test::RecordingRegistry;
using JY::Test::RegistryScope;
using JY::Test::thrownIn;
using Pictaro::AppConfig;
using testing::ElementsAre;
using Id = AppConfig::Id;
using Kind = AppConfig::Validator::Kind;

const std::wstring product = L"Software\\JyMorvane\\Pictaro";

std::string narrow(const wchar_t* text) {
    return (TextBuffer() << text).str();
}

/// A row in one line: "id root name type default validator".
std::string describe(const AppConfig::Row& row) {
    TextBuffer text;
    text << static_cast<std::uint32_t>(row.id) << (row.root == HKEY_LOCAL_MACHINE ? " HKLM " : "")
         << (row.root == HKEY_CURRENT_USER ? " HKCU " : "") << row.name << " " << static_cast<std::uint32_t>(row.type)
         << " ";
    if (row.type == AppConfig::Type::string) {
        text << "'" << row.defaultText << "'";
    } else {
        text << row.defaultNumber;
    }
    if (row.validator.kind == Kind::any) {
        text << " any";
    } else if (row.validator.kind == Kind::range) {
        text << " " << row.validator.minimum << ".." << row.validator.maximum;
    }
    return text.str();
}

AppConfig::Row numberRow(AppConfig::Validator validator) {
    return {Id::logLevel, HKEY_CURRENT_USER, L"TestNumber", AppConfig::Type::uint32, 77, nullptr, validator};
}

/// Runs on the real registry and on the one in memory; both begin without the product's keys.
template <class Registry>
class AppConfigNumbers : public testing::Test {
protected:
    AppConfigNumbers() { clearMemory(); }
    ~AppConfigNumbers() override { clearMemory(); }

    template <class Value>
    void set(HKEY root, const std::wstring& name, const Value& value) {
        registry.setValue(root, product, name, value, KEY_WOW64_64KEY);
    }
    std::uint32_t stored(HKEY root, const std::wstring& name) {
        return registry.getUInt(root, product, name, KEY_WOW64_64KEY);
    }

    const AppConfig::Row& hideFileName = AppConfig::row(Id::hideFileName);
    AbsentKey absentOfMachine{HKEY_LOCAL_MACHINE, product};
    AbsentKey absentOfUser{HKEY_CURRENT_USER, product};
    Registry registry;
    RegistryScope scope{registry};

private:
    static void clearMemory() {
        Utl::RegDebug().deleteKey(HKEY_LOCAL_MACHINE, product, 0);
        Utl::RegDebug().deleteKey(HKEY_CURRENT_USER, product, 0);
    }
};

using Registries = testing::Types<Utl::RegActual, Utl::RegDebug>;
TYPED_TEST_SUITE(AppConfigNumbers, Registries);

/// Turns writing off for as long as it lives.
class WritesDisabled {
public:
    WritesDisabled() { Pictaro::configWritesDisabled = true; }
    WritesDisabled(const WritesDisabled&) = delete;
    WritesDisabled& operator=(const WritesDisabled&) = delete;
    ~WritesDisabled() { Pictaro::configWritesDisabled = false; }
};

} // namespace

TEST(AppConfig, RowsHaveTheProductsPositionsDefaultsAndRules) {
    std::vector<std::string> rows;
    std::ranges::transform(AppConfig::rows(), std::back_inserter(rows), describe);
    EXPECT_THAT(rows, ElementsAre("0 HKLM LogLevel 1 3 0..6", "1 HKLM SnapshotLogLevel 1 0 0..6",
                                  "2 HKLM LogDir 0 '%TEMP%\\JyMorvane\\Pictaro' any",
                                  "3 HKLM LogDirLowIL 0 '%LocalAppDataLow%\\JyMorvane\\Pictaro' any",
                                  "4 HKLM SandboxIsLowIL 1 1 0..1", "5 HKLM LogEachSize 1 1048576 10240..1073741824",
                                  "6 HKLM LogMaxWrap 1 8 4..32", "7 HKLM LogSnapshotSize 1 1000 10..99999",
                                  "17 HKCU PvMaxWidth 1 640 120..4320", "36 HKLM HideFileName 1 1 0..1",
                                  "39 HKCU PhSceneLongSidesCsv 0 '48,80,120,160,240,320,480' any",
                                  "66 HKCU PhVSplitterPos 1 4294967295 -1..4096",
                                  "68 HKCU PhExecVlcOpt 0 '--no-one-instance' any",
                                  "72 HKLM SeBgEnableModCsv 0 'prevhost.exe' any", "73 HKLM CmAccessKey 0 'T' any",
                                  "86 HKLM SproHoleDef 1 16777215 any", "92 HKLM AdsCacheOrigin 2 0 any",
                                  "97 HKCU PvMfKeyMargin 1 8 -500..500", "99 HKLM SbIdleToShutdown 1 300000 any"));
}

TEST(AppConfig, RowIsFoundByItsId) {
    EXPECT_EQ(narrow(AppConfig::row(Id::hideFileName).name), "HideFileName");
    EXPECT_EQ(narrow(AppConfig::row(Id::sbIdleToShutdown).name), "SbIdleToShutdown");
}

TEST(AppConfig, IdWithoutARowIsMisuse) {
    EXPECT_EQ(thrownIn<FatalException>([] { AppConfig::row(static_cast<Id>(8)); }), "Unknown id. @AppConfig");
}

TEST(AppConfig, EveryDefaultNumberIsValid) {
    for (const AppConfig::Row& row : AppConfig::rows()) {
        EXPECT_TRUE(row.validator.accepts(static_cast<std::uint32_t>(row.defaultNumber))) << narrow(row.name);
    }
}

TEST(AppConfigValidator, AnyAcceptsEveryValue) {
    const AppConfig::Validator any{};
    EXPECT_TRUE(any.accepts(0));
    EXPECT_TRUE(any.accepts(0xFFFFFFFF));
}

TEST(AppConfigValidator, RangeIncludesItsEnds) {
    const AppConfig::Validator range{.kind = Kind::range, .minimum = 4, .maximum = 32};
    EXPECT_FALSE(range.accepts(3));
    EXPECT_TRUE(range.accepts(4));
    EXPECT_TRUE(range.accepts(32));
    EXPECT_FALSE(range.accepts(33));
}

TEST(AppConfigValidator, RangeComparesAsSignedNumbers) {
    const AppConfig::Validator range{.kind = Kind::range, .minimum = -1, .maximum = 4096};
    EXPECT_TRUE(range.accepts(0xFFFFFFFF));
    EXPECT_FALSE(range.accepts(0xFFFFFFFE));
    EXPECT_FALSE(range.accepts(0x80000000));
    const AppConfig::Validator positive{.kind = Kind::range, .minimum = 0, .maximum = 6};
    EXPECT_FALSE(positive.accepts(0xFFFFFFFF));
}

TEST(AppConfigValidator, PredicateDecides) {
    const AppConfig::Validator odd{.kind = Kind::predicate,
                                   .predicate = [](std::uint32_t value) { return value % 2 == 1; }};
    EXPECT_TRUE(odd.accepts(7));
    EXPECT_FALSE(odd.accepts(8));
}

TEST(AppConfigValidator, MissingPredicateAcceptsEveryValue) {
    const AppConfig::Validator none{.kind = Kind::predicate};
    EXPECT_TRUE(none.accepts(0));
    EXPECT_TRUE(none.accepts(0xFFFFFFFF));
}

TEST(AppConfigValidator, UnknownKindIsMisuse) {
    const AppConfig::Validator unknown{.kind = static_cast<Kind>(3)};
    EXPECT_EQ(thrownIn<FatalException>([&] { unknown.accepts(1); }), "Invalid type. @AppConfig");
}

TYPED_TEST(AppConfigNumbers, MissingValueReadsAsTheDefault) {
    EXPECT_EQ(AppConfig::getUInt(this->hideFileName), 1U);
    EXPECT_EQ(AppConfig::getUInt(AppConfig::row(Id::pvMaxWidth)), 640U);
}

TYPED_TEST(AppConfigNumbers, ValidValueIsReadFromTheRowsRoot) {
    this->set(HKEY_LOCAL_MACHINE, L"HideFileName", std::uint32_t{0});
    this->set(HKEY_CURRENT_USER, L"PvMaxWidth", std::uint32_t{4320});
    EXPECT_EQ(AppConfig::getUInt(this->hideFileName), 0U);
    EXPECT_EQ(AppConfig::getUInt(AppConfig::row(Id::pvMaxWidth)), 4320U);
}

TYPED_TEST(AppConfigNumbers, EveryReadGoesToTheRegistry) {
    this->set(HKEY_LOCAL_MACHINE, L"HideFileName", std::uint32_t{0});
    EXPECT_EQ(AppConfig::getUInt(this->hideFileName), 0U);
    this->set(HKEY_LOCAL_MACHINE, L"HideFileName", std::uint32_t{1});
    EXPECT_EQ(AppConfig::getUInt(this->hideFileName), 1U);
}

TYPED_TEST(AppConfigNumbers, HideFileNameOutOfRangeReadsAs1) {
    this->set(HKEY_LOCAL_MACHINE, L"HideFileName", std::uint32_t{5});
    EXPECT_EQ(AppConfig::getUInt(this->hideFileName), 1U);
}

TYPED_TEST(AppConfigNumbers, ValueOfAnotherTypeReadsAsTheDefault) {
    this->set(HKEY_CURRENT_USER, L"PvMaxWidth", Utl::ByteString{200});
    EXPECT_EQ(AppConfig::getUInt(AppConfig::row(Id::pvMaxWidth)), 640U);
    this->set(HKEY_CURRENT_USER, L"PvMaxWidth", std::wstring(L"200 and more"));
    EXPECT_EQ(AppConfig::getUInt(AppConfig::row(Id::pvMaxWidth)), 640U);
}

TYPED_TEST(AppConfigNumbers, MinusOneIsReadWhereTheRangeHasIt) {
    this->set(HKEY_CURRENT_USER, L"PhVSplitterPos", std::uint32_t{0xFFFFFFFF});
    EXPECT_EQ(AppConfig::getUInt(AppConfig::row(Id::phVSplitterPos)), 0xFFFFFFFFU);
}

TYPED_TEST(AppConfigNumbers, ReadingARowOfAnotherTypeIsMisuse) {
    for (const Id id : {Id::logDir, Id::adsCacheOrigin}) {
        EXPECT_EQ(thrownIn<FatalException>([&] { AppConfig::getUInt(AppConfig::row(id)); }),
                  "Invalid type. @AppConfig");
    }
}

TYPED_TEST(AppConfigNumbers, ReadingWithAnUnknownValidatorIsMisuse) {
    this->set(HKEY_CURRENT_USER, L"TestNumber", std::uint32_t{1});
    EXPECT_EQ(thrownIn<FatalException>([] { AppConfig::getUInt(numberRow({.kind = static_cast<Kind>(9)})); }),
              "Invalid type. @AppConfig");
}

TYPED_TEST(AppConfigNumbers, WritingWithAnUnknownValidatorIsMisuse) {
    EXPECT_EQ(thrownIn<FatalException>([] { AppConfig::setUInt(numberRow({.kind = static_cast<Kind>(9)}), 1); }),
              "Invalid type. @AppConfig");
    EXPECT_FALSE(this->registry.isExist(HKEY_CURRENT_USER, product, KEY_WOW64_64KEY));
}

TYPED_TEST(AppConfigNumbers, ValueThatThePredicateRefusesReadsAsTheDefaultAndIsNotWritten) {
    const AppConfig::Row odd =
        numberRow({.kind = Kind::predicate, .predicate = [](std::uint32_t value) { return value % 2 == 1; }});
    this->set(HKEY_CURRENT_USER, L"TestNumber", std::uint32_t{8});
    EXPECT_EQ(AppConfig::getUInt(odd), 77U);
    EXPECT_EQ(thrownIn<ErrorException>([&] { AppConfig::setUInt(odd, 10); }),
              "Invalid value. name=TestNumber value=10 @AppConfig");
    EXPECT_EQ(this->stored(HKEY_CURRENT_USER, L"TestNumber"), 8U);
    AppConfig::setUInt(odd, 9);
    EXPECT_EQ(AppConfig::getUInt(odd), 9U);
}

TYPED_TEST(AppConfigNumbers, ValidValueIsWritten) {
    AppConfig::setUInt(this->hideFileName, 0);
    EXPECT_EQ(this->stored(HKEY_LOCAL_MACHINE, L"HideFileName"), 0U);
    AppConfig::setUInt(AppConfig::row(Id::pvMaxWidth), 120);
    EXPECT_EQ(this->stored(HKEY_CURRENT_USER, L"PvMaxWidth"), 120U);
}

TYPED_TEST(AppConfigNumbers, InvalidValueIsRefusedAndNotWritten) {
    EXPECT_EQ(thrownIn<ErrorException>([&] { AppConfig::setUInt(this->hideFileName, 5); }),
              "Invalid value. name=HideFileName value=5 @AppConfig");
    EXPECT_EQ(thrownIn<ErrorException>([] { AppConfig::setUInt(AppConfig::row(Id::logLevel), 4294967295); }),
              "Invalid value. name=LogLevel value=4294967295 @AppConfig");
    EXPECT_FALSE(this->registry.isExist(HKEY_LOCAL_MACHINE, product, KEY_WOW64_64KEY));
}

TYPED_TEST(AppConfigNumbers, NothingIsWrittenWhileWritingIsOff) {
    ASSERT_FALSE(Pictaro::configWritesDisabled);
    const WritesDisabled disabled;
    AppConfig::setUInt(this->hideFileName, 0);
    EXPECT_NO_THROW(AppConfig::setUInt(this->hideFileName, 5));
    EXPECT_FALSE(this->registry.isExist(HKEY_LOCAL_MACHINE, product, KEY_WOW64_64KEY));
}

TEST(AppConfig, ReadsAndWritesInThe64BitView) {
    RecordingRegistry registry;
    const RegistryScope scope(registry);
    EXPECT_EQ(AppConfig::getUInt(AppConfig::row(Id::hideFileName)), 1U); // the answer, 32, is out of range
    EXPECT_EQ(AppConfig::getUInt(AppConfig::row(Id::logMaxWrap)), 32U);
    AppConfig::setUInt(AppConfig::row(Id::pvMaxWidth), 200);
    EXPECT_THAT(registry.calls, ElementsAre("getUInt(HKLM/Software\\JyMorvane\\Pictaro, HideFileName, view=256)",
                                            "getUInt(HKLM/Software\\JyMorvane\\Pictaro, LogMaxWrap, view=256)",
                                            "setValue(HKCU/Software\\JyMorvane\\Pictaro, PvMaxWidth, 200u, view=256)"));
}

TEST(AppConfig, FailureToWriteTellsTheReasonInFull) {
    RecordingRegistry registry;
    const RegistryScope scope(registry);
    std::string reason;
    registry.onCall = [&] {
        ApiErrorException failure(SourceFile("Test").at(12), "RegSetValueEx(", ERROR_ACCESS_DENIED);
        reason = failure.getDescription();
        throw failure;
    };
    const std::string text = thrownIn<ErrorException>([] { AppConfig::setUInt(AppConfig::row(Id::hideFileName), 0); });
    EXPECT_EQ(text, "setValue(HideFileName, 0) failed. reason" + reason + " @AppConfig");
    EXPECT_TRUE(reason.starts_with("RegSetValueEx(: (0x5;")) << reason;
}

TEST(AppConfig, EveryOtherFailureToWritePassesUnchanged) {
    RecordingRegistry registry;
    const RegistryScope scope(registry);
    registry.onCall = [] { throw ErrorException(SourceFile("Test").at(12), "other"); };
    EXPECT_EQ(thrownIn<ErrorException>([] { AppConfig::setUInt(AppConfig::row(Id::hideFileName), 0); }), "other @Test");
}
