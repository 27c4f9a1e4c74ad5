#include "log/RecordRing.h"

#include "tests/log/Records.h"
#include "tests/support/Allocations.h"

#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using namespace JY;
using namespace JY::Log2;
using Test::allocationsOf;
using Test::errorOf;
using Test::recordOf;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> messages(const RecordRing& ring) {
    std::vector<std::string> result;
    for (std::size_t index = 0; index < ring.size(); ++index) {
        result.emplace_back(ring[index].message);
    }
    return result;
}

void keepMany(RecordRing& ring, int count, std::size_t size) {
    for (int done = 0; done < count; ++done) {
        ring.keep(errorOf(std::string(size, 'x')));
    }
}

TEST(RecordRing, IsEmptyAtFirst) {
    EXPECT_THAT(messages(RecordRing(3)), IsEmpty());
}

TEST(RecordRing, GivesRecordsFromTheOldestOn) {
    RecordRing ring(3);
    ring.keep(errorOf("a"));
    ring.keep(errorOf("b"));
    EXPECT_THAT(messages(ring), ElementsAre("a", "b"));
}

TEST(RecordRing, DropsTheOldestOnesWhenItIsFull) {
    RecordRing ring(3);
    for (const char* message : {"a", "b", "c", "d"}) {
        ring.keep(errorOf(message));
    }
    EXPECT_THAT(messages(ring), ElementsAre("b", "c", "d"));
    for (const char* message : {"e", "f", "g", "h"}) {
        ring.keep(errorOf(message));
    }
    EXPECT_THAT(messages(ring), ElementsAre("f", "g", "h"));
}

TEST(RecordRing, OfOneRecordKeepsTheLast) {
    RecordRing ring(1);
    ring.keep(errorOf("a"));
    ring.keep(errorOf("b"));
    EXPECT_THAT(messages(ring), ElementsAre("b"));
}

TEST(RecordRing, OfNoRecordsKeepsNone) {
    RecordRing ring(0);
    ring.keep(errorOf("a"));
    EXPECT_THAT(messages(ring), IsEmpty());
}

TEST(RecordRing, KeepsEveryField) {
    RecordRing ring(2);
    const Record original = recordOf(Severity::info, "FlvTag", 65, "message");
    ring.keep(errorOf("a"));
    ring.keep(errorOf("b"));
    ring.keep(original);
    const Record kept = ring[1];
    EXPECT_EQ(std::memcmp(&kept.time, &original.time, sizeof kept.time), 0);
    EXPECT_EQ(kept.threadId, 0xabcU);
    EXPECT_EQ(kept.severity, Severity::info);
    EXPECT_STREQ(kept.position.file, "FlvTag");
    EXPECT_EQ(kept.position.line, 65);
    EXPECT_EQ(kept.message, "message");
}

TEST(RecordRing, CopiesMessages) {
    RecordRing ring(4);
    for (const std::size_t size : {5U, 500U, 0U}) { // short ones lie inside their record
        std::string message(size, 'a');
        ring.keep(errorOf(message));
        message.assign(size, 'b');
    }
    EXPECT_THAT(messages(ring), ElementsAre("aaaaa", std::string(500, 'a'), ""));
}

TEST(RecordRing, KeepsMessagesWithAnyCharacters) {
    RecordRing ring(1);
    const std::string message("a\0b\r\n%s\xff", 9);
    ring.keep(errorOf(message));
    EXPECT_THAT(messages(ring), ElementsAre(message));
}

TEST(RecordRing, TakesNoMemoryBeforeTheFirstRecord) {
    EXPECT_EQ(allocationsOf([] { RecordRing ring(1000); }).count, 0U);
}

TEST(RecordRing, TakesMemoryAsItGrows) {
    RecordRing ring(1000);
    EXPECT_LT(allocationsOf([&] { keepMany(ring, 10, 10); }).bytes, 4096U);
}

TEST(RecordRing, KeepsARecordInStorageThatItHas) {
    RecordRing ring(10);
    keepMany(ring, 10, 200);
    const std::string message(200, 'y');
    const auto taken = allocationsOf([&] {
        for (int count = 0; count < 100; ++count) {
            ring.keep(errorOf(message));
        }
    });
    EXPECT_EQ(taken.count, 0U);
    EXPECT_THAT(messages(ring), testing::Each(message));
}

TEST(RecordRing, KeepsTheStorageOfAHugeMessageNoLongerThanTheMessage) {
    RecordRing ring(1);
    keepMany(ring, 1, 10'000'000);
    const std::string message(100, 'y');
    // New storage for the short message shows that the old one has gone.
    EXPECT_EQ(allocationsOf([&] { ring.keep(errorOf(message)); }).count, 1U);
    EXPECT_EQ(allocationsOf([&] { ring.keep(errorOf(message)); }).count, 0U);
    EXPECT_THAT(messages(ring), ElementsAre(message));
}

TEST(RecordRing, KeepsTheStorageOfAHugeMessageForOneOfLikeSize) {
    RecordRing ring(1);
    keepMany(ring, 1, 10'000'000);
    const std::string alike(9'000'000, 'y');
    const std::string smaller(5000, 'y');
    EXPECT_EQ(allocationsOf([&] { ring.keep(errorOf(alike)); }).count, 0U);
    EXPECT_EQ(allocationsOf([&] { ring.keep(errorOf(smaller)); }).bytes, smaller.size() + 1);
}

} // namespace
