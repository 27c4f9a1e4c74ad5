#include "config/SimpleRegKey.h"

#include "tests/config/RegistryTesting.h"
#include "tests/support/OpenHandles.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/FatalException.h"

#include <array>
#include <functional>
#include <gtest/gtest.h>

namespace {

using JY::ApiErrorException;
using JY::FatalException;
using JY::Test::countOpenHandles;
using JY::Test::TestKey;
using JY::Test::thrownIn;
using JY::Utl::SimpleRegKey;

std::string narrow(const std::wstring& text) {
    return (JY::TextBuffer() << text).str();
}

class SimpleRegKeyTest : public testing::Test {
protected:
    /// Makes the test's key and opens it with the given rights.
    void makeAndOpen(REGSAM rights) {
        SimpleRegKey(HKEY_CURRENT_USER, place.path()).create(KEY_WRITE);
        key.open(rights);
    }

    TestKey place;
    SimpleRegKey key{HKEY_CURRENT_USER, place.path()};
};

} // namespace

TEST(SimpleRegKey, DisplayNameIsTheRootsPrefixAndThePath) {
    EXPECT_EQ(narrow(SimpleRegKey(HKEY_CLASSES_ROOT, L"CLSID\\a").displayName()), "HKCR/CLSID\\a");
    EXPECT_EQ(narrow(SimpleRegKey(HKEY_CURRENT_USER, L"Software").displayName()), "HKCU/Software");
    EXPECT_EQ(narrow(SimpleRegKey(HKEY_LOCAL_MACHINE, L"").displayName()), "HKLM/");
}

TEST(SimpleRegKey, KeyBelowAnyOtherRootHasNoDisplayName) {
    EXPECT_EQ(thrownIn<FatalException>([] { SimpleRegKey(HKEY_USERS, L"a").displayName(); }),
              "Unknown HKEY. @SimpleRegKey");
    EXPECT_EQ(thrownIn<FatalException>([] { SimpleRegKey(nullptr, L"a").displayName(); }),
              "Unknown HKEY. @SimpleRegKey");
}

TEST_F(SimpleRegKeyTest, OpeningAKeyThatDoesNotExistThrowsTheRegistrysCode) {
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { key.open(KEY_READ); }),
              "RegOpenKeyEx(" + place.displayName() + "): (0x2) @SimpleRegKey");
}

TEST_F(SimpleRegKeyTest, FailureToOpenBelowAnUnknownRootIsMisuse) {
    SimpleRegKey other(HKEY_USERS, L"no such key");
    EXPECT_EQ(thrownIn<FatalException>([&] { other.open(KEY_READ); }), "Unknown HKEY. @SimpleRegKey");
}

TEST_F(SimpleRegKeyTest, OpeningWhatMayBeAbsentAnswersWhetherItIsThere) {
    EXPECT_FALSE(key.openIfPresent(KEY_READ));
    SimpleRegKey(HKEY_CURRENT_USER, place.path()).create(KEY_WRITE);
    EXPECT_TRUE(key.openIfPresent(KEY_READ));
}

TEST_F(SimpleRegKeyTest, OpeningWhatMayBeAbsentThrowsForEveryOtherFailure) {
    SimpleRegKey tooLong(HKEY_CURRENT_USER, std::wstring(300, L'x'));
    const std::string text = thrownIn<ApiErrorException>([&] { tooLong.openIfPresent(KEY_READ); });
    EXPECT_TRUE(text.starts_with("RegOpenKeyEx(HKCU/xxx")) << text;
    EXPECT_FALSE(tooLong.tryOpen(KEY_READ));
}

TEST_F(SimpleRegKeyTest, CreateMakesTheKeyWithItsParents) {
    SimpleRegKey below(HKEY_CURRENT_USER, place.path() + L"\\a\\b");
    below.create(KEY_WRITE);
    EXPECT_TRUE(key.tryOpen(KEY_READ));
    EXPECT_TRUE(SimpleRegKey(HKEY_CURRENT_USER, place.path() + L"\\a").tryOpen(KEY_READ));
}

TEST_F(SimpleRegKeyTest, FailureToCreateThrowsTheRegistrysCode) {
    const std::wstring path = place.path() + L"\\" + std::wstring(300, L'x');
    SimpleRegKey tooLong(HKEY_CURRENT_USER, path);
    HKEY ignored = nullptr;
    const LSTATUS expected =
        RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &ignored, nullptr);
    ASSERT_NE(expected, ERROR_SUCCESS);
    JY::TextBuffer text;
    text << "RegCreateKeyEx(HKCU/" << path << "): (0x" << JY::Hex{static_cast<unsigned>(expected)} << ") @SimpleRegKey";
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { tooLong.create(KEY_WRITE); }), text.str());
}

TEST_F(SimpleRegKeyTest, EveryOperationOnAKeyThatIsNotOpenIsMisuse) {
    std::array<char, 8> buffer{};
    const std::function<void()> operations[] = {
        [&] { key.hasValue(L"name"); },
        [&] { key.queryValue(L"name", buffer.data(), buffer.size()); },
        [&] { key.setValue(L"name", REG_BINARY, buffer.data(), buffer.size()); },
        [&] { key.deleteValue(L"name"); },
        [&] { key.deleteTree(); },
    };
    for (const auto& operation : operations) {
        EXPECT_EQ(thrownIn<FatalException>(operation), "Key is not open. @SimpleRegKey");
    }
}

