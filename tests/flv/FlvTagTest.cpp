#include "flv/FlvTag.h"

#include "tests/support/FlvBuilder.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MemoryStream.h"
#include "tests/support/Thrown.h"
#include "util/ErrorException.h"
#include "util/FatalException.h"

#include <gtest/gtest.h>

namespace {

using JY::ErrorException;
using JY::FatalException;
using JY::Pictaro::Fs::FlvTag;
using JY::Test::Bytes;
using JY::Test::firstBytes;
using JY::Test::FlvBuilder;
using JY::Test::LogCapture;
using JY::Test::MemoryStream;
using JY::Test::thrown;

constexpr const char* notReadYet = "Not read yet. @FlvTag:65";
constexpr const char* tooShort = "Too short FlvTag. @FlvTag:21";

/// Three tags: 5 bytes of audio, 7 of video, 2 of script data.
FlvBuilder threeTags() {
    FlvBuilder builder;
    builder.tag(8, 0, Bytes(5, 0x55)).tag(9, 40, Bytes(7, 0x77)).tag(18, 80, Bytes(2, 0x22));
    return builder;
}

MemoryStream streamAt(const FlvBuilder& builder, std::size_t index) {
    MemoryStream stream(builder.build());
    stream.seek(builder.recordPosition(index));
    return stream;
}

} // namespace

TEST(FlvTag, HoldsTheFieldsOfTheRecord) {
    MemoryStream stream(Bytes{0x81, 2, 3, 4, 9, 0xA1, 2, 3, 0xF1, 2, 3, 0, 0, 0, 0});
    FlvTag tag(stream);
    tag.read();
    EXPECT_EQ(tag.getPreviousTagSize(), 0x81020304U);
    EXPECT_EQ(tag.getTagType(), 9);
    EXPECT_EQ(tag.getDataSize(), 0xA10203U);
    EXPECT_EQ(tag.getTimestamp(), 0xF10203U);
}

TEST(FlvTag, StreamIdIsNotExamined) {
    MemoryStream stream(Bytes{0, 0, 0, 0, 9, 0, 0, 0, 0, 0, 40, 0, 0xFF, 0xFE, 0xFD});
    FlvTag tag(stream);
    tag.read();
    EXPECT_EQ(tag.getTagType(), 9);
    EXPECT_EQ(tag.getDataSize(), 0U);
    EXPECT_EQ(tag.getTimestamp(), 40U);
    EXPECT_EQ(stream.tell(), 15);
}

TEST(FlvTag, ExtensionIsTheMostSignificantByteOfTheTime) {
    FlvBuilder builder;
    builder.tag(9, 0x01000000, {}).tag(9, 0xFFFEFDFC, {});
    MemoryStream stream = streamAt(builder, 0);
    FlvTag tag(stream);
    tag.read();
    EXPECT_EQ(tag.getTimestamp(), 16777216U);
    tag.read();
    EXPECT_EQ(tag.getTimestamp(), 0xFFFEFDFCU);
}

TEST(FlvTag, TypeIsTheWholeByteWithItsFilterBit) {
    MemoryStream stream = streamAt(FlvBuilder().tag(0xE8, 0, {}), 0);
    FlvTag tag(stream);
    tag.read();
    EXPECT_EQ(tag.getTagType(), 0xE8);
}

TEST(FlvTag, PositionIsTheTimeInMicrosecondsOfThirtyTwoBits) {
    MemoryStream stream = streamAt(FlvBuilder().tag(9, 4295000, {}), 0);
    FlvTag tag(stream);
    tag.read();
    EXPECT_EQ(tag.getTimePosition().microseconds(), 32704);
}

TEST(FlvTag, ReadLeavesTheStreamAtTheBody) {
    const FlvBuilder builder = threeTags();
    MemoryStream stream = streamAt(builder, 1);
    FlvTag tag(stream);
    tag.read();
    EXPECT_EQ(tag.recordPosition(), builder.recordPosition(1));
    EXPECT_EQ(stream.tell(), builder.recordPosition(1) + 15);
    EXPECT_TRUE(tag.isRead());
}

TEST(FlvTag, RecordOfFewerThanFifteenBytesIsTooShort) {
    for (std::size_t size = 0; size < 15; ++size) {
        MemoryStream stream(Bytes(size, 0));
        FlvTag tag(stream);
        EXPECT_EQ(thrown<ErrorException>([&] { tag.read(); }), tooShort) << size;
        stream.clearLimit();
        stream.seek(0);
        EXPECT_EQ(thrown<ErrorException>([&] { tag.read(); }), tooShort) << size;
        EXPECT_FALSE(tag.isRead());
    }
}

