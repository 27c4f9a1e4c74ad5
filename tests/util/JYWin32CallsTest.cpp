// What is asked of the system about the process and its modules, and what each refusal does.

#include "tests/support/ImportPatch.h"
#include "tests/support/OpenHandles.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/JYWin32.h"

#include <windows.h>

#include <gtest/gtest.h>
#include <vector>

namespace {

using JY::getIntegrityLevel;
using JY::Test::countOpenHandles;
using JY::Test::ImportPatch;
using JY::Test::thrownIn;

struct TokenQuery {
    TOKEN_INFORMATION_CLASS kind;
    bool hasBuffer;
    DWORD size;
};

/// Notes how the process's token is opened and read, and lets the system answer; the query with the number `failing`
/// is refused.
class TokenNotes {
public:
    explicit TokenNotes(std::size_t failing = 0) {
        failing_ = failing;
        queries.clear();
        current_ = this;
    }

    static inline HANDLE process;
    static inline DWORD access;
    static inline std::vector<TokenQuery> queries;

private:
    static BOOL WINAPI noteOpening(HANDLE askedProcess, DWORD askedAccess, HANDLE* token) {
        process = askedProcess;
        access = askedAccess;
        return current_->opening_.callOriginal(askedProcess, askedAccess, token);
    }
    static BOOL WINAPI noteQuery(HANDLE token, TOKEN_INFORMATION_CLASS kind, void* buffer, DWORD size, DWORD* needed) {
        queries.push_back({kind, buffer != nullptr, size});
        if (queries.size() == failing_) {
            SetLastError(ERROR_GEN_FAILURE);
            return FALSE;
        }
        return current_->querying_.callOriginal(token, kind, buffer, size, needed);
    }

    static inline std::size_t failing_;
    static inline const TokenNotes* current_;
    ImportPatch<decltype(&OpenProcessToken)> opening_{"OpenProcessToken", &noteOpening};
    ImportPatch<decltype(&GetTokenInformation)> querying_{"GetTokenInformation", &noteQuery};
};

BOOL WINAPI knowNoSid(PSID, WELL_KNOWN_SID_TYPE) {
    return FALSE;
}

DWORD askedFlags;

BOOL WINAPI noteFlags(DWORD flags, const wchar_t*, HMODULE* module) {
    askedFlags = flags;
    *module = nullptr;
    return TRUE;
}

} // namespace

TEST(JYWin32Calls, TokenIsOpenedForQueriesOnly) {
    const TokenNotes notes;
    getIntegrityLevel();
    EXPECT_EQ(TokenNotes::process, GetCurrentProcess());
    EXPECT_EQ(TokenNotes::access, static_cast<DWORD>(TOKEN_QUERY));
}

TEST(JYWin32Calls, LabelIsReadIntoABufferOfTheSizeThatTheSystemNames) {
    const TokenNotes notes;
    getIntegrityLevel();
    ASSERT_EQ(TokenNotes::queries.size(), 2U);
    EXPECT_EQ(TokenNotes::queries[0].kind, TokenIntegrityLevel);
    EXPECT_FALSE(TokenNotes::queries[0].hasBuffer);
    EXPECT_EQ(TokenNotes::queries[0].size, 0U);
    EXPECT_EQ(TokenNotes::queries[1].kind, TokenIntegrityLevel);
    EXPECT_TRUE(TokenNotes::queries[1].hasBuffer);
    EXPECT_GE(TokenNotes::queries[1].size, sizeof(TOKEN_MANDATORY_LABEL));
}

TEST(JYWin32Calls, EitherQueryThatFailsThrowsAndTheTokenIsClosed) {
    getIntegrityLevel();
    const std::size_t before = countOpenHandles();
    for (const std::size_t failing : {1U, 2U}) {
        const TokenNotes notes(failing);
        EXPECT_EQ(thrownIn<JY::ApiErrorException>([] { getIntegrityLevel(); }), "GetTokenInformation: (0x1f) @JYWin32");
        EXPECT_EQ(TokenNotes::queries.size(), failing);
    }
    EXPECT_EQ(countOpenHandles(), before);
}

TEST(JYWin32Calls, LabelThatTheSystemDoesNotKnowThrowsAndTheTokenIsClosed) {
    getIntegrityLevel();
    const std::size_t before = countOpenHandles();
    const ImportPatch<decltype(&IsWellKnownSid)> patch("IsWellKnownSid", &knowNoSid);
    EXPECT_EQ(thrownIn<JY::ErrorException>([] { getIntegrityLevel(); }), "Unknown SID type. @JYWin32");
    EXPECT_EQ(countOpenHandles(), before);
}

TEST(JYWin32Calls, ModuleOfAnAddressIsFoundWithoutKeepingItLoaded) {
    const ImportPatch<decltype(&GetModuleHandleExW)> patch("GetModuleHandleExW", &noteFlags);
    JY::getModuleHandle(static_cast<const void*>(&askedFlags));
    EXPECT_EQ(askedFlags, 0x6U); // by address, reference count unchanged
}
