// What the moves from record to record record, and what they leave behind when they fail.

#include "flv/FlvTag.h"
#include "tests/support/FlvBuilder.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MemoryStream.h"
#include "tests/support/Thrown.h"
#include "util/ErrorException.h"
#include "util/FatalException.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using JY::ErrorException;
using JY::FatalException;
using JY::Pictaro::Fs::FlvTag;
using JY::Test::Bytes;
using JY::Test::FlvBuilder;
using JY::Test::LogCapture;
using JY::Test::MemoryStream;
using JY::Test::thrown;
using Strings = std::vector<std::string>;

constexpr const char* notReadYet = "Not read yet. @FlvTag:65";
constexpr std::int64_t recordSize = 15;

FlvBuilder twoTags() {
    return FlvBuilder().tag(8, 0, Bytes(5, 0x55)).tag(9, 40, Bytes(7, 0x77));
}

/// A tag that has read the record of this index.
class ReadTag {
public:
    ReadTag(const FlvBuilder& builder, std::size_t index) : stream(builder.build()), tag(stream) {
        stream.seek(builder.recordPosition(index));
        tag.read();
    }
    ReadTag(const ReadTag&) = delete;
    ReadTag& operator=(const ReadTag&) = delete;

    MemoryStream stream;
    FlvTag tag;
};

void expectNotRead(FlvTag& tag) {
    EXPECT_FALSE(tag.isRead());
    EXPECT_EQ(thrown<FatalException>([&] { tag.getTagType(); }), notReadYet);
    EXPECT_EQ(thrown<FatalException>([&] { tag.getDataSize(); }), notReadYet);
    EXPECT_EQ(thrown<FatalException>([&] { tag.getTimestamp(); }), notReadYet);
    EXPECT_EQ(thrown<FatalException>([&] { tag.getPreviousTagSize(); }), notReadYet);
    EXPECT_EQ(thrown<FatalException>([&] { tag.getTimePosition(); }), notReadYet);
    EXPECT_EQ(thrown<FatalException>([&] { tag.next(); }), notReadYet);
    EXPECT_EQ(thrown<FatalException>([&] { tag.previous(); }), notReadYet);
}

} // namespace

TEST(FlvTagMoves, NothingCanBeAskedOfARecordThatIsMovedPast) {
    ReadTag forward(twoTags(), 0);
    ASSERT_TRUE(forward.tag.next());
    expectNotRead(forward.tag);
    ReadTag backward(twoTags(), 1);
    ASSERT_TRUE(backward.tag.previous());
    expectNotRead(backward.tag);
}

TEST(FlvTagMoves, NothingCanBeAskedOfARecordThatAFailingMoveHasLeft) {
    ReadTag forward(twoTags(), 0);
    forward.stream.failMovesAfter(1);
    EXPECT_EQ(thrown<ErrorException>([&] { forward.tag.next(); }), "Seek error. @FlvTag:80");
    expectNotRead(forward.tag);
    ReadTag backward(twoTags(), 1);
    backward.stream.failMovesAfter(1);
    EXPECT_EQ(thrown<ErrorException>([&] { backward.tag.previous(); }), "Seek error. @FlvTag:91");
    expectNotRead(backward.tag);
}

TEST(FlvTagMoves, RecordThatIsReadAgainCanBeAskedAgain) {
    ReadTag one(twoTags(), 0);
    ASSERT_TRUE(one.tag.next());
    one.tag.read();
    EXPECT_EQ(one.tag.getTimestamp(), 40U);
    ASSERT_TRUE(one.tag.previous());
    one.tag.read();
    EXPECT_EQ(one.tag.getTimestamp(), 0U);
    EXPECT_EQ(one.tag.recordPosition(), 9);
}

TEST(FlvTagMoves, NextReachesARecordThatLiesAtTheStreamsLimit) {
    const FlvBuilder builder = twoTags();
    ReadTag first(builder, 0);
    first.stream.setLimit(5); // the body
    EXPECT_TRUE(first.tag.next());
    EXPECT_EQ(first.stream.tell(), builder.recordPosition(1));
}

TEST(FlvTagMoves, NextThatDoesNotReachTheNextRecordStaysAtThisOne) {
    ReadTag first(twoTags(), 0);
    first.stream.setLimit(4);
    EXPECT_EQ(thrown<ErrorException>([&] { first.tag.next(); }), "Seek error. @FlvTag:80");
    EXPECT_EQ(first.stream.tell(), 9);
}

TEST(FlvTagMoves, NextComparesWhatRemainsBehindTheRecordNotBehindTheBodyRead) {
    const FlvBuilder builder = twoTags();
    ReadTag last(builder, 1);
    last.stream.clearLimit();
    last.stream.seek(0);
    EXPECT_FALSE(last.tag.next());
    EXPECT_EQ(last.stream.tell(), builder.recordPosition(1));
}

TEST(FlvTagMoves, PreviousMovesFromTheRecordHoweverFarTheStreamIs) {
    const FlvBuilder builder = twoTags();
    ReadTag last(builder, 1);
    last.stream.seek(2);
    EXPECT_TRUE(last.tag.previous());
    EXPECT_EQ(last.stream.tell(), builder.recordPosition(0));
}

TEST(FlvTagMoves, PreviousRecordsTheDistanceBeforeItMoves) {
    ReadTag last(twoTags(), 1);
    last.stream.failMovesAfter(0);
    const LogCapture log;
    EXPECT_EQ(thrown<ErrorException>([&] { last.tag.previous(); }), "Seek error. @FlvTag:90");
    EXPECT_EQ(log.messages(), Strings{"seekSize=-20"});
}

TEST(FlvTagMoves, PreviousRecordsTheLargestDistance) {
    ReadTag last(twoTags().withPreviousTagSize(0xFFFFFFFF).tag(9, 80, {}), 2);
    const LogCapture log;
    EXPECT_EQ(thrown<ErrorException>([&] { last.tag.previous(); }), "Seek error. @FlvTag:91");
    EXPECT_EQ(log.messages(), Strings{"seekSize=-4294967299"});
}

TEST(FlvTagMoves, PreviousThatCannotReachTheRecordStaysAtThisOne) {
    const FlvBuilder builder = twoTags().withPreviousTagSize(1000).tag(9, 80, {});
    ReadTag last(builder, 2);
    EXPECT_EQ(thrown<ErrorException>([&] { last.tag.previous(); }), "Seek error. @FlvTag:91");
    EXPECT_EQ(last.stream.tell(), builder.recordPosition(2));
}

TEST(FlvTagMoves, PreviousMayLeadIntoTheFilesHeader) {
    const FlvBuilder builder = twoTags();
    const auto toTheStart = static_cast<std::uint32_t>(builder.recordPosition(1)) - 4;
    ReadTag last(FlvBuilder().tag(8, 0, Bytes(5, 0x55)).withPreviousTagSize(toTheStart).tag(9, 40, {}), 1);
    EXPECT_TRUE(last.tag.previous());
    EXPECT_EQ(last.stream.tell(), 0);
}

TEST(FlvTagMoves, PreviousRecordsNothingAtTheFirstTag) {
    ReadTag first(twoTags(), 0);
    const LogCapture log;
    EXPECT_FALSE(first.tag.previous());
    EXPECT_EQ(log.messages(), Strings{});
    EXPECT_EQ(first.stream.tell(), 9 + recordSize);
}
