#include "tools/ThumbOptions.h"

#include "tools/Failure.h"

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

std::string refusal(const std::vector<std::wstring>& arguments) {
    try {
        ThumbOptions::parse(arguments);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "accepted";
}

TEST(ThumbOptions, TakeTheFirstPictureWhenNoTimeIsGiven) {
    const ThumbOptions options = ThumbOptions::parse({L"a.flv", L"b.png"});
    EXPECT_EQ(options.file, L"a.flv");
    EXPECT_EQ(options.png, L"b.png");
    EXPECT_EQ(options.time, 0);
    EXPECT_FALSE(options.sheet);
}

TEST(ThumbOptions, TakeATimeInSeconds) {
    EXPECT_EQ(ThumbOptions::parse({L"--at", L"2.5", L"a.flv", L"b.png"}).time, 25000000);
    EXPECT_EQ(ThumbOptions::parse({L"a.flv", L"b.png", L"--at", L"0"}).time, 0);
    EXPECT_EQ(ThumbOptions::parse({L"a.flv", L"b.png", L"--at", L"1e9"}).time, 10000000000000000);
}

TEST(ThumbOptions, RefuseWhatIsNoTime) {
    for (const wchar_t* text : {L"", L"soon", L"1s", L"-1", L"nan", L"inf", L"1e10"}) {
        EXPECT_TRUE(refusal({L"a.flv", L"b.png", L"--at", text}).starts_with("not a time in seconds: "));
    }
}

TEST(ThumbOptions, TakeAGrid) {
    const ThumbOptions options = ThumbOptions::parse({L"a.flv", L"b.png", L"--sheet", L"32x1"});
    ASSERT_TRUE(options.sheet);
    EXPECT_EQ(options.sheet->columns, 32U);
    EXPECT_EQ(options.sheet->rows, 1U);
}

TEST(ThumbOptions, RefuseWhatIsNoGrid) {
    for (const wchar_t* text : {L"", L"4", L"x", L"4x", L"x3", L"0x3", L"4x0", L"33x1", L"4x3x2", L"-4x3", L"4 x3"}) {
        EXPECT_TRUE(refusal({L"a.flv", L"b.png", L"--sheet", text}).starts_with("not a grid such as 4x3"));
    }
}

TEST(ThumbOptions, RefuseWhatDoesNotFitTogether) {
    EXPECT_EQ(refusal({}), "no file");
    EXPECT_EQ(refusal({L"a.flv"}), "no PNG file to write");
    EXPECT_EQ(refusal({L"a.flv", L"b.png", L"c.png"}), "too many files");
    EXPECT_EQ(refusal({L"a.flv", L"b.png", L"--at"}), "nothing follows --at");
    EXPECT_EQ(refusal({L"a.flv", L"b.png", L"--size", L"3"}), "unknown option --size");
    EXPECT_EQ(refusal({L"a.flv", L"b.png", L"--at", L"1", L"--sheet", L"2x2"}), "--at and --sheet do not go together");
}

} // namespace
} // namespace JY::Tools
