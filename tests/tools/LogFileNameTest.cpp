#include "tools/LogFileName.h"

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

TEST(LogFileName, TellsProcessAndIndex) {
    const auto name = LogFileName::parse(L"JyFlvSource-4711-7.log");
    ASSERT_TRUE(name);
    EXPECT_EQ(name->process, 4711U);
    EXPECT_FALSE(name->snapshot);
    EXPECT_EQ(name->index, 7U);
}

TEST(LogFileName, TellsSnapshots) {
    const auto name = LogFileName::parse(L"jyflvsource-4294967295-S-0.LOG");
    ASSERT_TRUE(name);
    EXPECT_EQ(name->process, 4294967295U);
    EXPECT_TRUE(name->snapshot);
    EXPECT_EQ(name->index, 0U);
}

TEST(LogFileName, IsNoOtherName) {
    for (const wchar_t* name :
         {L"", L"JyFlvSource-", L"JyFlvSource-1.log", L"JyFlvSource-1-.log", L"JyFlvSource--0.log",
          L"JyFlvSource-1-0.txt", L"JyFlvSource-1-0.log.bak", L"JyFlvSource-1-x-0.log", L"JyFlvSource-1-s0.log",
          L"JyFlvSource-4294967296-0.log", L"JyFlvSource-01-0.log", L"JyFlvSource-1-00.log", L"MyFlvSource-1-0.log",
          L"JyFlvSource-1-0"}) {
        EXPECT_FALSE(LogFileName::parse(name));
    }
}

} // namespace
} // namespace JY::Tools
