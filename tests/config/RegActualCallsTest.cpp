// Which functions of the system the real registry calls, with what arguments and in what order.

#include "config/RegActual.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using JY::ApiErrorException;
using JY::ErrorException;
using JY::Test::ImportPatch;
using JY::Test::thrownIn;
using JY::Utl::ByteString;
using testing::ElementsAre;

/// A key that no system gives.
HKEY openedKey() {
    static int place;
    return reinterpret_cast<HKEY>(&place);
}

/// Stands in for the system's registry: notes the calls, in which numbers are hexadecimal, and gives the answers.
class SystemRegistry {
public:
    SystemRegistry() {
        calls.clear();
        failing.clear();
        valueType = REG_DWORD;
        valueSize = 0;
    }

    static inline std::vector<std::string> calls;
    static inline std::string failing; ///< the call that is refused with ERROR_ACCESS_DENIED
    static inline DWORD valueType;
    static inline DWORD valueSize;

private:
    template <class... Details>
    static LSTATUS note(const char* call, const Details&... details) {
        JY::TextBuffer text;
        text << call;
        ((text << ' ' << details), ...);
        calls.push_back(text.str());
        return failing == call ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
    }
    static JY::Hex hex(unsigned long long number) { return JY::Hex{number}; }

    static LSTATUS WINAPI openKey(HKEY root, const wchar_t* path, DWORD options, REGSAM access, HKEY* key) {
        EXPECT_EQ(root, HKEY_CURRENT_USER);
        EXPECT_EQ(options, 0U);
        return answerWithKey(note("open", path, hex(access)), key);
    }
    static LSTATUS WINAPI createKey(HKEY root, const wchar_t* path, DWORD reserved, wchar_t* keyClass, DWORD options,
                                    REGSAM access, SECURITY_ATTRIBUTES* security, HKEY* key, DWORD* disposition) {
        EXPECT_EQ(root, HKEY_CURRENT_USER);
        EXPECT_EQ(reserved, 0U);
        EXPECT_EQ(keyClass, nullptr);
        EXPECT_EQ(options, 0U);
        EXPECT_EQ(security, nullptr);
        EXPECT_EQ(disposition, nullptr);
        return answerWithKey(note("create", path, hex(access)), key);
    }
    static LSTATUS answerWithKey(LSTATUS result, HKEY* key) {
        *key = result == ERROR_SUCCESS ? openedKey() : nullptr;
        return result;
    }
    static LSTATUS WINAPI queryValue(HKEY key, const wchar_t* name, DWORD* reserved, DWORD* type, BYTE* data,
                                     DWORD* size) {
        EXPECT_EQ(key, openedKey());
        EXPECT_EQ(reserved, nullptr);
        if (size == nullptr) {
            EXPECT_EQ(type, nullptr);
            EXPECT_EQ(data, nullptr);
            return note("query", name, "without buffers");
        }
        EXPECT_NE(data, nullptr);
        const LSTATUS result = note("query", name, hex(*size));
        *type = valueType;
        *size = valueSize;
        return result;
    }
    static LSTATUS WINAPI setValue(HKEY key, const wchar_t* name, DWORD reserved, DWORD type, const BYTE*, DWORD size) {
        EXPECT_EQ(key, openedKey());
        EXPECT_EQ(reserved, 0U);
        return note("set", name, hex(type), hex(size));
    }
    static LSTATUS WINAPI deleteValue(HKEY key, const wchar_t* name) {
        EXPECT_EQ(key, openedKey());
        return note("deleteValue", name);
    }
    static LSTATUS WINAPI deleteTree(HKEY key, const wchar_t* below) {
        EXPECT_EQ(key, openedKey());
        EXPECT_EQ(below, nullptr);
        return note("deleteTree");
    }
    static LSTATUS WINAPI deleteKey(HKEY root, const wchar_t* path, REGSAM access, DWORD reserved) {
        EXPECT_EQ(root, HKEY_CURRENT_USER);
        EXPECT_EQ(reserved, 0U);
        return note("deleteKey", path, hex(access));
    }
    static LSTATUS WINAPI closeKey(HKEY key) {
        EXPECT_EQ(key, openedKey());
        return note("close");
    }

