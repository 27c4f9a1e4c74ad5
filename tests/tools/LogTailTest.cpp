#include "tools/LogTail.h"

#include "tests/support/OpenHandles.h"
#include "tests/tools/LogTesting.h"
#include "tests/tools/LogText.h"
#include "tools/Failure.h"

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

struct LogTailOfAFile : testing::Test {
    std::string read() { return textOf(tail.read().records); }

    TestLogs logs;
    std::wstring name = L"JyFlvSource-1-0.log";
    LogTail tail{logs.path(name)};
    std::string first = recordText("first", headAt(1));
    std::string second = recordText("second", headAt(2));
};

TEST_F(LogTailOfAFile, GivesEachRecordOnce) {
    logs.write(name, first);
    EXPECT_EQ(read(), first);
    EXPECT_EQ(read(), "");
    logs.append(name, second);
    EXPECT_EQ(read(), second);
    EXPECT_EQ(read(), "");
}

TEST_F(LogTailOfAFile, WaitsForTheFile) {
    EXPECT_EQ(read(), "");
    logs.write(name, "");
    EXPECT_EQ(read(), "");
    logs.append(name, first);
    EXPECT_EQ(read(), first);
}

TEST_F(LogTailOfAFile, HoldsARecordBackUntilItIsComplete) {
    logs.write(name, first + headText(headAt(2)).substr(0, 20));
    EXPECT_EQ(read(), first);
    logs.append(name, headText(headAt(2)).substr(20));
    EXPECT_EQ(read(), "");
    logs.append(name, "second");
    EXPECT_EQ(read(), "");
    EXPECT_EQ(tail.read().unfinished, headText(headAt(2)) + "second");
    logs.append(name, "\r");
    EXPECT_EQ(read(), "");
    logs.append(name, "\n");
    EXPECT_EQ(read(), second);
}

TEST_F(LogTailOfAFile, GivesTheRestOfARecordThatLookedComplete) {
    logs.write(name, headText(headAt(1)) + "its message ends in a line end\r\n");
    EXPECT_EQ(read(), headText(headAt(1)) + "its message ends in a line end\r\n");
    logs.append(name, "\r\n" + second);
    const LogGrowth growth = tail.read();
    ASSERT_EQ(growth.records.size(), 2U);
    EXPECT_TRUE(growth.records[0].more);
    EXPECT_EQ(growth.records[0].text, "\r\n");
    EXPECT_EQ(growth.records[0].head.time, readLogTime(timeAt(1)));
    EXPECT_FALSE(growth.records[1].more);
    EXPECT_EQ(growth.records[1].text, second);
}

TEST_F(LogTailOfAFile, CountsWhatBelongsToNoRecord) {
    logs.write(name, "lost\r\n" + first);
    const LogGrowth growth = tail.read();
    EXPECT_EQ(growth.leadIn, 6U);
    EXPECT_EQ(textOf(growth.records), first);
    EXPECT_EQ(tail.read().leadIn, 0U);
}

TEST_F(LogTailOfAFile, BeginsAgainWhenTheFileIsUsedAnew) {
    logs.write(name, first + second);
    EXPECT_EQ(read(), first + second);
    const std::string next = recordText("next", headAt(3));
    // Each begins otherwise than the one before it, as its times make sure in a real log.
    for (const std::string& content : {next, first + next, next + first + second + next, recordText("", headAt(4))}) {
        logs.write(name, content);
        EXPECT_EQ(read(), content);
        EXPECT_EQ(read(), "");
    }
}

/// As a ring's file is that is filled again by just as many bytes between two readings.
TEST_F(LogTailOfAFile, BeginsAgainWhenTheFileIsUsedAnewAndIsJustAsLong) {
    logs.write(name, first + second);
    EXPECT_EQ(read(), first + second);
    const std::string other = recordText("other", headAt(3)) + second;
    ASSERT_EQ(other.size(), first.size() + second.size());
    logs.write(name, other);
    EXPECT_EQ(read(), other);
}

TEST_F(LogTailOfAFile, BeginsAgainWhenTheFileWasEmptiedOrDeleted) {
    logs.write(name, first);
    EXPECT_EQ(read(), first);
    logs.write(name, "");
    EXPECT_EQ(read(), "");
    logs.write(name, first);
    EXPECT_EQ(read(), first);
    logs.remove(name);
    EXPECT_EQ(read(), "");
    logs.write(name, first);
    EXPECT_EQ(read(), first);
}

TEST_F(LogTailOfAFile, ReadsALongRecordThatComesInParts) {
    const std::string part(400'000, 'x');
    logs.write(name, headText(headAt(1)));
    for (int count = 0; count < 6; ++count) {
        logs.append(name, part);
        EXPECT_EQ(read(), "");
    }
    logs.append(name, "\r\n" + second);
    const LogGrowth growth = tail.read();
    ASSERT_EQ(growth.records.size(), 2U);
    EXPECT_EQ(growth.records[0].text.size(), headText({}).size() + 6 * part.size() + 2);
}

TEST_F(LogTailOfAFile, KeepsNothingOpen) {
    logs.write(name, first);
    read();
    const std::size_t before = JY::Test::countOpenHandles();
    for (int count = 0; count < 5; ++count) {
        read();
    }
    EXPECT_EQ(JY::Test::countOpenHandles(), before);
}

/// The log's writer shares its file with readers only.
TEST_F(LogTailOfAFile, ReadsWhileTheWriterHasItOpen) {
    logs.write(name, first);
    const HANDLE writer = CreateFileW(logs.path(name).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(writer, INVALID_HANDLE_VALUE);
    EXPECT_EQ(read(), first);
    CloseHandle(writer);
}

TEST_F(LogTailOfAFile, DoesNotKeepTheWriterFromItsFile) {
    logs.write(name, first);
    const auto reading = LogFile::open(logs.path(name));
    ASSERT_TRUE(reading);
    for (const DWORD disposition : {OPEN_ALWAYS, CREATE_ALWAYS}) {
        const HANDLE writer = CreateFileW(logs.path(name).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, disposition,
                                          FILE_ATTRIBUTE_NORMAL, nullptr);
        EXPECT_NE(writer, INVALID_HANDLE_VALUE) << disposition;
        CloseHandle(writer);
    }
}

TEST_F(LogTailOfAFile, KeepsTheFileFromBeingDeletedWhileItIsRead) {
    logs.write(name, first);
    {
        const auto reading = LogFile::open(logs.path(name));
        ASSERT_TRUE(reading);
        EXPECT_FALSE(DeleteFileW(logs.path(name).c_str())) << "the name would be held until the reader is done";
    }
    EXPECT_TRUE(DeleteFileW(logs.path(name).c_str()));
}

TEST_F(LogTailOfAFile, SaysWhenTheFileCannotBeRead) {
    logs.write(name, first);
    const HANDLE closed =
        CreateFileW(logs.path(name).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(closed, INVALID_HANDLE_VALUE);
    EXPECT_THROW(tail.read(), Failure);
    CloseHandle(closed);
    EXPECT_EQ(read(), first);
}

} // namespace
} // namespace JY::Tools
