#include "flv/FlvFileParserImpl.h"
#include "tests/flv/RecordingHandler.h"
#include "tests/support/FileCalls.h"
#include "tests/support/FlvBuilder.h"
#include "tests/support/TempFile.h"

#include <gtest/gtest.h>
#include <memory>

// How often the system is asked on the way through a film: the greater part of what a tag costs.

namespace {

using namespace JY::Pictaro::Fs;
using JY::Pictaro::TimePosition;
using JY::Test::AudioHandler;
using JY::Test::Bytes;
using JY::Test::FileCalls;
using JY::Test::FlvBuilder;
using JY::Test::TempFile;
using JY::Test::VideoHandler;

constexpr unsigned pictures = 100;

/// A film of 100 pictures, one a second, each with a sound behind it. Every tenth is a key frame.
Bytes film(std::size_t pictureSize) {
    FlvBuilder builder;
    for (unsigned second = 0; second < pictures; ++second) {
        builder.videoTag(second * 1000, second % 10 == 0 ? FlvBuilder::key : FlvBuilder::inter, 2, Bytes(pictureSize));
        builder.mp3(second * 1000, Bytes(300));
    }
    return builder.build();
}

class FlvFileParserCallsTest : public testing::Test {
protected:
    void open(std::size_t pictureSize) {
        temp_.write(film(pictureSize));
        parser_ = std::make_unique<FlvFileParserImpl>(temp_.path());
        parser_->addHandler(audio_);
        parser_->addHandler(video_);
    }

    void readAll() {
        while (parser_->readOneTag()) {
        }
        EXPECT_EQ(video_.taken.size(), pictures);
        EXPECT_EQ(audio_.taken.size(), pictures);
    }

    TempFile temp_;
    AudioHandler audio_;
    VideoHandler video_;
    std::unique_ptr<FlvFileParserImpl> parser_;
};

} // namespace

TEST_F(FlvFileParserCallsTest, TagOfOrdinarySizeTakesOneReadAndAMove) {
    open(8'000);
    const FileCalls calls;
    readAll();
    EXPECT_LE(FileCalls::reads, 2 * pictures + 2);
    EXPECT_LE(FileCalls::moves, 2 * pictures + 2);
    EXPECT_LE(FileCalls::sizes, 2U);
}

TEST_F(FlvFileParserCallsTest, LargePictureIsReadStraightIntoItsPlace) {
    open(60'000);
    const FileCalls calls;
    readAll();
    EXPECT_LE(FileCalls::reads, 3 * pictures + 2);
    EXPECT_LE(FileCalls::sizes, pictures + 2);
}

TEST_F(FlvFileParserCallsTest, WalkForwardsTakesFarFewerCallsThanTags) {
    open(1'000);
    const FileCalls calls;
    parser_->seekPosition(TimePosition(99'000'000));
    EXPECT_LE(FileCalls::all(), pictures / 4);
    parser_->readOneTag();
    EXPECT_EQ(video_.times(), std::vector<std::uint32_t>{90'000});
}

TEST_F(FlvFileParserCallsTest, WalkBackwardsTakesFewerCallsThanTags) {
    open(1'000);
    readAll();
    video_.taken.clear();
    const FileCalls calls;
    parser_->seekPosition(TimePosition(5'000'000));
    EXPECT_LE(FileCalls::all(), pictures / 2);
    parser_->readOneTag();
    EXPECT_EQ(video_.times(), std::vector<std::uint32_t>{0});
}

TEST_F(FlvFileParserCallsTest, WalkOverLargePicturesReadsLittleOfThem) {
    open(60'000);
    const FileCalls calls;
    parser_->seekPosition(TimePosition(99'000'000));
    EXPECT_LE(FileCalls::reads, 2 * pictures + 10);
    EXPECT_LE(FileCalls::sizes, 2U);
}