    ImportPatch<decltype(&RegOpenKeyExW)> open_{"RegOpenKeyExW", &openKey};
    ImportPatch<decltype(&RegCreateKeyExW)> create_{"RegCreateKeyExW", &createKey};
    ImportPatch<decltype(&RegQueryValueExW)> query_{"RegQueryValueExW", &queryValue};
    ImportPatch<decltype(&RegSetValueExW)> set_{"RegSetValueExW", &setValue};
    ImportPatch<decltype(&RegDeleteValueW)> deleteValue_{"RegDeleteValueW", &deleteValue};
    ImportPatch<decltype(&RegDeleteTreeW)> deleteTree_{"RegDeleteTreeW", &deleteTree};
    ImportPatch<decltype(&RegDeleteKeyExW)> deleteKey_{"RegDeleteKeyExW", &deleteKey};
    ImportPatch<decltype(&RegCloseKey)> close_{"RegCloseKey", &closeKey};
};

class RegActualCalls : public testing::Test {
protected:
    bool hasKey(REGSAM view = 0) { return registry.isExist(HKEY_CURRENT_USER, path, view); }
    bool hasValue(REGSAM view = 0) { return registry.isExist(HKEY_CURRENT_USER, path, name, view); }
    std::uint32_t getUInt(REGSAM view = 0) {
        SystemRegistry::valueType = REG_DWORD;
        return registry.getUInt(HKEY_CURRENT_USER, path, name, view);
    }
    std::uint64_t getULongLong(REGSAM view = 0) {
        SystemRegistry::valueType = REG_QWORD;
        return registry.getULongLong(HKEY_CURRENT_USER, path, name, view);
    }
    std::wstring getString(REGSAM view = 0) {
        SystemRegistry::valueType = REG_SZ;
        return registry.getString(HKEY_CURRENT_USER, path, name, view);
    }
    ByteString getBinary(REGSAM view = 0) {
        SystemRegistry::valueType = REG_BINARY;
        return registry.getBinary(HKEY_CURRENT_USER, path, name, view);
    }
    template <class Value>
    void set(const Value& value, REGSAM view = 0) {
        registry.setValue(HKEY_CURRENT_USER, path, name, value, view);
    }
    void deleteValue(REGSAM view = 0) { registry.deleteValue(HKEY_CURRENT_USER, path, name, view); }
    void deleteKey(REGSAM view = 0) { registry.deleteKey(HKEY_CURRENT_USER, path, view); }

    /// What an operation called.
    template <class Operation>
    static std::vector<std::string> callsOf(const Operation& operation) {
        SystemRegistry::calls.clear();
        operation();
        return SystemRegistry::calls;
    }

    const std::wstring path = L"key";
    const std::wstring name = L"name";
    SystemRegistry system;
    JY::Utl::RegActual registry;
};

