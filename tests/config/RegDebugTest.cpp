#include "config/RegDebug.h"

#include "tests/config/RegistryTesting.h"
#include "tests/support/DebugOutputCapture.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/FatalException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using JY::ApiErrorException;
using JY::ErrorException;
using JY::Test::DebugOutputCapture;
using JY::Test::TestKey;
using JY::Test::thrownIn;
using JY::Utl::ByteString;
using JY::Utl::RegDebug;
using testing::ElementsAre;

class RegDebugTest : public testing::Test {
protected:
    template <class Value>
    void set(const std::wstring& name, const Value& value) {
        registry.setValue(HKEY_CURRENT_USER, place.path(), name, value, 0);
    }
    std::uint32_t getUInt(const std::wstring& name) {
        return registry.getUInt(HKEY_CURRENT_USER, place.path(), name, 0);
    }
    std::uint64_t getULongLong(const std::wstring& name) {
        return registry.getULongLong(HKEY_CURRENT_USER, place.path(), name, 0);
    }
    std::wstring getString(const std::wstring& name) {
        return registry.getString(HKEY_CURRENT_USER, place.path(), name, 0);
    }
    ByteString getBinary(const std::wstring& name) {
        return registry.getBinary(HKEY_CURRENT_USER, place.path(), name, 0);
    }
    template <class E>
    void expectFromAllGetters(const std::string& text) {
        EXPECT_EQ(thrownIn<E>([&] { getUInt(L"name"); }), text);
        EXPECT_EQ(thrownIn<E>([&] { getULongLong(L"name"); }), text);
        EXPECT_EQ(thrownIn<E>([&] { getString(L"name"); }), text);
        EXPECT_EQ(thrownIn<E>([&] { getBinary(L"name"); }), text);
    }

    TestKey place;
    RegDebug registry;
};

/// With short names, so that lines are short.
class RegDebugTrace : public testing::Test {
protected:
    RegDebugTrace() { RegDebug().deleteKey(HKEY_CURRENT_USER, L"Trace", 0); }
    ~RegDebugTrace() override { RegDebug().deleteKey(HKEY_CURRENT_USER, L"Trace", 0); }

    RegDebug registry;
};

} // namespace

TEST_F(RegDebugTest, MissingKeyIsAPathThatIsNotFound) {
    expectFromAllGetters<ApiErrorException>("find: (0x3) @RegDebug");
}

TEST_F(RegDebugTest, MissingValueIsAFileThatIsNotFound) {
    set(L"other", std::uint32_t{1});
    expectFromAllGetters<ApiErrorException>("find: (0x2) @RegDebug");
}

TEST_F(RegDebugTest, ValueOfAnotherTypeIsATypeMismatch) {
    const std::string mismatch = "Type missmatch. @RegDebug";
    set(L"name", std::uint32_t{1});
    EXPECT_EQ(thrownIn<ErrorException>([&] { getULongLong(L"name"); }), mismatch);
    EXPECT_EQ(thrownIn<ErrorException>([&] { getString(L"name"); }), mismatch);
    EXPECT_EQ(thrownIn<ErrorException>([&] { getBinary(L"name"); }), mismatch);
    set(L"name", std::wstring(L"text"));
    EXPECT_EQ(thrownIn<ErrorException>([&] { getUInt(L"name"); }), mismatch);
}

TEST_F(RegDebugTest, KeyBelowAnyOtherRootIsMisuse) {
    const std::string misuse = "Unknown HKEY. @SimpleRegKey";
    EXPECT_EQ(thrownIn<JY::FatalException>([&] { registry.getUInt(HKEY_USERS, L"a", L"name", 0); }), misuse);
    EXPECT_EQ(thrownIn<JY::FatalException>([&] { registry.setValue(HKEY_USERS, L"a", L"name", 1U, 0); }), misuse);
    EXPECT_EQ(thrownIn<JY::FatalException>([&] { registry.deleteKey(HKEY_USERS, L"a", 0); }), misuse);
}

TEST_F(RegDebugTest, AllObjectsShareOneRegistry) {
    set(L"name", std::uint32_t{7});
    EXPECT_EQ(RegDebug().getUInt(HKEY_CURRENT_USER, place.path(), L"name", 0), 7U);
}

TEST_F(RegDebugTest, RootsAreKeptApart) {
    set(L"name", std::uint32_t{7});
    EXPECT_FALSE(registry.isExist(HKEY_LOCAL_MACHINE, place.path(), 0));
    EXPECT_FALSE(registry.isExist(HKEY_CLASSES_ROOT, place.path(), 0));
}

TEST_F(RegDebugTest, EveryPrefixOfThePathUpToABackslashBecomesAKey) {
    registry.setValue(HKEY_CURRENT_USER, place.path() + L"\\a\\b", L"name", 7U, 0);
    EXPECT_TRUE(registry.isExist(HKEY_CURRENT_USER, L"Software", 0));
    EXPECT_TRUE(registry.isExist(HKEY_CURRENT_USER, L"Software\\JyMorvaneTests", 0));
    EXPECT_TRUE(registry.isExist(HKEY_CURRENT_USER, place.path(), 0));
    EXPECT_TRUE(registry.isExist(HKEY_CURRENT_USER, place.path() + L"\\a", 0));
}