TEST(FlvTag, NothingCanBeAskedBeforeTheFirstRead) {
    MemoryStream stream(Bytes(15, 0));
    FlvTag tag(stream);
    EXPECT_FALSE(tag.isRead());
    EXPECT_EQ(thrown<FatalException>([&] { tag.getTagType(); }), notReadYet);
    EXPECT_EQ(thrown<FatalException>([&] { tag.getDataSize(); }), notReadYet);
    EXPECT_EQ(thrown<FatalException>([&] { tag.getTimestamp(); }), notReadYet);
    EXPECT_EQ(thrown<FatalException>([&] { tag.getPreviousTagSize(); }), notReadYet);
    EXPECT_EQ(thrown<FatalException>([&] { tag.getTimePosition(); }), notReadYet);
}

TEST(FlvTag, CannotMoveBeforeTheFirstRead) {
    MemoryStream stream(Bytes(15, 0));
    FlvTag tag(stream);
    EXPECT_EQ(thrown<FatalException>([&] { tag.next(); }), notReadYet);
    EXPECT_EQ(thrown<FatalException>([&] { tag.previous(); }), notReadYet);
}

TEST(FlvTag, NothingCanBeAskedAfterTheRecordIsMovedPast) {
    MemoryStream stream = streamAt(threeTags(), 1);
    FlvTag tag(stream);
    tag.read();
    tag.next();
    EXPECT_EQ(thrown<FatalException>([&] { tag.getDataSize(); }), notReadYet);
    EXPECT_EQ(thrown<FatalException>([&] { tag.next(); }), notReadYet);
    tag.read();
    tag.previous();
    EXPECT_EQ(thrown<FatalException>([&] { tag.getTimestamp(); }), notReadYet);
}

TEST(FlvTag, NextMovesToTheNextRecord) {
    const FlvBuilder builder = threeTags();
    MemoryStream stream = streamAt(builder, 0);
    FlvTag tag(stream);
    tag.read();
    EXPECT_TRUE(tag.next());
    EXPECT_EQ(stream.tell(), builder.recordPosition(1));
    EXPECT_FALSE(tag.isRead());
}

TEST(FlvTag, NextDoesNotMindHowMuchOfTheBodyWasRead) {
    const FlvBuilder builder = threeTags();
    MemoryStream stream = streamAt(builder, 0);
    FlvTag tag(stream);
    tag.read();
    stream.skip(3);
    EXPECT_TRUE(tag.next());
    EXPECT_EQ(stream.tell(), builder.recordPosition(1));
}

TEST(FlvTag, NextOnTheLastTagAnswersFalseAndStaysThere) {
    const FlvBuilder builder = threeTags();
    MemoryStream stream = streamAt(builder, 2);
    FlvTag tag(stream);
    tag.read();
    EXPECT_FALSE(tag.next());
    EXPECT_EQ(stream.tell(), builder.recordPosition(2));
    EXPECT_TRUE(tag.isRead());
    EXPECT_EQ(tag.getTimestamp(), 80U);
}

TEST(FlvTag, NextOnTheLastTagAnswersFalseWithoutASizeBehindIt) {
    for (std::size_t size = 0; size <= 4; ++size) {
        MemoryStream stream = streamAt(threeTags().trailer(Bytes(size, 0)), 2);
        FlvTag tag(stream);
        tag.read();
        EXPECT_FALSE(tag.next()) << size;
    }
}

TEST(FlvTag, NextAnswersTrueForOneStrayByteAndTheReadFails) {
    MemoryStream stream = streamAt(threeTags().strayBytes({0}), 2);
    FlvTag tag(stream);
    tag.read();
    EXPECT_TRUE(tag.next());
    EXPECT_EQ(thrown<ErrorException>([&] { tag.read(); }), tooShort);
}

TEST(FlvTag, NextAnswersFalseWhenTheBodyRunsPastTheEnd) {
    FlvBuilder builder;
    builder.withDataSize(0xFFFFFF).tag(9, 0, {1, 2, 3}).tag(9, 40, {});
    MemoryStream stream = streamAt(builder, 0);
    FlvTag tag(stream);
    tag.read();
    EXPECT_FALSE(tag.next());
    EXPECT_EQ(stream.tell(), builder.recordPosition(0));
}

TEST(FlvTag, NextThrowsWhenTheRecordCannotBeFoundAgain) {
    MemoryStream stream = streamAt(threeTags(), 0);
    FlvTag tag(stream);
    tag.read();
    stream.failMovesAfter(0);
    EXPECT_EQ(thrown<ErrorException>([&] { tag.next(); }), "Seek error. @FlvTag:71");
    EXPECT_TRUE(tag.isRead());
}

