// flvlog as its users run it.

#include "tests/support/ProgramRun.h"
#include "tests/tools/LogRingWriter.h"
#include "tests/tools/LogTesting.h"
#include "tests/tools/LogText.h"
#include "tools/Text.h"

#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

namespace JY::Tools {
namespace {

using Test::ProgramRun;
using Test::runProgramBeside;
using testing::HasSubstr;
using testing::StartsWith;

ProgramRun flvlog(const std::vector<std::wstring>& arguments) {
    return runProgramBeside(L"flvlog.exe", arguments);
}

struct FlvLog : testing::Test {
    FlvLog() {
        TestHead error = headAt(3);
        error.severity = "error";
        failed = recordText("failed\r\nbecause", error);
        logs.write(L"JyFlvSource-1-0.log", early + failed);
        logs.write(L"JyFlvSource-2-0.log", middle);
        logs.write(L"JyFlvSource-2-s-0.log", snapshot);
    }

    TestLogs logs;
    std::string early = recordText("early caf\xE9", headAt(1));
    std::string middle = recordText("middle", headAt(2));
    std::string failed;
    std::string snapshot = snapshotText(middle, headAt(5));
};

TEST_F(FlvLog, ShowsAFoldersRecordsAsTheyStandInItsFiles) {
    const ProgramRun run = flvlog({logs.path()});
    EXPECT_EQ(run.status, 0U);
    EXPECT_EQ(run.output, early + middle + failed);
    EXPECT_EQ(run.errors, "");
}

TEST_F(FlvLog, ShowsWhatIsAskedFor) {
    EXPECT_EQ(flvlog({logs.path(), L"--severity", L"warn"}).output, failed);
    EXPECT_EQ(flvlog({logs.path(), L"--process", L"2", L"--snapshots"}).output, middle + snapshot);
    EXPECT_EQ(flvlog({logs.path(L"JyFlvSource-1-0.log"), L"--until", L"2026/11/21 10:00:00.002"}).output, early);
    EXPECT_EQ(flvlog({logs.path(), L"--text", L"BECAUSE"}).output, failed);
    const ProgramRun nothing = flvlog({logs.path(), L"--thread", L"7"});
    EXPECT_EQ(nothing.output + nothing.errors, "");
    EXPECT_EQ(nothing.status, 0U);
}

TEST_F(FlvLog, ReadsTheModulesOwnFolderUnasked) {
    wchar_t before[MAX_PATH + 1];
    ASSERT_NE(GetEnvironmentVariableW(L"TEMP", before, MAX_PATH + 1), 0U);
    std::filesystem::create_directories(logs.path(L"JyMorvane\\Pictaro"));
    logs.write(L"JyMorvane\\Pictaro\\JyFlvSource-4294967290-0.log", middle);
    SetEnvironmentVariableW(L"TEMP", logs.path().c_str());
    const ProgramRun run = flvlog({L"--process", L"4294967290"});
    SetEnvironmentVariableW(L"TEMP", before);
    EXPECT_EQ(run.output, middle);
    EXPECT_EQ(run.status, 0U);
}

TEST_F(FlvLog, SaysWhatItCannotShow) {
    const ProgramRun missing = flvlog({logs.path(L"none")});
    EXPECT_EQ(missing.status, 1U);
    EXPECT_EQ(missing.errors,
              "flvlog: " + toUtf8(logs.path(L"none")) + ": ERROR_FILE_NOT_FOUND (0x80070002): there is no such file\n");
    const ProgramRun empty = flvlog({logs.path(), L"--process", L"3"});
    EXPECT_EQ(empty.status, 1U);
    EXPECT_EQ(empty.errors, "flvlog: no such log files in " + toUtf8(logs.path()) + "\n");
    logs.write(L"JyFlvSource-3-0.log", "rubbish");
    const ProgramRun rubbish = flvlog({logs.path()});
    EXPECT_EQ(rubbish.output, early + middle + failed);
    EXPECT_THAT(rubbish.errors, HasSubstr("the last 7 bytes belong to no record\n"));
}

TEST_F(FlvLog, ChecksSnapshots) {
    const ProgramRun intact = flvlog({L"verify", logs.path()});
    EXPECT_EQ(intact.status, 0U);
    EXPECT_EQ(intact.output, toUtf8(logs.path(L"JyFlvSource-2-s-0.log")) +
                                 ": block 1 at byte 0, begun 2026/11/21 10:00:00.005, 1 record: intact\n");
    snapshot[beginText().size() + 5] ^= 1;
    logs.write(L"JyFlvSource-2-s-0.log", snapshot);
    const ProgramRun damaged = flvlog({L"verify", logs.path(L"JyFlvSource-2-s-0.log")});
    EXPECT_EQ(damaged.status, 1U);
    EXPECT_THAT(damaged.output, HasSubstr("1 record: damaged: digest differs\n"));
    const ProgramRun missing = flvlog({L"verify", logs.path(L"none.log")});
    EXPECT_EQ(missing.status, 3U);
    EXPECT_THAT(missing.errors, HasSubstr("ERROR_FILE_NOT_FOUND"));
}

TEST_F(FlvLog, FollowsForATime) {
    const ULONGLONG begin = GetTickCount64();
    const ProgramRun run = flvlog({logs.path(), L"--follow", L"--for", L"0.5"});
    EXPECT_GE(GetTickCount64() - begin, 450U);
    EXPECT_EQ(run.status, 0U);
    EXPECT_EQ(run.output, early + middle + failed);
}

/// While the program runs, a process's log goes round its ring and another process begins.
TEST_F(FlvLog, FollowsALogAsItGrows) {
    std::string wanted = early + middle + failed;
    std::atomic<unsigned> failures = 0;
    std::thread writing([&] {
        Sleep(700);
        LogRingWriter first(logs.path(L"JyFlvSource-7-"), 4, 1000);
        LogRingWriter second(logs.path(L"JyFlvSource-8-"), 4, 1000);
        for (unsigned number = 0; number < 40; ++number) {
            for (auto& [writer, name] : {std::pair<LogRingWriter&, const char*>{first, "first"}, {second, "second"}}) {
                writer.write(name, headAt(1000 + number));
                wanted += recordText(name, headAt(1000 + number));
            }
            Sleep(50);
        }
        failures = first.failures() + second.failures();
    });
    const ProgramRun run = flvlog({logs.path(), L"-f", L"--for", L"5"});
    writing.join();
    EXPECT_EQ(run.status, 0U);
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(failures, 0U);
    EXPECT_EQ(run.output.size(), wanted.size());
    for (const char* name : {"first", "second"}) {
        std::size_t position = 0;
        for (unsigned number = 0; number < 40; ++number) {
            position = run.output.find(recordText(name, headAt(1000 + number)), position);
            ASSERT_NE(position, std::string::npos) << name << ' ' << number;
        }
    }
}

TEST_F(FlvLog, HelpsAndRefuses) {
    const ProgramRun help = flvlog({L"--help"});
    EXPECT_EQ(help.status, 0U);
    EXPECT_THAT(help.output, StartsWith("usage: flvlog [OPTIONS] [PATH...]\n"));
    EXPECT_THAT(help.output, HasSubstr("\nExamples:\n"));
    EXPECT_EQ(help.errors, "");
    const ProgramRun refused = flvlog({L"--severity", L"loud"});
    EXPECT_EQ(refused.status, 2U);
    EXPECT_EQ(refused.output, "");
    EXPECT_THAT(refused.errors, StartsWith("flvlog: not a severity: loud\nusage: flvlog [OPTIONS] [PATH...]\n"));
}

} // namespace
} // namespace JY::Tools
