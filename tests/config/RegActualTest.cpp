#include "config/RegActual.h"

#include "tests/config/RegistryTesting.h"
#include "tests/support/OpenHandles.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"

#include <functional>
#include <gtest/gtest.h>

namespace {

using JY::ApiErrorException;
using JY::ErrorException;
using JY::Test::countOpenHandles;
using JY::Test::TestKey;
using JY::Test::thrownIn;
using JY::Utl::ByteString;

class RegActualTest : public testing::Test {
protected:
    std::uint32_t getUInt() { return registry.getUInt(HKEY_CURRENT_USER, place.path(), L"name", 0); }
    std::uint64_t getULongLong() { return registry.getULongLong(HKEY_CURRENT_USER, place.path(), L"name", 0); }
    std::wstring getString() { return registry.getString(HKEY_CURRENT_USER, place.path(), L"name", 0); }
    ByteString getBinary() { return registry.getBinary(HKEY_CURRENT_USER, place.path(), L"name", 0); }

    std::string mismatch() const { return "Type missmatch. key=" + place.displayName() + ", name=name @RegActual"; }
    std::string moreData() const { return "RegQueryValueEx(" + place.displayName() + ", name): (0xea) @SimpleRegKey"; }
    void expectFromAllGetters(const std::string& text) {
        EXPECT_EQ(thrownIn<ApiErrorException>([&] { getUInt(); }), text);
        EXPECT_EQ(thrownIn<ApiErrorException>([&] { getULongLong(); }), text);
        EXPECT_EQ(thrownIn<ApiErrorException>([&] { getString(); }), text);
        EXPECT_EQ(thrownIn<ApiErrorException>([&] { getBinary(); }), text);
    }

    TestKey place;
    JY::Utl::RegActual registry;
};

} // namespace

TEST_F(RegActualTest, ValuesAreWrittenWithTheTypeAndSizeOfTheirKind) {
    registry.setValue(HKEY_CURRENT_USER, place.path(), L"number", std::uint32_t{0x01020304}, 0);
    registry.setValue(HKEY_CURRENT_USER, place.path(), L"long", std::uint64_t{0x0102030405060708}, 0);
    registry.setValue(HKEY_CURRENT_USER, place.path(), L"text", std::wstring(L"ab"), 0);
    registry.setValue(HKEY_CURRENT_USER, place.path(), L"bytes", ByteString{9, 8, 7}, 0);
    EXPECT_EQ(place.read(L"number"), (TestKey::Stored{4, {4, 3, 2, 1}}));
    EXPECT_EQ(place.read(L"long"), (TestKey::Stored{11, {8, 7, 6, 5, 4, 3, 2, 1}}));
    EXPECT_EQ(place.read(L"text"), (TestKey::Stored{1, {'a', 0, 'b', 0, 0, 0}}));
    EXPECT_EQ(place.read(L"bytes"), (TestKey::Stored{3, {9, 8, 7}}));
}

TEST_F(RegActualTest, GettersThrowTheRegistrysCodeForAMissingKey) {
    expectFromAllGetters("RegOpenKeyEx(" + place.displayName() + "): (0x2) @SimpleRegKey");
}

TEST_F(RegActualTest, GettersThrowTheRegistrysCodeForAMissingValue) {
    place.write(L"other", REG_BINARY, {1});
    expectFromAllGetters("RegQueryValueEx(" + place.displayName() + ", name): (0x2) @SimpleRegKey");
}

TEST_F(RegActualTest, DwordReadAsALongNumberIsATypeMismatchThatNamesKeyAndValue) {
    place.write(L"name", REG_DWORD, {1, 0, 0, 0});
    EXPECT_EQ(thrownIn<ErrorException>([&] { getULongLong(); }), mismatch());
}

