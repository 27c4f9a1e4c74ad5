#include "util/Sha1Calculator.h"

#include "tests/support/ImportPatch.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <string>

namespace {

using JY::ApiErrorException;
using JY::Sha1Calculator;
using JY::Test::ImportPatch;
using JY::Test::thrownIn;

void update(Sha1Calculator& calculator, const std::string& data) {
    calculator.update(data.data(), static_cast<std::uint32_t>(data.size()));
}

std::string digestOf(Sha1Calculator& calculator) {
    std::string text;
    for (const std::uint8_t byte : calculator.digest()) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(byte));
        text += digits;
    }
    return text;
}

unsigned hashedPieces;
unsigned releasedContexts;
unsigned destroyedHashes;

BOOL WINAPI countHashing(HCRYPTHASH, const BYTE*, DWORD, DWORD) {
    ++hashedPieces;
    return TRUE;
}
BOOL WINAPI failHashing(HCRYPTHASH, const BYTE*, DWORD, DWORD) {
    SetLastError(11);
    return FALSE;
}
BOOL WINAPI failAcquiring(HCRYPTPROV*, const wchar_t*, const wchar_t*, DWORD, DWORD) {
    SetLastError(12);
    return FALSE;
}
BOOL WINAPI failCreating(HCRYPTPROV, ALG_ID, HCRYPTKEY, DWORD, HCRYPTHASH*) {
    SetLastError(13);
    return FALSE;
}
BOOL WINAPI failReading(HCRYPTHASH, DWORD, BYTE*, DWORD*, DWORD) {
    SetLastError(14);
    return FALSE;
}
BOOL WINAPI countReleasing(HCRYPTPROV, DWORD) {
    ++releasedContexts;
    return TRUE;
}
BOOL WINAPI countDestroying(HCRYPTHASH) {
    ++destroyedHashes;
    return TRUE;
}

/// Counts what is released instead of releasing it.
class ReleaseCount {
public:
    ReleaseCount() { releasedContexts = destroyedHashes = 0; }

private:
    ImportPatch<decltype(&CryptReleaseContext)> contexts_{"CryptReleaseContext", &countReleasing};
    ImportPatch<decltype(&CryptDestroyHash)> hashes_{"CryptDestroyHash", &countDestroying};
};

struct AcquiredContext {
    DWORD type = 0;
    DWORD flags = 0;
    bool named = false;
} acquired;

BOOL WINAPI noteAcquiring(HCRYPTPROV*, const wchar_t* container, const wchar_t* provider, DWORD type, DWORD flags) {
    acquired = {type, flags, container != nullptr || provider != nullptr};
    return FALSE;
}

} // namespace

TEST(Sha1Calculator, GivesTheDigestOfNoData) {
    Sha1Calculator calculator;
    EXPECT_EQ(digestOf(calculator), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
}

TEST(Sha1Calculator, GivesTheDigestOfAShortText) {
    Sha1Calculator calculator;
    update(calculator, "abc");
    EXPECT_EQ(digestOf(calculator), "a9993e364706816aba3e25717850c26c9cd0d89d");
}

TEST(Sha1Calculator, TakesItsDataInPieces) {
    Sha1Calculator calculator;
    for (int count = 0; count < 1000; ++count) {
        update(calculator, std::string(999, 'a'));
        update(calculator, "");
        update(calculator, "a");
    }
    EXPECT_EQ(digestOf(calculator), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
}

TEST(Sha1Calculator, GivesItsDigestAgain) {
    Sha1Calculator calculator;
    update(calculator, "abc");
    const std::string first = digestOf(calculator);
    EXPECT_EQ(digestOf(calculator), first);
}

TEST(Sha1Calculator, RefusesDataBehindTheDigest) {
    Sha1Calculator calculator;
    digestOf(calculator);
    EXPECT_THROW(update(calculator, "abc"), ApiErrorException);
}

TEST(Sha1Calculator, PassesNoEmptyDataOn) {
    hashedPieces = 0;
    Sha1Calculator calculator;
    const ImportPatch<decltype(&CryptHashData)> patch("CryptHashData", &countHashing);
    calculator.update("abc", 0);
    calculator.update(nullptr, 0);
    EXPECT_EQ(hashedPieces, 0U);
    calculator.update("abc", 1);
    EXPECT_EQ(hashedPieces, 1U);
}

TEST(Sha1Calculator, AsksForATemporaryContextOfTheDefaultProvider) {
    const ImportPatch<decltype(&CryptAcquireContextW)> patch("CryptAcquireContextW", &noteAcquiring);
    EXPECT_THROW(Sha1Calculator(), ApiErrorException);
    EXPECT_EQ(acquired.type, static_cast<DWORD>(PROV_RSA_FULL));
    EXPECT_EQ(acquired.flags, static_cast<DWORD>(CRYPT_VERIFYCONTEXT));
    EXPECT_FALSE(acquired.named);
}

TEST(Sha1Calculator, ThrowsWhenThereIsNoContext) {
    const ReleaseCount released;
    const ImportPatch<decltype(&CryptAcquireContextW)> patch("CryptAcquireContextW", &failAcquiring);
    EXPECT_EQ(thrownIn<ApiErrorException>([] { Sha1Calculator(); }), "CryptAcquireContext: (0xc) @Sha1Calculator");
    EXPECT_EQ(releasedContexts, 0U);
    EXPECT_EQ(destroyedHashes, 0U);
}

TEST(Sha1Calculator, ThrowsWhenNoHashCanBeMadeAndReleasesTheContext) {
    const ReleaseCount released;
    const ImportPatch<decltype(&CryptCreateHash)> patch("CryptCreateHash", &failCreating);
    EXPECT_EQ(thrownIn<ApiErrorException>([] { Sha1Calculator(); }), "CryptCreateHash: (0xd) @Sha1Calculator");
    EXPECT_EQ(releasedContexts, 1U);
    EXPECT_EQ(destroyedHashes, 0U);
}

TEST(Sha1Calculator, ThrowsWhenDataCannotBeHashed) {
    Sha1Calculator calculator;
    const ImportPatch<decltype(&CryptHashData)> patch("CryptHashData", &failHashing);
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { calculator.update("abc", 3); }),
              "CryptHashData: (0xb) @Sha1Calculator");
}

TEST(Sha1Calculator, ThrowsWhenTheDigestCannotBeRead) {
    Sha1Calculator calculator;
    const ImportPatch<decltype(&CryptGetHashParam)> patch("CryptGetHashParam", &failReading);
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { calculator.digest(); }), "CryptGetHashParam: (0xe) @Sha1Calculator");
}

TEST(Sha1Calculator, ReleasesHashAndContext) {
    const ReleaseCount released;
    { const Sha1Calculator calculator; }
    EXPECT_EQ(destroyedHashes, 1U);
    EXPECT_EQ(releasedContexts, 1U);
}
