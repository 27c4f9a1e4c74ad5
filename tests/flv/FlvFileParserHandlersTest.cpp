// What the parser's handlers find, and what they may do.

#include "flv/FlvFileParserImpl.h"
#include "tests/flv/FunctionHandler.h"
#include "tests/flv/RecordingHandler.h"
#include "tests/support/FlvBuilder.h"
#include "tests/support/TempFile.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace JY::Pictaro::Fs;
using JY::Pictaro::TimePosition;
using JY::Test::AudioHandler;
using JY::Test::Bytes;
using JY::Test::FlvBuilder;
using JY::Test::FunctionHandler;
using JY::Test::RecordingHandler;
using JY::Test::TempFile;
using Times = std::vector<std::uint32_t>;

constexpr std::uint8_t h263 = 2;
constexpr std::int64_t recordSize = 15;

/// Where a tag is and where the stream stands.
struct Place {
    std::int64_t record;
    std::int64_t stream;
    std::int64_t remaining;

    friend bool operator==(const Place&, const Place&) = default;
};

/// The next bytes, `piece` at a time; fewer than `size` when a read gives fewer than it was asked for.
Bytes bodyInPieces(JY::Stream& stream, std::uint32_t size, std::uint32_t piece) {
    Bytes body(size);
    std::uint32_t done = 0;
    for (std::uint32_t count = 0; done != size; done += count) {
        count = std::min(piece, size - done);
        if (stream.read(body.data() + done, count) != count) {
            break;
        }
    }
    body.resize(done);
    return body;
}

class FlvFileParserHandlers : public testing::Test {
protected:
    void open(const FlvBuilder& builder) {
        temp.write(builder.build());
        parser = std::make_unique<FlvFileParserImpl>(temp.path());
        parser->addHandler(audio);
    }

    TempFile temp;
    std::unique_ptr<FlvFileParserImpl> parser;
    AudioHandler audio;
};

} // namespace