TEST_F(RegActualTest, EveryGetterRefusesOtherTypesThatFitItsBuffer) {
    place.write(L"name", REG_BINARY, {1, 0, 0, 0});
    EXPECT_EQ(thrownIn<ErrorException>([&] { getUInt(); }), mismatch());
    EXPECT_EQ(thrownIn<ErrorException>([&] { getULongLong(); }), mismatch());
    EXPECT_EQ(thrownIn<ErrorException>([&] { getString(); }), mismatch());
    place.writeText(L"name", REG_SZ, L"a");
    EXPECT_EQ(thrownIn<ErrorException>([&] { getUInt(); }), mismatch());
    EXPECT_EQ(thrownIn<ErrorException>([&] { getULongLong(); }), mismatch());
    EXPECT_EQ(thrownIn<ErrorException>([&] { getBinary(); }), mismatch());
    place.writeText(L"name", REG_MULTI_SZ, L"a");
    EXPECT_EQ(thrownIn<ErrorException>([&] { getString(); }), mismatch());
}

TEST_F(RegActualTest, DataOfAnotherTypeThatDoesNotFitTheBufferIsTheRegistrysMoreData) {
    place.write(L"name", REG_QWORD, {1, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { getUInt(); }), moreData());
    place.writeText(L"name", REG_SZ, L"long enough");
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { getUInt(); }), moreData());
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { getULongLong(); }), moreData());
    place.write(L"name", REG_BINARY, std::vector<std::uint8_t>(257));
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { getString(); }), moreData());
}

TEST_F(RegActualTest, TextOf128CharactersIsTheRegistrysMoreData) {
    place.writeText(L"name", REG_SZ, std::wstring(128, L'x'));
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { getString(); }), moreData());
}

TEST_F(RegActualTest, BytesBeyond256AreTheRegistrysMoreData) {
    place.write(L"name", REG_BINARY, std::vector<std::uint8_t>(257));
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { getBinary(); }), moreData());
}

TEST_F(RegActualTest, ExpandableTextIsReadWithoutExpandingIt) {
    place.writeText(L"name", REG_EXPAND_SZ, L"%TEMP%\\x");
    EXPECT_EQ(getString(), L"%TEMP%\\x");
}

TEST_F(RegActualTest, TextDataWithoutATerminatorLosesItsLastCharacter) {
    place.write(L"name", REG_SZ, {'a', 0, 'b', 0, 'c', 0});
    EXPECT_EQ(getString(), L"ab");
}

TEST_F(RegActualTest, FullBufferOfTextWithoutATerminatorIsReadWithinItsBounds) {
    std::vector<std::uint8_t> data;
    for (int i = 0; i < 128; ++i) {
        data.insert(data.end(), {'x', 0});
    }
    place.write(L"name", REG_SZ, data);
    EXPECT_EQ(getString(), std::wstring(127, L'x'));
}

TEST_F(RegActualTest, TextDataOfOddSizeLosesItsHalfCharacter) {
    place.write(L"name", REG_SZ, {'a', 0, 'b', 0, 0, 0, 'c'});
    EXPECT_EQ(getString(), L"ab");
}

TEST_F(RegActualTest, TextDataTooShortForATerminatorIsTheEmptyText) {
    place.write(L"name", REG_SZ, {});
    EXPECT_EQ(getString(), L"");
    place.write(L"name", REG_SZ, {'a'});
    EXPECT_EQ(getString(), L"");
    place.write(L"name", REG_SZ, {'a', 0});
    EXPECT_EQ(getString(), L"");
}

TEST_F(RegActualTest, NumberWithTooFewBytesIsFilledUpWithZeros) {
    place.write(L"name", REG_DWORD, {7});
    EXPECT_EQ(getUInt(), 7U);
    place.write(L"name", REG_QWORD, {});
    EXPECT_EQ(getULongLong(), 0U);
}

TEST_F(RegActualTest, NumberWithTooManyBytesIsTheRegistrysMoreData) {
    place.write(L"name", REG_DWORD, {7, 0, 0, 0, 0});
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { getUInt(); }), moreData());
}

TEST(RegActual, SizeBeyondTheBufferIsRefused) {
    const std::vector<std::uint8_t> buffer(256);
    EXPECT_EQ(thrownIn<ErrorException>([&] { JY::Utl::readData(buffer, 257); }), "Over size. size=257 @RegActual");
    EXPECT_EQ(JY::Utl::readData(buffer, 256).size(), 256U);
}

