#include "tools/SnapshotMarker.h"

#include "tests/tools/LogText.h"

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

const std::string digest = "b57247ddbcd6961a64aa7fdf2bc030215fb10e12";

TEST(SnapshotMarker, IsABeginRecord) {
    const auto marker = SnapshotMarker::read(beginText(headAt(5)) + "more");
    ASSERT_TRUE(marker);
    EXPECT_TRUE(marker->begin);
    EXPECT_EQ(marker->digest, "");
    EXPECT_EQ(marker->length, beginText().size());
    EXPECT_EQ(marker->head.time, readLogTime(timeAt(5)));
}

TEST(SnapshotMarker, IsAnEndRecord) {
    const auto marker = SnapshotMarker::read(endText(digest) + "more");
    ASSERT_TRUE(marker);
    EXPECT_FALSE(marker->begin);
    EXPECT_EQ(marker->digest, digest);
    EXPECT_EQ(marker->length, endText(digest).size());
}

TEST(SnapshotMarker, IsNoOtherRecord) {
    TestHead other;
    other.severity = "notice";
    EXPECT_FALSE(SnapshotMarker::read(recordText("Begin snapshot.-----", other)));
    other.source = "SnapshotTextFileSink";
    EXPECT_TRUE(SnapshotMarker::read(recordText("Begin snapshot.-----", other)));
    EXPECT_FALSE(SnapshotMarker::read(recordText("Begin snapshot.-----x", other)));
    EXPECT_FALSE(SnapshotMarker::read(recordText("Begin snapshot.----", other)));
    EXPECT_FALSE(SnapshotMarker::read(recordText("", other)));
    other.severity = "warn";
    EXPECT_FALSE(SnapshotMarker::read(recordText("Begin snapshot.-----", other)));
}

TEST(SnapshotMarker, NeedsAWholeDigestAndALineEnd) {
    EXPECT_FALSE(SnapshotMarker::read(endText(digest.substr(1))));
    EXPECT_FALSE(SnapshotMarker::read(endText(digest + "0")));
    EXPECT_FALSE(SnapshotMarker::read(endText("B" + digest.substr(1))));
    EXPECT_FALSE(SnapshotMarker::read(endText("g" + digest.substr(1))));
    const std::string whole = beginText();
    EXPECT_FALSE(SnapshotMarker::read(whole.substr(0, whole.size() - 1)));
}

TEST(SnapshotMarker, IsFoundWhereALineBegins) {
    const std::string content =
        "lost\r\n" + beginText() + recordText("x\n" + beginText()) + recordText(beginText()) + endText(digest);
    const auto marks = findSnapshotMarks(content);
    ASSERT_EQ(marks.size(), 2U);
    EXPECT_EQ(marks[0].offset, 6U);
    EXPECT_EQ(marks[1].end(), content.size());
}

} // namespace
} // namespace JY::Tools
