#include "tests/support/ImportPatch.h"
#include "util/ApiErrorException.h"
#include "util/String.h"

#include <windows.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using JY::describeSystemError;
using JY::toNarrow;
using JY::Test::ImportPatch;

struct Request {
    DWORD flags = 0;
    DWORD code = 0;
    DWORD language = 0;
    bool hasSource = false;
    bool hasArguments = false;
};

/// Stands in for the system's texts.
class SystemTexts {
public:
    explicit SystemTexts(std::wstring text) {
        text_ = std::move(text);
        asked = {};
        given = nullptr;
        timesFreed = 0;
    }
    ~SystemTexts() { HeapFree(GetProcessHeap(), 0, given); }
    SystemTexts(const SystemTexts&) = delete;
    SystemTexts& operator=(const SystemTexts&) = delete;

    static inline Request asked;
    static inline wchar_t* given;
    static inline unsigned timesFreed;

private:
    static DWORD WINAPI format(DWORD flags, const void* source, DWORD code, DWORD language, wchar_t* buffer, DWORD,
                               void* arguments) {
        asked = {flags, code, language, source != nullptr, arguments != nullptr};
        const std::size_t size = (text_.size() + 1) * sizeof(wchar_t);
        given = static_cast<wchar_t*>(HeapAlloc(GetProcessHeap(), 0, size));
        std::copy_n(text_.c_str(), text_.size() + 1, given);
        *reinterpret_cast<wchar_t**>(buffer) = given; // what the first flag asks for
        return static_cast<DWORD>(text_.size());
    }
    static HLOCAL WINAPI free(HLOCAL memory) {
        timesFreed += memory == given ? 1 : 0;
        return nullptr;
    }

    static inline std::wstring text_;
    // Its last argument is a list whose type bears attributes that a template argument cannot.
    ImportPatch<decltype(&format)> format_{"FormatMessageW", &format};
    ImportPatch<decltype(&LocalFree)> free_{"LocalFree", &free};
};

std::string described(const std::wstring& systemText) {
    const SystemTexts texts(systemText);
    return describeSystemError(5);
}

} // namespace

TEST(SystemErrorText, IsAskedForWithoutInsertsInTheUsersLanguage) {
    const SystemTexts texts(L"text");
    describeSystemError(0x80070057);
    EXPECT_EQ(SystemTexts::asked.flags, 0x100U | 0x200U | 0x1000U); // allocated, no inserts, the system's
    EXPECT_EQ(SystemTexts::asked.code, 0x80070057U);
    EXPECT_EQ(SystemTexts::asked.language, 0x400U);
    EXPECT_FALSE(SystemTexts::asked.hasSource);
    EXPECT_FALSE(SystemTexts::asked.hasArguments);
}

TEST(SystemErrorText, EndsBeforeWhicheverLineBreakComesFirst) {
    EXPECT_EQ(described(L"One line."), "One line.");
    EXPECT_EQ(described(L"First.\r\n"), "First.");
    EXPECT_EQ(described(L"First.\rSecond.\nThird."), "First.");
    EXPECT_EQ(described(L"First.\nSecond.\rThird."), "First.");
    EXPECT_EQ(described(L"\r\nSecond."), "");
}

TEST(SystemErrorText, IsConvertedToTheAnsiCodePage) {
    EXPECT_EQ(described(L"caf\u00E9 \u3042\r\n"), toNarrow(L"caf\u00E9 \u3042"));
}

TEST(SystemErrorText, IsFreedOnce) {
    const SystemTexts texts(L"text");
    describeSystemError(5);
    EXPECT_EQ(SystemTexts::timesFreed, 1U);
}
