#include "flv/Amf0Reader.h"

#include "flv/FlvMetaData.h"
#include "log/Core.h"
#include "tests/support/Allocations.h"
#include "tests/support/Amf0.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MemoryStream.h"
#include "tests/support/Thrown.h"
#include "util/ErrorException.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace JY::Pictaro::Fs;
using JY::ErrorException;
using JY::Test::allocationsOf;
using JY::Test::bigEndian;
using JY::Test::Bytes;
using JY::Test::characters;
using JY::Test::firstBytes;
using JY::Test::join;
using JY::Test::LogCapture;
using JY::Test::MemoryStream;
using JY::Test::thrown;
namespace Amf0 = JY::Test::Amf0;
using Strings = std::vector<std::string>;

constexpr std::uint8_t objectMarker = 3;
constexpr std::uint8_t ecmaArrayMarker = 8;
constexpr std::uint8_t strictArrayMarker = 10;

MetaDatum readValue(MemoryStream& stream) {
    const auto log = JY::Log2::untraced();
    return Amf0Reader(stream, log).readValue();
}

MetaDatum decode(const Bytes& bytes) {
    MemoryStream stream(bytes);
    return readValue(stream);
}

template <class Kind>
Kind decodeAs(const Bytes& bytes) {
    return boost::get<Kind>(decode(bytes));
}

/// The member of an object or array as one of its kinds.
template <class Kind, class Members>
Kind memberAs(const Members& members, const std::string& key) {
    return boost::get<Kind>(members.find(key)->second);
}

std::string parseErrorAt(int line) {
    return "Script parse error. @FlvMetaData:" + std::to_string(line);
}

std::string thrownBy(const Bytes& bytes) {
    return thrown<ErrorException>([&] { decode(bytes); });
}

/// Where the file ends in the middle of the value, and the tag later.
std::string thrownByFile(const Bytes& bytes) {
    MemoryStream stream(bytes);
    stream.setLimit(1000);
    return thrown<ErrorException>([&] { readValue(stream); });
}

/// What a bad tag takes that lies in front of a large file.
std::uint64_t bytesTakenByBadTag(const Bytes& tag) {
    MemoryStream stream(join({tag, Bytes(1000000, 0)}));
    stream.setLimit(static_cast<std::int64_t>(tag.size()));
    std::string outcome;
    const std::uint64_t bytes =
        allocationsOf([&] { outcome = thrown<ErrorException>([&] { readValue(stream); }); }).bytes;
    EXPECT_EQ(outcome, parseErrorAt(183));
    return bytes;
}

Strings recordsOf(const Bytes& bytes) {
    const LogCapture log;
    decode(bytes);
    return log.messages();
}

/// Notes how far down the stack its reads come.
class StackProbe final : public JY::Stream {
public:
    explicit StackProbe(Bytes bytes) : stream_(std::move(bytes)) {}

    std::uint32_t read(void* buffer, std::uint32_t count) override {
        const volatile char local = 0;
        const auto here = reinterpret_cast<std::uintptr_t>(&local);
        lowest_ = std::min(lowest_, here);
        highest_ = std::max(highest_, here);
        return stream_.read(buffer, count);
    }
    bool skip(std::int64_t offset) override { return stream_.skip(offset); }
    std::int64_t tell() override { return stream_.tell(); }
    bool seek(std::int64_t position) override { return stream_.seek(position); }
    std::int64_t setLimit(std::int64_t offset) override { return stream_.setLimit(offset); }
    std::int64_t remaining() override { return stream_.remaining(); }
    std::int64_t clearLimit() override { return stream_.clearLimit(); }

    /// Bytes between the first read and the innermost one.
    std::size_t stackTaken() const { return highest_ - lowest_; }

private:
    MemoryStream stream_;
    std::uintptr_t lowest_ = std::numeric_limits<std::uintptr_t>::max();
    std::uintptr_t highest_ = 0;
};