TEST_F(FlvFileParserHandlers, HandlerFindsTheStreamAtTheFirstByteOfItsTagsBody) {
    FlvBuilder builder;
    builder.onMetaData().mp3(0, {1, 2}).videoTag(10, FlvBuilder::key, h263, Bytes(70'000, 3)).mp3(20, {});
    std::vector<Place> places;
    FunctionHandler handler([&](JY::Stream& stream, const FlvTag& tag) {
        EXPECT_TRUE(tag.isRead());
        places.push_back({tag.recordPosition(), stream.tell(), stream.remaining()});
        return false;
    });
    open(builder);
    parser->clearHandler();
    parser->addHandler(handler);
    while (parser->readOneTag()) {
    }
    const auto size = static_cast<std::int64_t>(builder.build().size());
    ASSERT_EQ(places.size(), 4U);
    for (std::size_t index = 0; index < 4; ++index) {
        const std::int64_t record = builder.recordPosition(index);
        EXPECT_EQ(places[index], (Place{record, record + recordSize, size - record - recordSize})) << index;
    }
}

TEST_F(FlvFileParserHandlers, HandlerThatLooksAtATagFindsTheStreamAtTheFirstByteOfItsBody) {
    FlvBuilder builder;
    builder.mp3(0, {1}).mp3(10, Bytes(5000, 2)).mp3(20, {3, 4});
    open(builder);
    std::vector<std::int64_t> places;
    audio.isSeekPoint = [&](JY::Stream& stream, const FlvTag& tag) {
        EXPECT_EQ(stream.tell(), tag.recordPosition() + recordSize);
        places.push_back(tag.recordPosition());
        return true;
    };
    parser->seekPosition(TimePosition(20'000));
    EXPECT_EQ(places, (std::vector<std::int64_t>{builder.recordPosition(0), builder.recordPosition(0),
                                                 builder.recordPosition(1), builder.recordPosition(2)}));
}

TEST_F(FlvFileParserHandlers, HandlerMayReadItsTagInAnyOrder) {
    open(FlvBuilder().mp3(0, {1, 2, 3, 4}).mp3(10, {5}));
    std::vector<Bytes> pieces;
    audio.onHandle = [&](JY::Stream& stream) {
        const std::int64_t start = stream.tell();
        const auto read = [&](std::uint32_t count) {
            Bytes piece(count);
            piece.resize(stream.read(piece.data(), count));
            pieces.push_back(piece);
        };
        stream.seek(start + 3);
        read(2);
        EXPECT_EQ(stream.tell(), start + 5);
        stream.skip(-4);
        read(2);
        read(3); // one more than is left
        EXPECT_EQ(stream.tell(), start + 3);
        EXPECT_FALSE(stream.skip(3));
        stream.seek(start);
    };
    parser->readOneTag();
    EXPECT_EQ(pieces, (std::vector<Bytes>{{3, 4}, {1, 2}, {}}));
    EXPECT_EQ(audio.taken.at(0).body, (Bytes{0x2F, 1, 2, 3, 4}));
    audio.onHandle = nullptr;
    parser->readOneTag();
    EXPECT_EQ(audio.times(), (Times{0, 10}));
}

TEST_F(FlvFileParserHandlers, HandlerMayLeaveTheStreamAnywhere) {
    for (const std::int64_t place : {0LL, 9LL, 30LL, 1LL << 30}) {
        audio.taken.clear();
        open(FlvBuilder().mp3(0, {1, 2, 3}).mp3(10, {4}).mp3(20, {5}));
        audio.isSeekPoint = [&](JY::Stream& stream, const FlvTag&) { return stream.seek(place); };
        FunctionHandler wanderer([&](JY::Stream& stream, const FlvTag&) { return stream.seek(place); });
        parser->clearHandler();
        parser->addHandler(wanderer);
        EXPECT_TRUE(parser->readOneTag());
        parser->clearHandler();
        parser->addHandler(audio);
        EXPECT_TRUE(parser->readOneTag());
        parser->seekPosition(TimePosition(20'000)); // with a handler that moves the stream, too
        EXPECT_FALSE(parser->readOneTag());
        EXPECT_EQ(audio.times(), (Times{10, 20})) << place;
    }
}

TEST_F(FlvFileParserHandlers, BodiesOfManySizesAreReadInManyPieces) {
    FlvBuilder builder;
    std::vector<Bytes> bodies;
    std::uint8_t next = 0;
    for (const std::size_t size :
         {0, 1, 14, 15, 16, 511, 512, 1023, 4080, 4081, 4095, 4096, 4097, 8191, 65535, 65536, 65537, 300'000}) {
        Bytes body(size);
        for (std::uint8_t& byte : body) {
            byte = next++;
        }
        next = static_cast<std::uint8_t>(next + 7);
        builder.tag(TagType::audio, static_cast<std::uint32_t>(bodies.size()), body);
        bodies.push_back(body);
    }
    open(builder);
    for (const std::uint32_t piece : {1U, 7U, 4096U, 1000U * 1000U}) {
        std::vector<Bytes> read;
        FunctionHandler handler([&](JY::Stream& stream, const FlvTag& tag) {
            read.push_back(bodyInPieces(stream, tag.getDataSize(), piece));
            return true;
        });
        parser->clearHandler();
        parser->addHandler(handler);
        parser->setFilePosition(9);
        while (parser->readOneTag()) {
        }
        EXPECT_TRUE(read == bodies) << piece;
    }
}

TEST_F(FlvFileParserHandlers, BackwardWalkDoesNotLookAtTagsThatAreTooLate) {
    open(FlvBuilder().mp3(10, {1}).mp3(20, {2}).mp3(30, {3}).mp3(40, {4}));
    while (parser->readOneTag()) {
    }
    Times looked;
    audio.isSeekPoint = [&](JY::Stream&, const FlvTag& tag) {
        looked.push_back(tag.getTimestamp());
        return tag.getTimestamp() < 20;
    };
    parser->seekPosition(TimePosition(25'000));
    EXPECT_EQ(looked, (Times{20, 10}));
}

TEST_F(FlvFileParserHandlers, HandlersLookAtATagInTheirOrderUntilOneDeclines) {
    open(FlvBuilder().mp3(10, {1}).mp3(20, {2}));
    RecordingHandler second(TagType::video);
    RecordingHandler third(TagType::video);
    parser->addHandler(second);
    parser->addHandler(third);
    std::string looked;
    audio.isSeekPoint = [&](auto&, auto&) {
        looked += '1';
        return true;
    };
    second.isSeekPoint = [&](auto&, auto& tag) {
        looked += '2';
        return tag.getTimestamp() == 20;
    };
    third.isSeekPoint = [&](auto&, auto&) {
        looked += '3';
        return true;
    };
    parser->seekPosition(TimePosition(20'000));
    EXPECT_EQ(looked, "12" // the first tag, from which nothing leads back
                      "12" // the same as the first of the walk
                      "123");
    parser->readOneTag();
    EXPECT_EQ(audio.times(), Times{20});
}