TEST(FlvTag, NextThrowsWhenTheNextRecordCannotBeReached) {
    MemoryStream stream = streamAt(threeTags(), 0);
    FlvTag tag(stream);
    tag.read();
    stream.failMovesAfter(1);
    EXPECT_EQ(thrown<ErrorException>([&] { tag.next(); }), "Seek error. @FlvTag:80");
    EXPECT_FALSE(tag.isRead());
}

TEST(FlvTag, NextDoesNotMoveBeyondTheStreamsLimit) {
    MemoryStream stream = streamAt(threeTags(), 0);
    FlvTag tag(stream);
    tag.read();
    stream.setLimit(4);
    EXPECT_EQ(thrown<ErrorException>([&] { tag.next(); }), "Seek error. @FlvTag:80");
}

TEST(FlvTag, PreviousMovesToThePreviousRecord) {
    const FlvBuilder builder = threeTags();
    MemoryStream stream = streamAt(builder, 2);
    FlvTag tag(stream);
    tag.read();
    EXPECT_TRUE(tag.previous());
    EXPECT_EQ(stream.tell(), builder.recordPosition(1));
    EXPECT_FALSE(tag.isRead());
    tag.read();
    EXPECT_TRUE(tag.previous());
    EXPECT_EQ(stream.tell(), builder.recordPosition(0));
}

TEST(FlvTag, PreviousOnTheFirstTagAnswersFalseAndLeavesTheStreamWhereItWas) {
    const FlvBuilder builder = threeTags();
    MemoryStream stream = streamAt(builder, 0);
    FlvTag tag(stream);
    tag.read();
    stream.skip(2);
    EXPECT_FALSE(tag.previous());
    EXPECT_EQ(stream.tell(), builder.recordPosition(0) + 17);
    EXPECT_TRUE(tag.isRead());
}

TEST(FlvTag, PreviousRecordsHowFarItMoves) {
    MemoryStream stream = streamAt(threeTags(), 2);
    FlvTag tag(stream);
    tag.read();
    const LogCapture log;
    tag.previous();
    const auto record = log.find("seekSize=");
    EXPECT_EQ(record.message, "seekSize=-22");
    EXPECT_EQ(record.severity, JY::Log2::Severity::info);
    EXPECT_EQ(record.file, "FlvTag");
    EXPECT_EQ(record.line, 88);
}

TEST(FlvTag, PreviousTrustsTheSizeInTheFile) {
    FlvBuilder builder = threeTags();
    builder.withPreviousTagSize(20).tag(9, 120, {});
    MemoryStream stream = streamAt(builder, 3);
    FlvTag tag(stream);
    tag.read();
    EXPECT_TRUE(tag.previous());
    EXPECT_EQ(stream.tell(), builder.recordPosition(3) - 24);
}

TEST(FlvTag, PreviousThrowsWhenTheRecordCannotBeFoundAgain) {
    MemoryStream stream = streamAt(threeTags(), 1);
    FlvTag tag(stream);
    tag.read();
    stream.failMovesAfter(0);
    EXPECT_EQ(thrown<ErrorException>([&] { tag.previous(); }), "Seek error. @FlvTag:90");
    EXPECT_FALSE(tag.isRead());
}

TEST(FlvTag, PreviousThrowsWhenThePreviousRecordCannotBeReached) {
    MemoryStream stream = streamAt(threeTags(), 1);
    FlvTag tag(stream);
    tag.read();
    stream.failMovesAfter(1);
    EXPECT_EQ(thrown<ErrorException>([&] { tag.previous(); }), "Seek error. @FlvTag:91");
}

TEST(FlvTag, PreviousThrowsWhenTheSizeLeadsBeforeTheStartOfTheFile) {
    FlvBuilder builder = threeTags();
    builder.withPreviousTagSize(0xFFFFFFFF).tag(9, 120, {});
    MemoryStream stream = streamAt(builder, 3);
    FlvTag tag(stream);
    tag.read();
    EXPECT_EQ(thrown<ErrorException>([&] { tag.previous(); }), "Seek error. @FlvTag:91");
    EXPECT_EQ(stream.tell(), builder.recordPosition(3));
}

TEST(FlvTag, SeekToRecordThrowsWhenItFails) {
    MemoryStream stream = streamAt(threeTags(), 0);
    FlvTag tag(stream);
    tag.read();
    tag.seekToRecord();
    EXPECT_EQ(stream.tell(), 9);
    stream.failMovesAfter(0);
    EXPECT_EQ(thrown<ErrorException>([&] { tag.seekToRecord(); }), "Seek error. @FlvTag:71");
}