/// Objects and ECMA arrays of one member, one inside the other, around a number.
Bytes nestedObjects(unsigned levels) {
    Bytes opening;
    Bytes closing;
    for (unsigned level = 0; level < levels; ++level) {
        const Bytes start = level % 2 == 0 ? Bytes{objectMarker} : Bytes{ecmaArrayMarker, 0, 0, 0, 1};
        opening = join({opening, start, Amf0::key("k")});
        closing = join({closing, Amf0::key(""), Amf0::objectEnd()});
    }
    return join({opening, Amf0::number(1), closing});
}

/// Strict arrays of one element, one inside the other, around a number.
Bytes nested(unsigned arrays) {
    const Bytes opening = join({{strictArrayMarker}, bigEndian(1, 4)});
    Bytes bytes;
    for (unsigned level = 0; level < arrays; ++level) {
        bytes.insert(bytes.end(), opening.begin(), opening.end());
    }
    return join({bytes, Amf0::number(1)});
}

} // namespace

TEST(Amf0Reader, NumberIsADouble) {
    EXPECT_EQ(decodeAs<long double>(Amf0::number(29.97)), static_cast<long double>(29.97));
    EXPECT_EQ(decodeAs<long double>(Amf0::number(-0.5)), -0.5L);
}

TEST(Amf0Reader, NumberIsRecordedInScientificNotation) {
    EXPECT_EQ(recordsOf(Amf0::number(29.97)), Strings{"Number=2.997000e+01"});
}

TEST(Amf0Reader, BooleanIsTrueUnlessItsByteIsZero) {
    EXPECT_FALSE(decodeAs<bool>({1, 0}));
    EXPECT_TRUE(decodeAs<bool>({1, 1}));
    EXPECT_TRUE(decodeAs<bool>({1, 0x80}));
}

TEST(Amf0Reader, BooleanIsRecordedAsAWord) {
    EXPECT_EQ(recordsOf(Amf0::boolean(true)), Strings{"Boolean=true"});
    EXPECT_EQ(recordsOf(Amf0::boolean(false)), Strings{"Boolean=false"});
}

TEST(Amf0Reader, StringIsItsBytes) {
    EXPECT_EQ(decodeAs<std::string>(Amf0::string("onMetaData")), "onMetaData");
    EXPECT_EQ(decodeAs<std::string>(Amf0::string("")), "");
    const std::string withNul("a\0b", 3);
    EXPECT_EQ(decodeAs<std::string>(Amf0::string(withNul)), withNul);
    const std::string longest(65535, 'x');
    EXPECT_EQ(decodeAs<std::string>(Amf0::string(longest)), longest);
}

TEST(Amf0Reader, StringIsRecorded) {
    EXPECT_EQ(recordsOf(Amf0::string("avc1")), Strings{"String=avc1"});
}

TEST(Amf0Reader, NullUndefinedAndObjectEndAreEndMarkers) {
    EXPECT_EQ(decodeAs<EndMarker>(Amf0::null()), EndMarker::value);
    EXPECT_EQ(decodeAs<EndMarker>(Amf0::undefined()), EndMarker::value);
    EXPECT_EQ(decodeAs<EndMarker>(Amf0::objectEnd()), EndMarker::value);
}

TEST(Amf0Reader, ObjectHoldsItsMembers) {
    const auto object = decodeAs<MetaObject>(Amf0::object({{"a", Amf0::number(1)}, {"b", Amf0::string("two")}}));
    EXPECT_EQ(object.members.size(), 2U);
    EXPECT_EQ(memberAs<long double>(object.members, "a"), 1);
    EXPECT_EQ(memberAs<std::string>(object.members, "b"), "two");
}

TEST(Amf0Reader, ObjectKeepsDuplicateKeys) {
    const auto object = decodeAs<MetaObject>(Amf0::object({{"a", Amf0::number(1)}, {"a", Amf0::number(2)}}));
    EXPECT_EQ(object.members.count("a"), 2U);
    EXPECT_EQ(memberAs<long double>(object.members, "a"), 1);
}

