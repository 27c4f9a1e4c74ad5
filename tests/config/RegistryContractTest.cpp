// What the real registry and the one in memory have in common.

#include "config/RegActual.h"
#include "config/RegDebug.h"
#include "tests/config/RegistryTesting.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

using JY::Test::TestKey;
using JY::Test::thrown;
using JY::Utl::ByteString;

template <class Registry>
class RegistryContract : public testing::Test {
protected:
    bool hasKey(const std::wstring& below = L"") {
        return registry.isExist(HKEY_CURRENT_USER, place.path() + below, KEY_WOW64_64KEY);
    }
    bool hasValue(const std::wstring& name) {
        return registry.isExist(HKEY_CURRENT_USER, place.path(), name, KEY_WOW64_64KEY);
    }
    template <class Value>
    void set(const std::wstring& name, const Value& value, const std::wstring& below = L"") {
        registry.setValue(HKEY_CURRENT_USER, place.path() + below, name, value, KEY_WOW64_64KEY);
    }
    std::uint32_t getUInt(const std::wstring& name) {
        return registry.getUInt(HKEY_CURRENT_USER, place.path(), name, KEY_WOW64_64KEY);
    }
    std::uint64_t getULongLong(const std::wstring& name) {
        return registry.getULongLong(HKEY_CURRENT_USER, place.path(), name, KEY_WOW64_64KEY);
    }
    std::wstring getString(const std::wstring& name) {
        return registry.getString(HKEY_CURRENT_USER, place.path(), name, KEY_WOW64_64KEY);
    }
    ByteString getBinary(const std::wstring& name) {
        return registry.getBinary(HKEY_CURRENT_USER, place.path(), name, KEY_WOW64_64KEY);
    }
    void deleteValue(const std::wstring& name) {
        registry.deleteValue(HKEY_CURRENT_USER, place.path(), name, KEY_WOW64_64KEY);
    }
    void deleteKey(const std::wstring& below = L"") {
        registry.deleteKey(HKEY_CURRENT_USER, place.path() + below, KEY_WOW64_64KEY);
    }

    TestKey place;
    Registry registry;
};

using Registries = testing::Types<JY::Utl::RegActual, JY::Utl::RegDebug>;
TYPED_TEST_SUITE(RegistryContract, Registries);

} // namespace

TYPED_TEST(RegistryContract, NumbersOf32BitsComeBackAsWritten) {
    for (const std::uint32_t value : {0U, 1U, 0x80000000U, 0xFFFFFFFFU}) {
        this->set(L"name", value);
        EXPECT_EQ(this->getUInt(L"name"), value);
    }
}

TYPED_TEST(RegistryContract, NumbersOf64BitsComeBackAsWritten) {
    for (const std::uint64_t value :
         {std::uint64_t{0}, std::uint64_t{0x0123456789ABCDEF}, std::numeric_limits<std::uint64_t>::max()}) {
        this->set(L"name", value);
        EXPECT_EQ(this->getULongLong(L"name"), value);
    }
}

TYPED_TEST(RegistryContract, TextComesBackAsWritten) {
    for (const std::wstring value : {L"", L"a", L"%TEMP%\\\x65E5\x672C"}) {
        this->set(L"name", value);
        EXPECT_EQ(this->getString(L"name"), value);
    }
}

TYPED_TEST(RegistryContract, TextOf127CharactersIsRead) {
    const std::wstring value(127, L'x');
    this->set(L"name", value);
    EXPECT_EQ(this->getString(L"name"), value);
}

TYPED_TEST(RegistryContract, BytesComeBackAsWritten) {
    for (const ByteString& value : {ByteString{}, ByteString{0}, ByteString{1, 0, 2}, ByteString(256, 0xFF)}) {
        this->set(L"name", value);
        EXPECT_EQ(this->getBinary(L"name"), value);
    }
}

TYPED_TEST(RegistryContract, ValueWithoutANameIsTheKeysDefault) {
    this->set(L"", std::wstring(L"default"));
    EXPECT_TRUE(this->hasValue(L""));
    EXPECT_EQ(this->getString(L""), L"default");
}

TYPED_TEST(RegistryContract, WritingReplacesAValueOfAnotherType) {
    this->set(L"name", std::wstring(L"text"));
    this->set(L"name", std::uint32_t{7});
    EXPECT_EQ(this->getUInt(L"name"), 7U);
}

TYPED_TEST(RegistryContract, NamesOfKeysAndValuesIgnoreCase) {
    this->set(L"Name", std::uint32_t{7}, L"\\Below");
    const std::wstring path = this->place.path() + L"\\bELOW";
    EXPECT_TRUE(this->registry.isExist(HKEY_CURRENT_USER, path, KEY_WOW64_64KEY));
    EXPECT_TRUE(this->registry.isExist(HKEY_CURRENT_USER, path, L"nAME", KEY_WOW64_64KEY));
    EXPECT_EQ(this->registry.getUInt(HKEY_CURRENT_USER, path, L"NAME", KEY_WOW64_64KEY), 7U);
}