/// Once for each view that can be asked for.
class RegActualAccess : public RegActualCalls, public testing::WithParamInterface<REGSAM> {
protected:
    REGSAM view() const { return GetParam(); }
    /// A call that names the key and an access right, to which the view is added.
    std::string withAccess(const char* call, unsigned access) const {
        JY::TextBuffer text;
        text << call << " key " << JY::Hex{access | view()};
        return text.str();
    }
    auto reads(const char* query) const {
        return ElementsAre(withAccess("open", 0x20019), std::string("query name ") + query, "close");
    }
    auto writes(const char* set) const {
        return ElementsAre(withAccess("create", 0x20006), std::string("set name ") + set, "close");
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(RegActual, RegActualAccess, testing::Values(0U, 0x100U, 0x200U));

TEST_P(RegActualAccess, KeyIsLookedForByOpeningIt) {
    EXPECT_THAT(callsOf([&] { hasKey(view()); }), ElementsAre(withAccess("open", 0x20019), "close"));
}

TEST_P(RegActualAccess, ValueIsLookedForWithoutReadingIt) {
    EXPECT_THAT(callsOf([&] { hasValue(view()); }), reads("without buffers"));
}

TEST_P(RegActualAccess, ValuesAreReadIntoTheBufferOfTheirKind) {
    EXPECT_THAT(callsOf([&] { getUInt(view()); }), reads("4"));
    EXPECT_THAT(callsOf([&] { getULongLong(view()); }), reads("8"));
    EXPECT_THAT(callsOf([&] { getString(view()); }), reads("100"));
    EXPECT_THAT(callsOf([&] { getBinary(view()); }), reads("100"));
}

TEST_P(RegActualAccess, ValuesAreWrittenIntoAKeyThatIsMadeWhenItIsAbsent) {
    EXPECT_THAT(callsOf([&] { set(std::uint32_t{1}, view()); }), writes("4 4"));
    EXPECT_THAT(callsOf([&] { set(std::uint64_t{1}, view()); }), writes("b 8"));
    EXPECT_THAT(callsOf([&] { set(std::wstring(L"abc"), view()); }), writes("1 8"));
    EXPECT_THAT(callsOf([&] { set(ByteString(17), view()); }), writes("3 11"));
}

TEST_P(RegActualAccess, ValueIsDeletedWithTheRightToSetValuesOnly) {
    EXPECT_THAT(callsOf([&] { deleteValue(view()); }),
                ElementsAre(withAccess("open", 0x2), "deleteValue name", "close"));
}

TEST_P(RegActualAccess, KeyIsEmptiedAndClosedBeforeItIsDeleted) {
    EXPECT_THAT(callsOf([&] { deleteKey(view()); }),
                ElementsAre(withAccess("open", 0x1000b), "deleteTree", "close", withAccess("deleteKey", 0x10000)));
}

TEST_F(RegActualCalls, KeyIsClosedWhenTheCallOnItFails) {
    const std::vector<std::function<void()>> reading{[&] { getUInt(); }, [&] { getULongLong(); }, [&] { getString(); },
                                                     [&] { getBinary(); }};
    SystemRegistry::failing = "query";
    for (const auto& read : reading) {
        EXPECT_EQ(thrownIn<ApiErrorException>(read), "RegQueryValueEx(HKCU/key, name): (0x5) @SimpleRegKey");
        EXPECT_EQ(SystemRegistry::calls.back(), "close");
    }
    EXPECT_FALSE(hasValue());
    EXPECT_EQ(SystemRegistry::calls.back(), "close");

    const std::vector<std::function<void()>> writing{[&] { set(std::uint32_t{1}); }, [&] { set(std::uint64_t{1}); },
                                                     [&] { set(std::wstring()); }, [&] { set(ByteString()); }};
    SystemRegistry::failing = "set";
    for (const auto& write : writing) {
        EXPECT_TRUE(thrownIn<ApiErrorException>(write).starts_with("RegSetValueEx(HKCU/key, name, "));
        EXPECT_EQ(SystemRegistry::calls.back(), "close");
    }
    SystemRegistry::failing = "deleteValue";
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { deleteValue(); }),
              "RegDeleteValue(HKCU/key, name): (0x5) @SimpleRegKey");
    EXPECT_EQ(SystemRegistry::calls.back(), "close");
}

TEST_F(RegActualCalls, KeyThatCannotBeEmptiedIsClosedAndStays) {
    SystemRegistry::failing = "deleteTree";
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { deleteKey(); }),
              "RegDeleteTree(HKCU/key,nullptr): (0x5) @SimpleRegKey");
    EXPECT_THAT(SystemRegistry::calls, ElementsAre("open key 1000b", "deleteTree", "close"));
}

TEST_F(RegActualCalls, FailureToDeleteTheEmptiedKeyIsTold) {
    SystemRegistry::failing = "deleteKey";
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { deleteKey(); }), "RegDeleteKeyEx: (0x5) @SimpleRegKey");
    EXPECT_THAT(SystemRegistry::calls, ElementsAre("open key 1000b", "deleteTree", "close", "deleteKey key 10000"));
}

TEST_F(RegActualCalls, NothingIsClosedThatCouldNotBeOpened) {
    SystemRegistry::failing = "open";
    EXPECT_FALSE(hasKey());
    EXPECT_FALSE(hasValue());
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { deleteKey(); }), "RegOpenKeyEx(HKCU/key): (0x5) @SimpleRegKey");
    EXPECT_THAT(SystemRegistry::calls, ElementsAre("open key 20019", "open key 20019", "open key 1000b"));
}

TEST_F(RegActualCalls, SizeThatTheSystemTellsBeyondTheBufferIsRefused) {
    SystemRegistry::valueSize = 257;
    EXPECT_EQ(thrownIn<ErrorException>([&] { getString(); }), "Over size. size=257 @RegActual");
    EXPECT_EQ(thrownIn<ErrorException>([&] { getBinary(); }), "Over size. size=257 @RegActual");
    EXPECT_EQ(SystemRegistry::calls.back(), "close");
    SystemRegistry::valueSize = 256;
    EXPECT_EQ(getString().size(), 127U);
    EXPECT_EQ(getBinary().size(), 256U);
}