TEST(Amf0Reader, EcmaArrayKeepsTheFirstOfDuplicateKeys) {
    const auto array = decodeAs<MetaEcmaArray>(Amf0::ecmaArray({{"a", Amf0::number(1)}, {"a", Amf0::number(2)}}));
    EXPECT_EQ(array.members.size(), 1U);
    EXPECT_EQ(memberAs<long double>(array.members, "a"), 1);
}

TEST(Amf0Reader, DuplicateKeysInsideAnArrayAreNotRecorded) {
    EXPECT_EQ(recordsOf(Amf0::ecmaArray({{"a", Amf0::boolean(true)}, {"a", Amf0::boolean(false)}})),
              (Strings{"EcmaArray[a]", "Boolean=true", "EcmaArray[a]", "Boolean=false", "EcmaArray[]"}));
}

TEST(Amf0Reader, EcmaArrayDoesNotMindItsCount) {
    for (const std::uint32_t count : {0U, 1U, 1000U, 0xFFFFFFFFU}) {
        const auto array =
            decodeAs<MetaEcmaArray>(Amf0::ecmaArray({{"a", Amf0::number(1)}, {"b", Amf0::number(2)}}, count));
        EXPECT_EQ(array.members.size(), 2U) << count;
    }
}

TEST(Amf0Reader, MembersAreRecordedBeforeTheirValues) {
    EXPECT_EQ(recordsOf(Amf0::object({{"a", Amf0::number(1)}})),
              (Strings{"Object[a]", "Number=1.000000e+00", "Object[]"}));
    EXPECT_EQ(recordsOf(Amf0::ecmaArray({{"b", Amf0::boolean(true)}})),
              (Strings{"EcmaArray[b]", "Boolean=true", "EcmaArray[]"}));
}

TEST(Amf0Reader, MembersAreRecordedAsInformationOfTheMetadata) {
    const LogCapture log;
    decode(Amf0::object({{"a", Amf0::ecmaArray({{"b", Amf0::number(1)}})}}));
    for (const char* const record : {"Object[a]", "EcmaArray[b]"}) {
        EXPECT_EQ(log.find(record).severity, JY::Log2::Severity::info);
        EXPECT_EQ(log.find(record).file, "FlvMetaData");
    }
}

TEST(Amf0Reader, MemberWithANullEndsTheObjectWhateverItsKey) {
    for (const Bytes& end : {Amf0::null(), Amf0::undefined(), Amf0::objectEnd()}) {
        MemoryStream stream(join({Amf0::object({{"a", Amf0::number(1)}, {"b", end}}, false), {0x77}}));
        const auto object = boost::get<MetaObject>(readValue(stream));
        EXPECT_EQ(object.members.size(), 1U);
        EXPECT_EQ(object.members.count("b"), 0U);
        EXPECT_EQ(stream.remaining(), 1);
    }
}

TEST(Amf0Reader, WhatFollowsAMemberWithANullBelongsToTheEnclosingValue) {
    const Bytes inner = Amf0::object({{"a", Amf0::null()}, {"c", Amf0::number(3)}}); // ends at "a"
    const auto outer = decodeAs<MetaEcmaArray>(join({{ecmaArrayMarker, 0, 0, 0, 1}, Amf0::key("inner"), inner}));
    EXPECT_EQ(boost::get<MetaObject>(outer.members.at("inner")).members.size(), 0U);
    EXPECT_EQ(memberAs<long double>(outer.members, "c"), 3);
}

TEST(Amf0Reader, EmptyKeyIsAKeyLikeAnother) {
    const auto object = decodeAs<MetaObject>(Amf0::object({{"", Amf0::number(1)}, {"a", Amf0::number(2)}}));
    EXPECT_EQ(object.members.size(), 2U);
}