TEST_F(RegDebugTest, WritingBelowAKeyKeepsItsValues) {
    set(L"name", std::uint32_t{7});
    registry.setValue(HKEY_CURRENT_USER, place.path() + L"\\a", L"name", 8U, 0);
    EXPECT_EQ(getUInt(L"name"), 7U);
}

TEST_F(RegDebugTest, TextOfAnyLengthIsRead) {
    const std::wstring text(1000, L'x');
    set(L"name", text);
    EXPECT_EQ(getString(L"name"), text);
}

TEST_F(RegDebugTrace, TellsWhetherKeysAndValuesExist) {
    registry.setValue(HKEY_CURRENT_USER, L"Trace", L"name", 1U, 0);
    const DebugOutputCapture output;
    registry.isExist(HKEY_CURRENT_USER, L"Trace", 0);
    registry.isExist(HKEY_CURRENT_USER, L"Trace\\a", 0);
    registry.isExist(HKEY_CURRENT_USER, L"Trace", L"name", 0);
    registry.isExist(HKEY_LOCAL_MACHINE, L"Trace", L"name", 0);
    EXPECT_THAT(DebugOutputCapture::lines(),
                ElementsAre("RegDebug::isExist(HKCU/Trace)=true", "RegDebug::isExist(HKCU/Trace\\a)=false",
                            "RegDebug::isExist(HKCU/Trace,name)=true", "RegDebug::isExist(HKLM/Trace,name)=false"));
}

TEST_F(RegDebugTrace, TellsWhatIsWritten) {
    const DebugOutputCapture output;
    registry.setValue(HKEY_CURRENT_USER, L"Trace", L"a", std::uint32_t{0xFFFFFFFF}, 0);
    registry.setValue(HKEY_CURRENT_USER, L"Trace", L"b", std::uint64_t{0x1'80000000}, 0);
    registry.setValue(HKEY_CURRENT_USER, L"Trace", L"c", std::wstring(L"text"), 0);
    registry.setValue(HKEY_CURRENT_USER, L"Trace", L"d", ByteString(300), 0);
    EXPECT_THAT(DebugOutputCapture::lines(),
                ElementsAre("RegDebug::setValue(HKCU/Trace,a,-1)", "RegDebug::setValue(HKCU/Trace,b,2147483648ll)",
                            "RegDebug::setValue(HKCU/Trace,c,text)", "RegDebug::setValue(HKCU/Trace,d,(size=300))"));
}

TEST_F(RegDebugTrace, TellsWhatIsRead) {
    registry.setValue(HKEY_CURRENT_USER, L"Trace", L"a", std::uint32_t{0xFFFFFFFF}, 0);
    registry.setValue(HKEY_CURRENT_USER, L"Trace", L"b", std::uint64_t{0x1'80000000}, 0);
    registry.setValue(HKEY_CURRENT_USER, L"Trace", L"c", std::wstring(L"text"), 0);
    registry.setValue(HKEY_CURRENT_USER, L"Trace", L"d", ByteString(300), 0);
    const DebugOutputCapture output;
    registry.getUInt(HKEY_CURRENT_USER, L"Trace", L"a", 0);
    registry.getULongLong(HKEY_CURRENT_USER, L"Trace", L"b", 0);
    registry.getString(HKEY_CURRENT_USER, L"Trace", L"c", 0);
    registry.getBinary(HKEY_CURRENT_USER, L"Trace", L"d", 0);
    EXPECT_THAT(DebugOutputCapture::lines(),
                ElementsAre("RegDebug::getUInt(HKCU/Trace,a)=-1", "RegDebug::getULongLong(HKCU/Trace,b)=2147483648ll",
                            "RegDebug::getString(HKCU/Trace,c)=text", "RegDebug::getBinary(HKCU/Trace,d)=(size=300)"));
}

TEST_F(RegDebugTrace, TellsWhatIsDeleted) {
    const DebugOutputCapture output;
    registry.deleteValue(HKEY_CLASSES_ROOT, L"Trace", L"name", 0);
    registry.deleteKey(HKEY_CLASSES_ROOT, L"Trace\\a", 0);
    EXPECT_THAT(DebugOutputCapture::lines(),
                ElementsAre("RegDebug::deleteValue(HKCR/Trace,name)", "RegDebug::deleteKey(HKCR/Trace\\a)"));
}

TEST_F(RegDebugTrace, LineIsCutAt255Characters) {
    const DebugOutputCapture output;
    registry.setValue(HKEY_CURRENT_USER, L"Trace", L"a", std::wstring(300, L'x'), 0);
    const std::string head = "RegDebug::setValue(HKCU/Trace,a,";
    EXPECT_THAT(DebugOutputCapture::lines(), ElementsAre(head + std::string(255 - head.size(), 'x')));
}