TEST_F(SimpleRegKeyTest, ClosedKeyIsNotOpenAnyMore) {
    makeAndOpen(KEY_READ);
    EXPECT_FALSE(key.hasValue(L"name"));
    key.close();
    EXPECT_EQ(thrownIn<FatalException>([&] { key.hasValue(L"name"); }), "Key is not open. @SimpleRegKey");
}

TEST_F(SimpleRegKeyTest, KeyThatCouldNotBeOpenedAgainIsNotOpen) {
    makeAndOpen(KEY_READ);
    RegDeleteTreeW(HKEY_CURRENT_USER, place.path().c_str());
    EXPECT_FALSE(key.tryOpen(KEY_READ));
    EXPECT_EQ(thrownIn<FatalException>([&] { key.hasValue(L"name"); }), "Key is not open. @SimpleRegKey");
}

TEST_F(SimpleRegKeyTest, QueryGivesTypeSizeAndData) {
    makeAndOpen(KEY_READ);
    place.write(L"name", REG_BINARY, {1, 2, 3});
    std::array<std::uint8_t, 8> buffer{};
    const auto info = key.queryValue(L"name", buffer.data(), buffer.size());
    EXPECT_EQ(info.type, static_cast<DWORD>(REG_BINARY));
    EXPECT_EQ(info.size, 3U);
    EXPECT_EQ(buffer, (std::array<std::uint8_t, 8>{1, 2, 3}));
}

TEST_F(SimpleRegKeyTest, QueryOfAMissingValueThrowsTheRegistrysCode) {
    makeAndOpen(KEY_READ);
    std::uint32_t number = 0;
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { key.queryValue(L"name", &number, sizeof number); }),
              "RegQueryValueEx(" + place.displayName() + ", name): (0x2) @SimpleRegKey");
}

TEST_F(SimpleRegKeyTest, QueryIntoABufferTooSmallThrowsMoreData) {
    makeAndOpen(KEY_READ);
    place.write(L"name", REG_BINARY, {1, 2, 3, 4, 5});
    std::array<std::uint8_t, 8> buffer{};
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { key.queryValue(L"name", buffer.data(), 4); }),
              "RegQueryValueEx(" + place.displayName() + ", name): (0xea) @SimpleRegKey");
}

TEST_F(SimpleRegKeyTest, FailureToWriteNamesTheValueTheDatasAddressAndSize) {
    makeAndOpen(KEY_READ);
    const std::array<std::uint8_t, 17> data{};
    JY::TextBuffer text;
    text << "RegSetValueEx(" << place.displayName() << ", name, "
         << JY::Hex{reinterpret_cast<std::uintptr_t>(data.data()) & 0xFFFFFFFF} << "(11 bytes): (0x5) @SimpleRegKey";
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { key.setValue(L"name", REG_BINARY, data.data(), data.size()); }),
              text.str());
}

TEST_F(SimpleRegKeyTest, FailureToDeleteAValueThrowsTheRegistrysCode) {
    makeAndOpen(KEY_READ);
    place.write(L"name", REG_BINARY, {1});
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { key.deleteValue(L"name"); }),
              "RegDeleteValue(" + place.displayName() + ", name): (0x5) @SimpleRegKey");
    EXPECT_TRUE(key.hasValue(L"name"));
}

TEST_F(SimpleRegKeyTest, DeletingAValueThatDoesNotExistSucceeds) {
    makeAndOpen(KEY_SET_VALUE);
    EXPECT_NO_THROW(key.deleteValue(L"name"));
}

TEST_F(SimpleRegKeyTest, FailureToDeleteWhatIsBelowThrowsTheRegistrysCode) {
    SimpleRegKey(HKEY_CURRENT_USER, place.path() + L"\\below").create(KEY_WRITE);
    makeAndOpen(KEY_SET_VALUE);
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { key.deleteTree(); }),
              "RegDeleteTree(" + place.displayName() + ",nullptr): (0x5) @SimpleRegKey");
    EXPECT_TRUE(SimpleRegKey(HKEY_CURRENT_USER, place.path() + L"\\below").tryOpen(KEY_READ));
}

TEST_F(SimpleRegKeyTest, FailureToDeleteTheKeyItselfThrowsTheRegistrysCode) {
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { key.deleteKey(0); }), "RegDeleteKeyEx: (0x2) @SimpleRegKey");
    SimpleRegKey(HKEY_CURRENT_USER, place.path() + L"\\below").create(KEY_WRITE);
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { key.deleteKey(0); }), "RegDeleteKeyEx: (0x5) @SimpleRegKey");
}

TEST_F(SimpleRegKeyTest, KeyIsClosedAtTheEndAndWhenOpenedAgain) {
    makeAndOpen(KEY_READ);
    const std::size_t before = countOpenHandles();
    {
        SimpleRegKey other(HKEY_CURRENT_USER, place.path());
        other.open(KEY_READ);
        ASSERT_EQ(countOpenHandles(), before + 1);
        other.open(KEY_READ);
        other.create(KEY_READ);
        EXPECT_EQ(countOpenHandles(), before + 1);
    }
    EXPECT_EQ(countOpenHandles(), before);
}