TEST(Amf0Reader, StrictArrayHoldsItsElementsInOrder) {
    const auto array = decodeAs<MetaStrictArray>(Amf0::strictArray({Amf0::number(1), Amf0::string("x")}));
    ASSERT_EQ(array.elements.size(), 2U);
    EXPECT_EQ(boost::get<long double>(array.elements[0]), 1);
    EXPECT_EQ(boost::get<std::string>(array.elements[1]), "x");
}

TEST(Amf0Reader, StrictArrayKeepsNulls) {
    const auto array = decodeAs<MetaStrictArray>(Amf0::strictArray({Amf0::null(), Amf0::number(1)}));
    ASSERT_EQ(array.elements.size(), 2U);
    EXPECT_EQ(boost::get<EndMarker>(array.elements[0]), EndMarker::value);
}

TEST(Amf0Reader, StrictArrayIsRecordedByElement) {
    EXPECT_EQ(recordsOf(Amf0::numbers({7, 8})),
              (Strings{"StrictArray[0]", "Number=7.000000e+00", "StrictArray[1]", "Number=8.000000e+00"}));
}

TEST(Amf0Reader, StrictArrayWithACountBelowOneIsEmpty) {
    for (const std::uint32_t count : {0U, 0x80000000U, 0xFFFFFFFFU}) {
        MemoryStream stream(join({Amf0::strictArray({}, count), {0x77}}));
        EXPECT_TRUE(boost::get<MetaStrictArray>(readValue(stream)).elements.empty()) << count;
        EXPECT_EQ(stream.remaining(), 1) << count;
    }
}

TEST(Amf0Reader, StrictArrayThatLiesAboutItsCountIsAParseError) {
    for (const std::uint32_t count : {3U, 1000000U, 0x7FFFFFFFU}) {
        EXPECT_EQ(thrownBy(Amf0::strictArray({Amf0::null(), Amf0::null()}, count)), parseErrorAt(183)) << count;
    }
}

TEST(Amf0Reader, StrictArrayThatLiesAboutItsCountTakesNoMemory) {
    const auto file = [](std::uint32_t count) { return Amf0::strictArray({Amf0::null(), Amf0::null()}, count); };
    const std::uint64_t bytes = bytesTakenByBadTag(file(3));
    for (const std::uint32_t count : {4U, 1000U, 1000000U, 0x7FFFFFFFU}) {
        EXPECT_EQ(bytesTakenByBadTag(file(count)), bytes) << count;
    }
}

TEST(Amf0Reader, LyingArraysInsideEachOtherTakeNoMemory) {
    const auto file = [](std::uint32_t count) {
        const Bytes opening = join({{strictArrayMarker}, bigEndian(count, 4)});
        Bytes bytes;
        for (unsigned level = 0; level < Amf0Reader::maxDepth - 1; ++level) {
            bytes = join({bytes, opening});
        }
        return bytes;
    };
    const std::uint64_t bytes = bytesTakenByBadTag(file(1));
    for (const std::uint32_t count : {2U, 1000U, 1000000U, 0x7FFFFFFFU}) {
        EXPECT_EQ(bytesTakenByBadTag(file(count)), bytes) << count;
    }
}

TEST(Amf0Reader, StrictArrayGrowsWithoutCopyingItsElements) {
    constexpr std::size_t arrays = 100;
    constexpr std::size_t strings = 20;
    constexpr std::size_t length = 400; // more would not fit into a record without memory of its own
    const Bytes array = Amf0::strictArray(std::vector<Bytes>(strings, Amf0::string(std::string(length, 'x'))));
    MemoryStream stream(Amf0::strictArray(std::vector<Bytes>(arrays, array)));
    const JY::Test::Allocations taken = allocationsOf([&] { readValue(stream); });
    EXPECT_GE(taken.bytes, arrays * strings * length);
    EXPECT_LE(taken.bytes, arrays * strings * length * 2);
}

