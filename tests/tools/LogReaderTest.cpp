#include "tools/LogReader.h"

#include "tests/support/OpenHandles.h"
#include "tests/tools/LogRingWriter.h"
#include "tests/tools/LogTesting.h"
#include "tests/tools/LogText.h"

#include <algorithm>
#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

namespace JY::Tools {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A record that tells its time in its message.
std::string at(unsigned time) {
    return recordText(std::to_string(time), headAt(time));
}

std::string at(std::initializer_list<unsigned> times) {
    std::string text;
    for (const unsigned time : times) {
        text += at(time);
    }
    return text;
}

struct LogReaderOfAFolder : testing::Test {
    LogReaderOfAFolder() { selection.paths = {logs.path()}; }

    LogReader reader() {
        return LogReader(selection, [this](const std::string& remark) { remarks.push_back(remark); });
    }
    std::string all() { return textOf(reader().readToEnd()); }

    TestLogs logs;
    LogSelection selection;
    std::vector<std::string> remarks;
};

TEST_F(LogReaderOfAFolder, MergesAllProcessesByTime) {
    logs.write(L"JyFlvSource-1-0.log", at({1, 4, 5, 9}));
    logs.write(L"JyFlvSource-20-0.log", at({2, 3, 8}));
    logs.write(L"JyFlvSource-3-0.log", at({6, 7}));
    EXPECT_EQ(all(), at({1, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_THAT(remarks, IsEmpty());
}

TEST_F(LogReaderOfAFolder, KeepsTheOrderOfTheFilesWhereTimesAreAlike) {
    const std::string first = recordText("first", headAt(5)) + recordText("second", headAt(5));
    const std::string second = recordText("third", headAt(5)) + recordText("fourth", headAt(5));
    logs.write(L"JyFlvSource-1-0.log", first);
    logs.write(L"JyFlvSource-1-1.log", second);
    EXPECT_EQ(all(), first + second);
    EXPECT_EQ(all(), all());
}

TEST_F(LogReaderOfAFolder, PutsAWrappedRingInOrder) {
    logs.write(L"JyFlvSource-1-0.log", at({70, 80}));
    logs.write(L"JyFlvSource-1-1.log", at({90}));
    logs.write(L"JyFlvSource-1-2.log", at({30, 40}));
    logs.write(L"JyFlvSource-1-3.log", at({50, 60}));
    EXPECT_EQ(all(), at({30, 40, 50, 60, 70, 80, 90}));
}

/// The ring was left with index 2, and the next millisecond's records stand in files 0 and 1.
TEST_F(LogReaderOfAFolder, PutsAWrappedRingInOrderWhereTimesAreAlike) {
    const std::string first = at(50) + recordText("first", headAt(60));
    const std::string second = recordText("second", headAt(60));
    logs.write(L"JyFlvSource-1-2.log", first);
    logs.write(L"JyFlvSource-1-0.log", second);
    EXPECT_EQ(all(), first + second);
}

/// A process that gets the number of an earlier one goes on in the first file that it finds.
TEST_F(LogReaderOfAFolder, MergesTheLogsOfTwoProcessesOfTheSameNumber) {
    logs.write(L"JyFlvSource-1-0.log", at({10, 20, 50, 60}));
    logs.write(L"JyFlvSource-1-1.log", at({30, 40}));
    EXPECT_EQ(all(), at({10, 20, 30, 40, 50, 60}));
}

TEST_F(LogReaderOfAFolder, KeepsAFilesOrderWhereTheClockWasSetBack) {
    logs.write(L"JyFlvSource-1-0.log", at({10, 50, 20, 60}));
    logs.write(L"JyFlvSource-2-0.log", at({15, 30, 55}));
    EXPECT_EQ(all(), at({10, 15, 30, 50, 20, 55, 60}));
}

TEST_F(LogReaderOfAFolder, PutsASnapshotInOnePieceWhereItWasTaken) {
    const std::string snapshot = snapshotText(at({5, 10, 20}), headAt(25));
    logs.write(L"JyFlvSource-1-0.log", at({10, 20, 30}));
    logs.write(L"JyFlvSource-1-s-0.log", snapshot);
    EXPECT_EQ(all(), at({10, 20, 30}));
    selection.kinds = LogKinds::both;
    EXPECT_EQ(all(), at({10, 20}) + snapshot + at(30));
    selection.filter.threads = {0x1a4};
    selection.filter.severity = LogSeverity::info;
    selection.filter.sources = {"FlvTag"};
    EXPECT_EQ(all(), at({10, 20}) + at({5, 10, 20}) + at(30));
}

TEST_F(LogReaderOfAFolder, PutsASnapshotInOnePieceThatGoesOnInTheNextFile) {
    const std::string snapshot = snapshotText(at({5, 10, 20}), headAt(25));
    const std::size_t cut = beginText().size() + at(5).size();
    logs.write(L"JyFlvSource-1-s-7.log", snapshotText(at(1), headAt(2)) + snapshot.substr(0, cut));
    logs.write(L"JyFlvSource-1-s-0.log", snapshot.substr(cut));
    selection.kinds = LogKinds::both;
    EXPECT_EQ(all(), snapshotText(at(1), headAt(2)) + snapshot);
}

TEST_F(LogReaderOfAFolder, ReadsNamedSnapshotFilesUnasked) {
    logs.write(L"JyFlvSource-1-s-0.log", snapshotText(at(5), headAt(7)));
    EXPECT_EQ(all(), "");
    selection.paths = {logs.path(L"JyFlvSource-1-s-0.log")};
    EXPECT_EQ(all(), snapshotText(at(5), headAt(7)));
}

TEST_F(LogReaderOfAFolder, ReadsFilesOfAnyName) {
    logs.write(L"sent by a user.txt", at({1, 2}));
    selection.paths = {logs.path(L"sent by a user.txt")};
    EXPECT_EQ(all(), at({1, 2}));
    selection.processes = {1};
    LogReader other = reader();
    EXPECT_THAT(other.readToEnd(), IsEmpty());
    EXPECT_FALSE(other.foundFiles());
}

TEST_F(LogReaderOfAFolder, ReadsTheWantedProcessesOnly) {
    for (const unsigned process : {1U, 2U, 12U}) {
        logs.write(L"JyFlvSource-" + std::to_wstring(process) + L"-0.log", at(process));
    }
    selection.processes = {2, 12};
    EXPECT_EQ(all(), at({2, 12}));
    selection.processes = {3};
    EXPECT_EQ(all(), "");
}

TEST_F(LogReaderOfAFolder, GivesWhatTheFilterAccepts) {
    logs.write(L"JyFlvSource-1-0.log", at({1, 2}) + recordText("x\r\nTWO", headAt(3)) + at({4}));
    selection.filter.text = "two";
    EXPECT_EQ(all(), recordText("x\r\nTWO", headAt(3)));
}

TEST_F(LogReaderOfAFolder, TellsOfWhatBelongsToNoRecord) {
    logs.write(L"JyFlvSource-1-0.log", "lost\r\n" + at(1));
    logs.write(L"JyFlvSource-2-0.log", "rubbish");
    logs.write(L"JyFlvSource-3-0.log", "");
    EXPECT_EQ(all(), at(1));
    EXPECT_THAT(remarks, ElementsAre(HasSubstr("JyFlvSource-1-0.log: the first 6 bytes belong to no record"),
                                     HasSubstr("JyFlvSource-2-0.log: the last 7 bytes belong to no record")));
}

TEST_F(LogReaderOfAFolder, CompletesTheLastRecordAtTheEndOnly) {
    logs.write(L"JyFlvSource-1-0.log", at(1) + headText(headAt(2)) + "cut");
    logs.write(L"JyFlvSource-2-0.log", at(3));
    EXPECT_EQ(textOf(reader().read()), at({1, 3}));
    EXPECT_THAT(remarks, IsEmpty());
    EXPECT_EQ(all(), at(1) + recordText("cut", headAt(2)) + at(3));
    EXPECT_THAT(remarks, ElementsAre(HasSubstr("JyFlvSource-1-0.log: the last record is not complete")));
}

TEST_F(LogReaderOfAFolder, CompletesAMessageThatIsCutInItsSecondLine) {
    logs.write(L"JyFlvSource-1-0.log", recordText("first", headAt(1)) + "\r\nsecond");
    EXPECT_EQ(all(), recordText("first", headAt(1)) + "\r\nsecond\r\n");
    EXPECT_THAT(remarks, ElementsAre(HasSubstr("the last record is not complete")));
}

TEST_F(LogReaderOfAFolder, FollowsNewRecordsFilesAndProcesses) {
    LogReader following = reader();
    EXPECT_THAT(following.read(), IsEmpty());
    EXPECT_FALSE(following.foundFiles());
    logs.write(L"JyFlvSource-1-0.log", at({1, 2}));
    EXPECT_EQ(textOf(following.read()), at({1, 2}));
    EXPECT_TRUE(following.foundFiles());
    logs.append(L"JyFlvSource-1-0.log", at(3));
    logs.write(L"JyFlvSource-1-1.log", at(5));
    logs.write(L"JyFlvSource-2-0.log", at(4));
    EXPECT_EQ(textOf(following.read()), at({3, 4, 5}));
    logs.remove(L"JyFlvSource-2-0.log");
    logs.write(L"JyFlvSource-1-0.log", at(6));
    EXPECT_EQ(textOf(following.read()), at(6));
    logs.write(L"JyFlvSource-2-0.log", at(7));
    EXPECT_EQ(textOf(following.read()), at(7));
    EXPECT_EQ(textOf(following.read()), "");
}

TEST_F(LogReaderOfAFolder, FollowsARingAcrossItsEndWhereTimesAreAlike) {
    LogReader following = reader();
    logs.write(L"JyFlvSource-1-0.log", at(1));
    logs.write(L"JyFlvSource-1-1.log", at(2));
    following.read();
    const std::string first = recordText("first", headAt(3));
    const std::string second = recordText("second", headAt(3));
    logs.append(L"JyFlvSource-1-1.log", first);
    logs.write(L"JyFlvSource-1-0.log", second);
    EXPECT_EQ(textOf(following.read()), first + second);
}

TEST_F(LogReaderOfAFolder, ShowsTheRestOfARecordWithTheRecord) {
    selection.filter.text = "wanted";
    LogReader following = reader();
    logs.write(L"JyFlvSource-1-0.log", recordText("wanted", headAt(1)));
    logs.write(L"JyFlvSource-2-0.log", recordText("other", headAt(1)));
    EXPECT_EQ(textOf(following.read()), recordText("wanted", headAt(1)));
    logs.append(L"JyFlvSource-1-0.log", "its rest\r\n");
    logs.append(L"JyFlvSource-2-0.log", "wanted\r\n");
    EXPECT_EQ(textOf(following.read()), "its rest\r\n");
}

TEST_F(LogReaderOfAFolder, TellsOnceOfAFileThatCannotBeReadAndGoesOn) {
    logs.write(L"JyFlvSource-1-0.log", at(1));
    logs.write(L"JyFlvSource-2-0.log", at(2));
    const HANDLE closed = CreateFileW(logs.path(L"JyFlvSource-1-0.log").c_str(), GENERIC_READ, 0, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    LogReader following = reader();
    EXPECT_EQ(textOf(following.read()), at(2));
    EXPECT_TRUE(following.failed());
    following.read();
    EXPECT_THAT(remarks, ElementsAre(HasSubstr("JyFlvSource-1-0.log: ERROR_SHARING_VIOLATION")));
    CloseHandle(closed);
    EXPECT_EQ(textOf(following.read()), at(1));
}

TEST_F(LogReaderOfAFolder, KeepsNothingOpenBetweenReadings) {
    logs.write(L"JyFlvSource-1-0.log", at(1));
    LogReader following = reader();
    following.read();
    const std::size_t before = JY::Test::countOpenHandles();
    for (int count = 0; count < 5; ++count) {
        following.read();
    }
    EXPECT_EQ(JY::Test::countOpenHandles(), before);
    std::filesystem::remove_all(logs.path());
    EXPECT_FALSE(std::filesystem::exists(logs.path()));
}

/// The writer goes round its ring several times. It never gets so far ahead that records would be lost to any reader.
TEST_F(LogReaderOfAFolder, GetsEveryRecordFromAWriterInARingAndDoesNotDisturbIt) {
    constexpr unsigned count = 2000;
    constexpr unsigned farthestAhead = 150;
    const auto message = [](unsigned number) { return "record\r\nnumber " + std::to_string(number); };
    std::atomic<unsigned> seen = 0;
    std::atomic<unsigned> failures = 0;
    std::thread writing([&] {
        LogRingWriter writer(logs.path(L"JyFlvSource-1-"), 8, 4000);
        const ULONGLONG end = GetTickCount64() + 60'000;
        for (unsigned number = 0; number < count; ++number) {
            while (number > seen + farthestAhead && GetTickCount64() < end) {
                Sleep(1);
            }
            writer.write(message(number), headAt(number));
        }
        failures = writer.failures();
    });
    LogReader following = reader();
    std::string read;
    const ULONGLONG end = GetTickCount64() + 60'000;
    while (seen < count && GetTickCount64() < end) {
        const auto records = following.read();
        read += textOf(records);
        seen += static_cast<unsigned>(std::ranges::count(records, false, &LogRecord::more));
    }
    writing.join();
    std::string wanted;
    for (unsigned number = 0; number < count; ++number) {
        wanted += recordText(message(number), headAt(number));
    }
    const auto difference = static_cast<std::size_t>(std::ranges::mismatch(read, wanted).in1 - read.begin());
    EXPECT_TRUE(read == wanted) << read.size() << " bytes instead of " << wanted.size() << ", and from byte "
                                << difference << " on\n"
                                << read.substr(difference - std::min<std::size_t>(difference, 200), 400);
    EXPECT_EQ(failures, 0U);
    EXPECT_THAT(remarks, IsEmpty());
}

} // namespace
} // namespace JY::Tools
