#include "streams/AacAudioDataHandler.h"
#include "streams/AudioDataHandlerFactory.h"
#include "streams/AvcVideoDataHandler.h"
#include "streams/Mp3AudioDataHandler.h"
#include "streams/VideoDataHandlerFactory.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <typeinfo>

namespace {

using namespace JY;
using namespace JY::Pictaro::Fs;
using Test::thrown;
using testing::StartsWith;

TEST(AudioDataHandlerFactory, MakesAnAacHandlerForCodec10) {
    const auto handler = AudioDataHandlerFactory::createAudioDataHandler(10);
    EXPECT_NE(dynamic_cast<AacAudioDataHandler*>(handler.get()), nullptr);
    EXPECT_TRUE(handler->fits(10));
    EXPECT_FALSE(handler->fits(2));
    EXPECT_EQ(handler->getLastTimePosition(), Pictaro::TimePosition(0));
}

TEST(AudioDataHandlerFactory, MakesAnMp3HandlerThatCarriesCodec10ForCodec2) {
    const auto handler = AudioDataHandlerFactory::createAudioDataHandler(2);
    EXPECT_NE(dynamic_cast<Mp3AudioDataHandler*>(handler.get()), nullptr);
    EXPECT_TRUE(handler->fits(10));
    EXPECT_FALSE(handler->fits(2));
    EXPECT_EQ(handler->getLastTimePosition(), Pictaro::TimePosition(0));
}

TEST(AudioDataHandlerFactory, RefusesEveryOtherCodec) {
    for (int codec = 0; codec <= 255; ++codec) {
        if (codec != 2 && codec != 10) {
            EXPECT_THAT(thrown<ApiErrorException>(
                            [&] { AudioDataHandlerFactory::createAudioDataHandler(static_cast<std::uint8_t>(codec)); }),
                        StartsWith("createAudioDataHandler: (0xc00d3e98) @AudioDataHandlerFactory:"))
                << codec;
        }
    }
}

TEST(VideoDataHandlerFactory, MakesAnAvcHandlerForCodec7) {
    const auto handler = VideoDataHandlerFactory::createVideoDataHandler(7);
    EXPECT_NE(dynamic_cast<AvcVideoDataHandler*>(handler.get()), nullptr);
    EXPECT_TRUE(handler->fits(7));
    EXPECT_FALSE(handler->fits(6));
    EXPECT_EQ(handler->getLastTimePosition(), Pictaro::TimePosition(0));
}

TEST(VideoDataHandlerFactory, RefusesEveryOtherCodec) {
    for (int codec = 0; codec <= 255; ++codec) {
        if (codec != 7) {
            EXPECT_THAT(thrown<ApiErrorException>(
                            [&] { VideoDataHandlerFactory::createVideoDataHandler(static_cast<std::uint8_t>(codec)); }),
                        StartsWith("createVideoDataHandler: (0xc00d3e98) @VideoDataHandlerFactory:"))
                << codec;
        }
    }
}

} // namespace