TEST(Amf0Reader, StrictArrayHoldsManyElementsInOrder) {
    std::vector<double> numbers(5000);
    std::iota(numbers.begin(), numbers.end(), 0.0);
    const auto array = decodeAs<MetaStrictArray>(Amf0::numbers(numbers));
    ASSERT_EQ(array.elements.size(), numbers.size());
    for (std::size_t index = 0; index < numbers.size(); ++index) {
        ASSERT_EQ(boost::get<long double>(array.elements[index]), static_cast<long double>(index));
    }
}

TEST(Amf0Reader, DateIsMillisecondsAndOffset) {
    EXPECT_EQ(decodeAs<std::string>(Amf0::date(1000.0, -60)), "1000-60");
    EXPECT_EQ(decodeAs<std::string>(Amf0::date(1000.9, 120)), "1000+120");
    EXPECT_EQ(decodeAs<std::string>(Amf0::date(-1.5, 0)), "-1+0");
    EXPECT_EQ(decodeAs<std::string>(Amf0::date(0, -32768)), "0-32768");
}

TEST(Amf0Reader, DateIsRecorded) {
    EXPECT_EQ(recordsOf(Amf0::date(1000.0, -60)), Strings{"Date=1000-60"});
}

TEST(Amf0Reader, DateBeyondTheRangeIsTheOutermostOne) {
    EXPECT_EQ(decodeAs<std::string>(Amf0::date(std::numeric_limits<double>::infinity(), 0)), "9223372036854774784+0");
    EXPECT_EQ(decodeAs<std::string>(Amf0::date(-1e300, 0)), "-9223372036854775808+0");
    EXPECT_EQ(decodeAs<std::string>(Amf0::date(std::numeric_limits<double>::quiet_NaN(), 0)), "0+0");
}

TEST(Amf0Reader, MarkersOfOtherKindsAreRejected) {
    for (unsigned marker = 0; marker < 256; ++marker) {
        if (marker != 4 && marker != 7 && marker < 12) {
            continue;
        }
        const Bytes bytes = join({{static_cast<std::uint8_t>(marker)}, Bytes(32, 0)});
        EXPECT_EQ(thrown<FlvMetaData::MetaDataNotFoundException>([&] { decode(bytes); }), parseErrorAt(198)) << marker;
    }
}

TEST(Amf0Reader, MissingMarkerIsAParseError) {
    EXPECT_EQ(thrownBy({}), parseErrorAt(183));
    EXPECT_EQ(thrownByFile({}), parseErrorAt(183));
}

TEST(Amf0Reader, ShortNumberIsAParseError) {
    for (std::size_t size = 1; size < 9; ++size) {
        const Bytes bytes = firstBytes(Amf0::number(1.5), size);
        EXPECT_EQ(thrownBy(bytes), parseErrorAt(215)) << size;
        EXPECT_EQ(thrownByFile(bytes), parseErrorAt(215)) << size;
    }
}

TEST(Amf0Reader, ShortBooleanIsAParseError) {
    EXPECT_EQ(thrownBy({1}), parseErrorAt(223));
}

TEST(Amf0Reader, ShortStringLengthIsAParseError) {
    EXPECT_EQ(thrownBy({2}), parseErrorAt(205));
    EXPECT_EQ(thrownBy({2, 0}), parseErrorAt(205));
    EXPECT_EQ(thrownByFile({2, 0}), parseErrorAt(205));
}

TEST(Amf0Reader, ShortStringIsAParseError) {
    const Bytes whole = Amf0::string("abc");
    for (std::size_t size = 3; size < 6; ++size) {
        EXPECT_EQ(thrownBy(firstBytes(whole, size)), parseErrorAt(208)) << size;
        EXPECT_EQ(thrownByFile(firstBytes(whole, size)), parseErrorAt(208)) << size;
    }
}

TEST(Amf0Reader, ShortStrictArrayCountIsAParseError) {
    for (std::size_t size = 1; size < 5; ++size) {
        EXPECT_EQ(thrownBy(firstBytes(Amf0::numbers({1}), size)), parseErrorAt(265)) << size;
    }
}

