#include "tools/LogOptions.h"

#include "tools/Failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const LogTime now = *readLogTime("2026/11/21 09:08:07.006");

LogOptions parse(const std::vector<std::wstring>& arguments) {
    return LogOptions::parse(arguments, now);
}

std::string refusal(const std::vector<std::wstring>& arguments) {
    try {
        parse(arguments);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "accepted";
}

TEST(LogOptions, ShowEverythingUnasked) {
    const LogOptions options = parse({});
    EXPECT_FALSE(options.help || options.verify || options.follow || options.followFor);
    EXPECT_THAT(options.selection.paths, IsEmpty());
    EXPECT_EQ(options.selection.kinds, LogKinds::texts);
    EXPECT_THAT(options.selection.processes, IsEmpty());
    EXPECT_EQ(options.selection.filter.severity, LogSeverity::trace);
    EXPECT_FALSE(options.selection.filter.since || options.selection.filter.until);
}

TEST(LogOptions, TakePathsAmongOptions) {
    const LogOptions options = parse({L"a", L"--snapshots", L"b.log", L"-f"});
    EXPECT_THAT(options.selection.paths, ElementsAre(L"a", L"b.log"));
    EXPECT_EQ(options.selection.kinds, LogKinds::both);
    EXPECT_TRUE(options.follow);
}

TEST(LogOptions, TakeConditions) {
    const LogFilter filter =
        parse({L"--severity", L"notice", L"--thread", L"1a4", L"--thread", L"0xFFFFFFFF", L"--source", L"FlvTag",
               L"--source", L"Core", L"--since", L"10:00:00", L"--until", L"2026-11-22T00:00:00", L"--text", L"wort"})
            .selection.filter;
    EXPECT_EQ(filter.severity, LogSeverity::notice);
    EXPECT_THAT(filter.threads, ElementsAre(0x1a4U, 0xFFFFFFFFU));
    EXPECT_THAT(filter.sources, ElementsAre("FlvTag", "Core"));
    EXPECT_EQ(filter.since, readLogTime("2026/11/21 10:00:00.000"));
    EXPECT_EQ(filter.until, readLogTime("2026/11/22 00:00:00.000"));
    EXPECT_EQ(filter.text, "wort");
}

TEST(LogOptions, TakeProcesses) {
    EXPECT_THAT(parse({L"--process", L"4711", L"--process", L"8"}).selection.processes, ElementsAre(4711U, 8U));
}

TEST(LogOptions, TakeATimeToFollow) {
    const LogOptions options = parse({L"--follow", L"--for", L"2.5"});
    EXPECT_TRUE(options.follow);
    EXPECT_EQ(options.followFor, std::chrono::milliseconds(2500));
    EXPECT_EQ(refusal({L"--for", L"2"}), "--for goes with --follow only");
}

TEST(LogOptions, TakeVerifyInFrontOnly) {
    const LogOptions options = parse({L"verify", L"a.log"});
    EXPECT_TRUE(options.verify);
    EXPECT_THAT(options.selection.paths, ElementsAre(L"a.log"));
    EXPECT_FALSE(parse({L"a.log", L"verify"}).verify);
    EXPECT_EQ(refusal({L"verify", L"--follow"}), "verify takes no --follow");
}

TEST(LogOptions, TakeACallForHelp) {
    EXPECT_TRUE(parse({L"--help"}).help);
    EXPECT_TRUE(parse({L"verify", L"-h"}).help);
}

TEST(LogOptions, RefuseWhatTheyDoNotKnow) {
    EXPECT_EQ(refusal({L"--json"}), "unknown option --json");
    EXPECT_EQ(refusal({L"-x"}), "unknown option -x");
    EXPECT_EQ(refusal({L"--severity", L"loud"}), "not a severity: loud");
    EXPECT_EQ(refusal({L"--since", L"noon"}), "not a time such as 2026/11/21 10:00:00: noon");
    for (const wchar_t* option :
         {L"--severity", L"--thread", L"--source", L"--since", L"--until", L"--text", L"--process", L"--for"}) {
        EXPECT_THAT(refusal({option}), testing::StartsWith("nothing follows --"));
    }
}

TEST(LogOptions, RefuseWhatIsNoNumber) {
    for (const wchar_t* text : {L"", L"0x", L"g", L"-1", L"100000000", L" 1", L"00000000001"}) {
        EXPECT_THAT(refusal({L"--thread", text}), testing::StartsWith("not a thread in hexadecimal digits: "));
    }
    for (const wchar_t* text : {L"", L"a", L"-1", L"4294967296", L"0x10"}) {
        EXPECT_THAT(refusal({L"--process", text}), testing::StartsWith("not a process's number: "));
    }
    for (const wchar_t* text : {L"", L"soon", L"-1", L"nan", L"inf", L"86401", L"1s"}) {
        EXPECT_THAT(refusal({L"-f", L"--for", text}), testing::StartsWith("not a time in seconds, up to a day: "));
    }
}

} // namespace
} // namespace JY::Tools
