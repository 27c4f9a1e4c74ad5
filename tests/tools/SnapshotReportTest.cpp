#include "tools/SnapshotReport.h"

#include "tests/tools/LogTesting.h"
#include "tests/tools/LogText.h"
#include "tools/Text.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

namespace JY::Tools {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string kept = recordText("first") + recordText("second");
const std::string block = snapshotText(kept, headAt(500));

struct SnapshotReport : testing::Test {
    SnapshotStatus report(const std::vector<std::wstring>& paths) {
        std::ostringstream out;
        remarks.clear();
        const SnapshotStatus status =
            reportSnapshots(paths, out, [this](const std::string& remark) { remarks.push_back(remark); });
        text = out.str();
        return status;
    }

    std::string named(const std::wstring& name) const { return toUtf8(logs.path(name)); }

    TestLogs logs;
    std::string text;
    std::vector<std::string> remarks;
};

TEST_F(SnapshotReport, NamesEachBlockOfAFile) {
    std::string damaged = block;
    damaged[beginText().size() + 5] ^= 1;
    logs.write(L"JyFlvSource-1-s-0.log", block + damaged);
    EXPECT_EQ(report({logs.path(L"JyFlvSource-1-s-0.log")}), snapshotsDamaged);
    const std::string path = named(L"JyFlvSource-1-s-0.log");
    EXPECT_EQ(text, path + ": block 1 at byte 0, begun 2026/11/21 10:00:00.500, 2 records: intact\n" + path +
                        ": block 2 at byte " + std::to_string(block.size()) +
                        ", begun 2026/11/21 10:00:00.500, 2 records: damaged: digest differs\n");
    EXPECT_THAT(remarks, IsEmpty());
}

TEST_F(SnapshotReport, IsGoodWhenAllIsIntact) {
    logs.write(L"JyFlvSource-1-s-0.log", block + snapshotText("") + snapshotText(recordText("one")));
    logs.write(L"JyFlvSource-2-s-0.log", block);
    logs.write(L"JyFlvSource-2-0.log", recordText("no snapshot"));
    EXPECT_EQ(report({logs.path()}), snapshotsIntact);
    EXPECT_THAT(text, HasSubstr(", 0 records: intact\n"));
    EXPECT_THAT(text, HasSubstr(", 1 record: intact\n"));
    EXPECT_THAT(text, HasSubstr(named(L"JyFlvSource-2-s-0.log") + ": block 1 at byte 0, "));
    EXPECT_THAT(text, testing::Not(HasSubstr("JyFlvSource-2-0.log")));
}

TEST_F(SnapshotReport, FollowsABlockRoundTheRing) {
    const std::size_t cut = beginText().size() + recordText("first").size();
    logs.write(L"JyFlvSource-1-s-7.log", snapshotText("", headAt(400)) + block.substr(0, cut));
    logs.write(L"JyFlvSource-1-s-0.log", block.substr(cut));
    EXPECT_EQ(report({logs.path()}), snapshotsIntact);
    EXPECT_EQ(text, named(L"JyFlvSource-1-s-7.log") +
                        ": block 1 at byte 0, begun 2026/11/21 10:00:00.400, 0 records: intact\n" +
                        named(L"JyFlvSource-1-s-7.log") + ": block 2 at byte " +
                        std::to_string(snapshotText("").size()) + " up to byte " + std::to_string(block.size() - cut) +
                        " of " + named(L"JyFlvSource-1-s-0.log") +
                        ", begun 2026/11/21 10:00:00.500, 2 records: intact\n");
}

TEST_F(SnapshotReport, KeepsTheRingsOfTwoProcessesApart) {
    logs.write(L"JyFlvSource-1-s-0.log", beginText() + kept);
    logs.write(L"JyFlvSource-2-s-0.log", endText(digestText(kept)));
    EXPECT_EQ(report({logs.path()}), snapshotsDamaged);
    EXPECT_THAT(text, HasSubstr("2 records: damaged: end record is missing\n"));
    EXPECT_THAT(text, HasSubstr("0 records: damaged: begin record is missing\n"));
}

TEST_F(SnapshotReport, SaysThatAFileHasNoBlock) {
    logs.write(L"JyFlvSource-1-0.log", recordText("no snapshot"));
    logs.write(L"JyFlvSource-1-s-0.log", "");
    EXPECT_EQ(report({logs.path(L"JyFlvSource-1-0.log"), logs.path()}), snapshotsIntact);
    EXPECT_EQ(text, named(L"JyFlvSource-1-0.log") + ": no snapshot block\n" + named(L"JyFlvSource-1-s-0.log") +
                        ": no snapshot block\n");
}

TEST_F(SnapshotReport, TakesASnapshotFileWithoutAnyBlockForDamaged) {
    logs.write(L"JyFlvSource-1-s-0.log", kept);
    EXPECT_EQ(report({logs.path()}), snapshotsDamaged);
    EXPECT_EQ(text, named(L"JyFlvSource-1-s-0.log") + ": damaged: no snapshot block\n");
}

TEST_F(SnapshotReport, NamesBytesOutsideAnyBlock) {
    logs.write(L"renamed.txt", block + "more");
    EXPECT_EQ(report({logs.path(L"renamed.txt")}), snapshotsDamaged);
    EXPECT_THAT(text, HasSubstr(named(L"renamed.txt") + ": from byte " + std::to_string(block.size()) +
                                ": damaged: bytes outside any block\n"));
}

TEST_F(SnapshotReport, TellsOfAFileThatCannotBeRead) {
    logs.write(L"JyFlvSource-1-s-0.log", block);
    logs.write(L"JyFlvSource-2-s-0.log", block);
    const HANDLE closed = CreateFileW(logs.path(L"JyFlvSource-1-s-0.log").c_str(), GENERIC_READ, 0, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_EQ(report({logs.path()}), snapshotsUnread);
    EXPECT_THAT(remarks, ElementsAre(HasSubstr("JyFlvSource-1-s-0.log: ERROR_SHARING_VIOLATION")));
    EXPECT_THAT(text, HasSubstr("JyFlvSource-2-s-0.log: block 1"));
    logs.append(L"JyFlvSource-2-s-0.log", "x");
    EXPECT_EQ(report({logs.path()}), snapshotsDamaged);
    CloseHandle(closed);
}

TEST_F(SnapshotReport, ReadsWhileTheWriterHasTheFileOpen) {
    logs.write(L"JyFlvSource-1-s-0.log", block);
    const HANDLE writer = CreateFileW(logs.path(L"JyFlvSource-1-s-0.log").c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                      nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_EQ(report({logs.path()}), snapshotsIntact);
    CloseHandle(writer);
    EXPECT_THAT(text, HasSubstr("2 records: intact\n"));
}

} // namespace
} // namespace JY::Tools
