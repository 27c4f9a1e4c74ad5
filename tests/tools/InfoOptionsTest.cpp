#include "tools/InfoOptions.h"

#include "tools/Failure.h"

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

std::string refusal(const std::vector<std::wstring>& arguments) {
    try {
        InfoOptions::parse(arguments);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "accepted";
}

TEST(InfoOptions, TakeAFileAlone) {
    const InfoOptions options = InfoOptions::parse({L"a.flv"});
    EXPECT_EQ(options.file, L"a.flv");
    EXPECT_FALSE(options.samples);
    EXPECT_FALSE(options.json);
}

TEST(InfoOptions, TakeOptionsBeforeAndAfterTheFile) {
    const InfoOptions options = InfoOptions::parse({L"--json", L"a.flv", L"--samples"});
    EXPECT_EQ(options.file, L"a.flv");
    EXPECT_TRUE(options.samples);
    EXPECT_TRUE(options.json);
}

TEST(InfoOptions, RefuseWhatTheyDoNotKnow) {
    EXPECT_EQ(refusal({}), "no file");
    EXPECT_EQ(refusal({L"--json"}), "no file");
    EXPECT_EQ(refusal({L"a.flv", L"b.flv"}), "more than one file");
    EXPECT_EQ(refusal({L"a.flv", L"--xml"}), "unknown option --xml");
}

} // namespace
} // namespace JY::Tools