TYPED_TEST(RegistryContract, WritingMakesTheKeyWithAllItsParents) {
    EXPECT_FALSE(this->hasKey());
    this->set(L"name", std::uint32_t{7}, L"\\a\\b");
    EXPECT_TRUE(this->hasKey());
    EXPECT_TRUE(this->hasKey(L"\\a"));
    EXPECT_TRUE(this->hasKey(L"\\a\\b"));
    EXPECT_FALSE(this->hasValue(L"name"));
}

TYPED_TEST(RegistryContract, KeyAndValueAreThereOrNot) {
    EXPECT_FALSE(this->hasKey());
    EXPECT_FALSE(this->hasValue(L"name"));
    this->set(L"name", std::uint32_t{7});
    EXPECT_TRUE(this->hasKey());
    EXPECT_TRUE(this->hasValue(L"name"));
    EXPECT_FALSE(this->hasValue(L"other"));
}

TYPED_TEST(RegistryContract, AskingWhetherSomethingExistsNeverThrows) {
    for (const HKEY root : {HKEY_USERS, HKEY_PERFORMANCE_DATA, HKEY{}, HKEY_CURRENT_USER}) {
        for (const std::wstring& path : {std::wstring(L"no such key"), std::wstring(300, L'x'), std::wstring(L"\\")}) {
            EXPECT_FALSE(this->registry.isExist(root, path, KEY_WOW64_64KEY));
            EXPECT_FALSE(this->registry.isExist(root, path, std::wstring(20000, L'x'), KEY_WOW64_64KEY));
        }
    }
}

TYPED_TEST(RegistryContract, DeletedValueIsGoneAndTheOthersStay) {
    this->set(L"name", std::uint32_t{7});
    this->set(L"other", std::uint32_t{8});
    this->deleteValue(L"NAME");
    EXPECT_FALSE(this->hasValue(L"name"));
    EXPECT_EQ(this->getUInt(L"other"), 8U);
}

TYPED_TEST(RegistryContract, DeletingAValueThatDoesNotExistSucceeds) {
    EXPECT_NO_THROW(this->deleteValue(L"name"));
    EXPECT_FALSE(this->hasKey());
    this->set(L"other", std::uint32_t{8});
    EXPECT_NO_THROW(this->deleteValue(L"name"));
}

TYPED_TEST(RegistryContract, DeletedKeyIsGoneWithEverythingBelowIt) {
    this->set(L"name", std::uint32_t{7}, L"\\a");
    this->set(L"name", std::uint32_t{7}, L"\\a\\b\\c");
    this->set(L"name", std::uint32_t{7}, L"\\a\\d");
    this->deleteKey(L"\\A");
    EXPECT_FALSE(this->hasKey(L"\\a"));
    EXPECT_FALSE(this->hasKey(L"\\a\\b"));
    EXPECT_FALSE(this->hasKey(L"\\a\\b\\c"));
    EXPECT_FALSE(this->hasKey(L"\\a\\d"));
    EXPECT_TRUE(this->hasKey());
}

TYPED_TEST(RegistryContract, DeletingAKeyLeavesItsNeighboursWithTheSameBeginning) {
    this->set(L"name", std::uint32_t{7}, L"\\a");
    this->set(L"name", std::uint32_t{7}, L"\\ab\\c");
    this->set(L"name", std::uint32_t{7}, L"\\a!");
    this->deleteKey(L"\\a");
    EXPECT_FALSE(this->hasKey(L"\\a"));
    EXPECT_TRUE(this->hasKey(L"\\ab"));
    EXPECT_TRUE(this->hasKey(L"\\ab\\c"));
    EXPECT_TRUE(this->hasKey(L"\\a!"));
}

TYPED_TEST(RegistryContract, KeyThatIsMadeAgainHasNoneOfItsOldValues) {
    this->set(L"name", std::uint32_t{7}, L"\\a");
    this->deleteKey(L"\\a");
    this->set(L"other", std::uint32_t{7}, L"\\a");
    EXPECT_FALSE(this->registry.isExist(HKEY_CURRENT_USER, this->place.path() + L"\\a", L"name", KEY_WOW64_64KEY));
}

TYPED_TEST(RegistryContract, DeletingAKeyThatDoesNotExistSucceeds) {
    EXPECT_NO_THROW(this->deleteKey());
    EXPECT_NO_THROW(this->deleteKey(L"\\a\\b"));
}

TYPED_TEST(RegistryContract, NumberReadAsAWiderOneIsATypeMismatch) {
    this->set(L"name", std::uint32_t{7});
    const std::string text = thrown<JY::ErrorException>([&] { this->getULongLong(L"name"); });
    EXPECT_TRUE(text.starts_with("Type missmatch.")) << text;
}

TYPED_TEST(RegistryContract, MissingValueIsAnApiErrorWithCode2) {
    this->set(L"other", std::uint32_t{7});
    const std::string text = thrown<JY::ApiErrorException>([&] { this->getUInt(L"name"); });
    EXPECT_NE(text.find(": (0x2) @"), std::string::npos) << text;
}
