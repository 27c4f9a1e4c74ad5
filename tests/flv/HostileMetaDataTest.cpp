#include "flv/Amf0Reader.h"
#include "flv/FlvMetaDataImpl.h"
#include "log/Core.h"
#include "tests/support/Allocations.h"
#include "tests/support/Amf0.h"
#include "tests/support/FlvBuilder.h"
#include "tests/support/MemoryStream.h"
#include "tests/support/ProcessorTime.h"
#include "tests/support/Thrown.h"
#include "util/ErrorException.h"

#include <chrono>
#include <gtest/gtest.h>
#include <string>

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro::Fs;

constexpr std::size_t largestBody = 0xFFFFFF;
/// Of a tag of the largest size, whatever is in it: half a second on an idle machine.
constexpr std::chrono::seconds longestTime = countingAllowance * std::chrono::seconds{5};

const Bytes openArray = {10, 0x7F, 0xFF, 0xFF, 0xFF};
const Bytes openObject = {3};
const Bytes openEcmaArray = {8, 0, 0, 0, 0};

/// `opening`, and `piece` as often as it fits into a value of `size` bytes.
Bytes filled(const Bytes& opening, const Bytes& piece, std::size_t size) {
    Bytes result = opening;
    result.reserve(size);
    while (result.size() + piece.size() <= size) {
        result.insert(result.end(), piece.begin(), piece.end());
    }
    return result;
}

/// What is left of the largest tag behind the value's name.
const std::size_t largestValue = largestBody - Amf0::string("onMetaData").size();

/// The size of a few millions of pieces.
constexpr std::size_t millionsOf(std::size_t pieceSize) {
    return 2'200'000 * pieceSize;
}

/// What reading a value's tag comes to.
struct Reading {
    std::string outcome;
    Allocations taken;
    std::chrono::milliseconds time;
};

Reading read(const Bytes& value) {
    MemoryStream file(FlvBuilder().script(0, "onMetaData", value).build());
    FlvMetaDataImpl metaData;
    Reading result;
    result.time = processorTimeOf([&] {
        result.taken = allocationsOf(
            [&] { result.outcome = thrownIn<ErrorException>([&] { metaData.scan(file, Log2::untraced()); }); });
    });
    return result;
}

/// A tag of these values is refused when they have taken what a reader's values may take. All that was ever taken
/// counts here: an array that has grown has also taken what it grew from.
void expectRefusal(const Bytes& value) {
    const Reading reading = read(value);
    EXPECT_EQ(reading.outcome, "Script parse error. @FlvMetaData");
    EXPECT_LT(reading.taken.bytes, 4 * Amf0Reader::maxMemory);
    EXPECT_LT(reading.time, longestTime);
}

TEST(HostileMetaData, MillionsOfNullsAreRefused) {
    expectRefusal(filled(openArray, Amf0::null(), millionsOf(1)));
}

TEST(HostileMetaData, MillionsOfBooleansAreRefused) {
    expectRefusal(filled(openArray, Amf0::boolean(true), millionsOf(2)));
}

TEST(HostileMetaData, MillionsOfEmptyStringsAreRefused) {
    expectRefusal(filled(openArray, Amf0::string(""), millionsOf(3)));
}

TEST(HostileMetaData, MillionsOfEmptyArraysAreRefused) {
    expectRefusal(filled(openArray, Amf0::strictArray({}), millionsOf(5)));
}

TEST(HostileMetaData, MillionsOfEmptyObjectsAreRefused) {
    expectRefusal(filled(openArray, join({openObject, Amf0::key(""), Amf0::objectEnd()}), millionsOf(4)));
}

TEST(HostileMetaData, MillionsOfMembersWithoutAKeyAreRefused) {
    expectRefusal(filled(openObject, join({Amf0::key(""), Amf0::boolean(true)}), millionsOf(4)));
}

TEST(HostileMetaData, MillionsOfMembersOfOneKeyAreRefused) {
    expectRefusal(filled(openEcmaArray, join({Amf0::key("a"), Amf0::boolean(true)}), millionsOf(5)));
}

TEST(HostileMetaData, MillionsOfKeysAreRefused) {
    Bytes value = openEcmaArray;
    for (std::uint32_t key = 0; key < 2'000'000; ++key) {
        const Bytes member = join({{0, 3}, bigEndian(key, 3), Amf0::boolean(true)});
        value.insert(value.end(), member.begin(), member.end());
    }
    expectRefusal(value);
}

TEST(HostileMetaData, WideArraysInsideEachOtherAreRefused) {
    Bytes value = openArray;
    for (unsigned level = 1; level < Amf0Reader::maxDepth - 1; ++level) {
        value = join({filled(value, Amf0::null(), value.size() + millionsOf(1) / Amf0Reader::maxDepth), openArray});
    }
    expectRefusal(value);
}

TEST(HostileMetaData, ATagFullOfNumbersIsRead) {
    const Bytes number = Amf0::number(1);
    const std::size_t count = (largestValue - 5) / number.size();
    const Reading reading = read(filled(join({{10}, bigEndian(count, 4)}), number, largestValue));
    EXPECT_EQ(reading.outcome, "nothing was thrown");
    EXPECT_GT(count, 1'800'000U);
    EXPECT_LT(reading.time, longestTime);
}

TEST(HostileMetaData, ATagFullOfLongStringsTakesLittleMoreThanItsSize) {
    const Bytes longest = Amf0::string(std::string(0xFFFF, 'x'));
    for (const Bytes& value :
         {filled(openArray, longest, largestValue), filled(openObject, join({Amf0::key(""), longest}), largestValue),
          filled(openEcmaArray, join({Amf0::key(std::string(0xFFFF, 'x')), Amf0::boolean(true)}), largestValue)}) {
        const Reading reading = read(value);
        EXPECT_EQ(reading.outcome, "Script parse error. @FlvMetaData"); // the value is not closed
        EXPECT_LT(reading.taken.bytes, 4 * largestBody);                // with the keys' records
        EXPECT_LT(reading.time, longestTime);
    }
}

TEST(HostileMetaData, NestingOfAWholeTagIsRefused) {
    for (const Bytes& opening : {openArray, join({openObject, Amf0::key("")}), join({openEcmaArray, Amf0::key("")})}) {
        const Reading reading = read(filled(opening, opening, largestValue));
        EXPECT_EQ(reading.outcome, "Script parse error. @FlvMetaData");
        EXPECT_LT(reading.taken.bytes, 0x10000U);
    }
}

} // namespace