TEST_F(RegActualTest, FailureToWriteNamesTheKeyThatCannotBeMade) {
    const std::wstring path(300, L'x');
    const std::string text =
        thrownIn<ApiErrorException>([&] { registry.setValue(HKEY_CURRENT_USER, path, L"name", std::uint32_t{1}, 0); });
    EXPECT_TRUE(text.starts_with("RegCreateKeyEx(HKCU/xxx")) << text;
}

TEST_F(RegActualTest, DeletingInAKeyThatCannotBeOpenedPropagatesTheFailure) {
    const std::wstring path(300, L'x');
    const std::string fromValue =
        thrownIn<ApiErrorException>([&] { registry.deleteValue(HKEY_CURRENT_USER, path, L"name", 0); });
    EXPECT_TRUE(fromValue.starts_with("RegOpenKeyEx(HKCU/xxx")) << fromValue;
    const std::string fromKey = thrownIn<ApiErrorException>([&] { registry.deleteKey(HKEY_CURRENT_USER, path, 0); });
    EXPECT_TRUE(fromKey.starts_with("RegOpenKeyEx(HKCU/xxx")) << fromKey;
}

TEST_F(RegActualTest, ViewFlagsSelectTheViewOfEveryOperation) {
    const std::wstring path = L"Software\\JyMorvaneTestsView";
    constexpr REGSAM wide = KEY_WOW64_64KEY;
    constexpr REGSAM narrow = KEY_WOW64_32KEY;
    registry.deleteKey(HKEY_LOCAL_MACHINE, path, wide);
    registry.deleteKey(HKEY_LOCAL_MACHINE, path, narrow);

    registry.setValue(HKEY_LOCAL_MACHINE, path, L"name", std::uint32_t{64}, wide);
    EXPECT_TRUE(registry.isExist(HKEY_LOCAL_MACHINE, path, wide));
    EXPECT_FALSE(registry.isExist(HKEY_LOCAL_MACHINE, path, narrow));
    registry.setValue(HKEY_LOCAL_MACHINE, path, L"name", std::uint32_t{32}, narrow);
    EXPECT_EQ(registry.getUInt(HKEY_LOCAL_MACHINE, path, L"name", wide), 64U);
    EXPECT_EQ(registry.getUInt(HKEY_LOCAL_MACHINE, path, L"name", narrow), 32U);
    registry.deleteValue(HKEY_LOCAL_MACHINE, path, L"name", narrow);
    EXPECT_FALSE(registry.isExist(HKEY_LOCAL_MACHINE, path, L"name", narrow));
    EXPECT_TRUE(registry.isExist(HKEY_LOCAL_MACHINE, path, L"name", wide));
    registry.deleteKey(HKEY_LOCAL_MACHINE, path, wide);
    EXPECT_FALSE(registry.isExist(HKEY_LOCAL_MACHINE, path, wide));
    EXPECT_TRUE(registry.isExist(HKEY_LOCAL_MACHINE, path, narrow));
    registry.deleteKey(HKEY_LOCAL_MACHINE, path, narrow);
    EXPECT_FALSE(registry.isExist(HKEY_LOCAL_MACHINE, path, narrow));
}

TEST_F(RegActualTest, KeysAreClosedAlsoWhenACallFails) {
    place.writeText(L"name", REG_SZ, L"too long for a number");
    const auto useEverything = [&] {
        registry.isExist(HKEY_CURRENT_USER, place.path(), 0);
        registry.isExist(HKEY_CURRENT_USER, place.path(), L"name", 0);
        registry.isExist(HKEY_CURRENT_USER, place.path(), L"other", 0);
        registry.setValue(HKEY_CURRENT_USER, place.path(), L"other", ByteString{1}, 0);
        registry.deleteValue(HKEY_CURRENT_USER, place.path(), L"other", 0);
        EXPECT_THROW(getUInt(), ApiErrorException);
        EXPECT_THROW(getBinary(), ErrorException);
        registry.deleteKey(HKEY_CURRENT_USER, place.path() + L"\\below", 0);
    };
    useEverything();
    const std::size_t before = countOpenHandles();
    useEverything();
    EXPECT_EQ(countOpenHandles(), before);
}
