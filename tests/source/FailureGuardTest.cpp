#include "source/FailureGuard.h"

#include "tests/source/Settings.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using namespace JY;
using namespace JY::Pictaro::Fs;
using namespace JY::Test;

class FailureGuardTest : public testing::Test {
protected:
    static constexpr SourcePosition position{"Here", 12};
    const std::wstring path = L"C:\\a.flv";
    Settings settings;
    LogCapture log;
};

TEST_F(FailureGuardTest, RecordsTheFileOfAFailure) {
    {
        const FailureGuard guard(position, path);
        EXPECT_TRUE(log.messages().empty());
    }
    ASSERT_EQ(log.records().size(), 1U);
    const CapturedRecord record = log.records()[0];
    EXPECT_EQ(record.severity, Log2::Severity::notice);
    EXPECT_EQ(record.message, "File=C:\\a.flv");
    EXPECT_EQ(record.file, "Here");
    EXPECT_EQ(record.line, 12);
}

TEST_F(FailureGuardTest, RecordsNothingAfterSuccess) {
    {
        FailureGuard guard(position, path);
        guard.clear();
    }
    EXPECT_TRUE(log.records().empty());
}

TEST_F(FailureGuardTest, RecordsNothingBeforeAFileIsKnown) {
    const std::wstring none;
    {
        const FailureGuard withoutFile(position);
        const FailureGuard withoutName(position, none);
    }
    EXPECT_TRUE(log.records().empty());
}

TEST_F(FailureGuardTest, RecordsTheFileThatBecameKnownLater) {
    {
        FailureGuard guard(position);
        guard.watch(path);
    }
    EXPECT_EQ(log.count("File=C:\\a.flv"), 1U);
}

TEST_F(FailureGuardTest, HidesTheFileLikeEveryRecord) {
    settings.setHideFileName(1);
    const std::wstring missing = L"A";
    { const FailureGuard guard(position, missing); }
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"ResolveFile failed. ", "File=ffbe"}));
}

} // namespace
