#include "source/FailureGuard.h"

#include "tests/source/Settings.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RecordingRegistry.h"
#include "tests/support/RegistryScope.h"
#include "util/FatalException.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>

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
    FailureGuard guard(position, path);
    EXPECT_TRUE(log.messages().empty());
    guard.callEnded(Log2::untraced());
    ASSERT_EQ(log.records().size(), 1U);
    const CapturedRecord record = log.records()[0];
    EXPECT_EQ(record.severity, Log2::Severity::notice);
    EXPECT_EQ(record.message, "File=C:\\a.flv");
    EXPECT_EQ(record.file, "Here");
    EXPECT_EQ(record.line, 12);
}

TEST_F(FailureGuardTest, RecordsNothingAfterSuccess) {
    FailureGuard guard(position, path);
    guard.clear();
    guard.callEnded(Log2::untraced());
    EXPECT_TRUE(log.records().empty());
}

TEST_F(FailureGuardTest, RecordsNothingBeforeAFileIsKnown) {
    const std::wstring none;
    FailureGuard(position).callEnded(Log2::untraced());
    FailureGuard(position, none).callEnded(Log2::untraced());
    EXPECT_TRUE(log.records().empty());
}

TEST_F(FailureGuardTest, RecordsTheFileThatBecameKnownLater) {
    FailureGuard guard(position);
    guard.watch(path);
    guard.callEnded(Log2::untraced());
    EXPECT_EQ(log.count("File=C:\\a.flv"), 1U);
}

TEST_F(FailureGuardTest, HidesTheFileLikeEveryRecord) {
    settings.setHideFileName(1);
    const std::wstring missing = L"A";
    FailureGuard(position, missing).callEnded(Log2::untraced());
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"ResolveFile failed. ", "File=ffbe"}));
}

TEST_F(FailureGuardTest, LeavesTheResultAloneWhenTheFilesNameCannotBeTold) {
    RecordingRegistry registry;
    registry.onCall = [] { throw FatalException(position, "The registry fails."); };
    const RegistryScope scope(registry);
    FailureGuard guard(position, path);
    const auto refuse = [](const Pictaro::ComCall&) { return E_ACCESSDENIED; };
    EXPECT_EQ(Pictaro::comCall({position, nullptr, "Method"}, {}, refuse, &guard), E_ACCESSDENIED);
    EXPECT_EQ(log.messages(true), (std::vector<std::string>{"ENTER: Method", "File=", "EXIT: Method"}));
}

TEST_F(FailureGuardTest, SpeaksAfterTheFailureAndBeforeTheEndOfTheCall) {
    FailureGuard guard(position, path);
    const auto fail = [](const Pictaro::ComCall&) -> HRESULT { throw std::runtime_error("failure"); };
    EXPECT_EQ(Pictaro::comCall({position, nullptr, "Method"}, {}, fail, &guard), E_FAIL);
    EXPECT_EQ(log.messages(true),
              (std::vector<std::string>{"ENTER: Method", "failure", "File=C:\\a.flv", "EXIT: Method"}));
}

} // namespace
