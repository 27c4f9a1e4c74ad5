#include "tools/Sha1.h"

#include "tools/Text.h"

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

TEST(Sha1, GivesThePublishedDigests) {
    Sha1 hash;
    EXPECT_EQ(hexText(hash.digest()), "da 39 a3 ee 5e 6b 4b 0d 32 55 bf ef 95 60 18 90 af d8 07 09");
    hash.update("abc");
    EXPECT_EQ(hexText(hash.digest()), "a9 99 3e 36 47 06 81 6a ba 3e 25 71 78 50 c2 6c 9c d0 d8 9d");
}

TEST(Sha1, TakesBytesInParts) {
    Sha1 hash;
    for (const char* part : {"abcdbcdecdefdefgefghfghi", "", "ghijhijkijkljklmklmnlmnomnopnopq"}) {
        hash.update(part);
        hash.digest();
    }
    EXPECT_EQ(hexText(hash.digest()), "84 98 3e 44 1c 3b d2 6e ba ae 4a a1 f9 51 29 e5 e5 46 70 f1");
}

} // namespace
} // namespace JY::Tools