TEST(Amf0Reader, ShortEcmaArrayCountIsAParseError) {
    EXPECT_EQ(thrownBy({ecmaArrayMarker}), parseErrorAt(205));
    EXPECT_EQ(thrownBy({ecmaArrayMarker, 0}), parseErrorAt(205));
    EXPECT_EQ(thrownBy({ecmaArrayMarker, 0, 0}), parseErrorAt(183)) << "read as an empty key";
    EXPECT_EQ(thrownBy({ecmaArrayMarker, 0, 0, 0}), parseErrorAt(215)) << "and a number that is not there";
}

TEST(Amf0Reader, ObjectWithoutAnEndIsAParseError) {
    EXPECT_EQ(thrownBy(Amf0::object({{"a", Amf0::number(1)}}, false)), parseErrorAt(205));
    EXPECT_EQ(thrownBy(join({{objectMarker}, Amf0::key("a")})), parseErrorAt(183));
}

TEST(Amf0Reader, EveryValueThatIsCutIsAParseError) {
    const Bytes whole = Amf0::ecmaArray({{"number", Amf0::number(1)},
                                         {"flag", Amf0::boolean(true)},
                                         {"text", Amf0::string("abc")},
                                         {"object", Amf0::object({{"inner", Amf0::number(2)}})},
                                         {"array", Amf0::numbers({1, 2, 3})},
                                         {"date", Amf0::date(1, 2)}});
    EXPECT_EQ(thrownBy(whole), "nothing was thrown");
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_EQ(thrownBy(firstBytes(whole, size)).substr(0, 33), "Script parse error. @FlvMetaData:") << size;
        EXPECT_EQ(thrownByFile(firstBytes(whole, size)).substr(0, 33), "Script parse error. @FlvMetaData:") << size;
    }
}

TEST(Amf0Reader, ShortDateIsAParseError) {
    const Bytes whole = Amf0::date(1000, 60);
    for (std::size_t size = 1; size < whole.size(); ++size) {
        EXPECT_EQ(thrownBy(firstBytes(whole, size)).substr(0, 33), "Script parse error. @FlvMetaData:") << size;
    }
}

TEST(Amf0Reader, NestingUpToTheLimitIsRead) {
    EXPECT_EQ(thrownBy(nested(Amf0Reader::maxDepth - 1)), "nothing was thrown");
}

TEST(Amf0Reader, NestingBeyondTheLimitIsAParseError) {
    EXPECT_EQ(thrownBy(nested(Amf0Reader::maxDepth)).substr(0, 33), "Script parse error. @FlvMetaData:");
    EXPECT_EQ(thrownBy(nested(100000)).substr(0, 33), "Script parse error. @FlvMetaData:");
}

TEST(Amf0Reader, NestingOfOneValueDoesNotCountForTheNext) {
    MemoryStream stream(join({nested(100), nested(100)}));
    const auto log = JY::Log2::untraced();
    Amf0Reader reader(stream, log);
    EXPECT_NO_THROW(reader.readValue());
    EXPECT_NO_THROW(reader.readValue());
}

TEST(Amf0Reader, NestingAtTheLimitTakesASmallPartOfAThreadsStack) {
    const LogCapture log;
    StackProbe stream(nestedObjects(Amf0Reader::maxDepth - 1));
    const auto logger = JY::Log2::untraced();
    EXPECT_EQ(Amf0Reader(stream, logger).readValue().which(), 4);
    EXPECT_GT(stream.stackTaken(), Amf0Reader::maxDepth * 64); // or the probe does not work
    EXPECT_LT(stream.stackTaken(), 128U * 1024);
}

TEST(Amf0Reader, ValueNestedToTheLimitCanBeCopied) {
    const MetaDatum value = decode(nestedObjects(Amf0Reader::maxDepth - 1));
    const MetaDatum copy = value;
    EXPECT_EQ(boost::get<MetaObject>(copy).members.size(), 1U);
}
