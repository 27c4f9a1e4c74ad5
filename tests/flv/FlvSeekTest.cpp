#include "flv/FlvFileParserImpl.h"
#include "tests/flv/RecordingHandler.h"
#include "tests/support/FlvBuilder.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempFile.h"
#include "tests/support/Thrown.h"
#include "util/ErrorException.h"

#include <gtest/gtest.h>
#include <random>

namespace {

using namespace JY::Pictaro::Fs;
using JY::ErrorException;
using JY::Pictaro::TimePosition;
using JY::Test::AudioHandler;
using JY::Test::Bytes;
using JY::Test::FlvBuilder;
using JY::Test::LogCapture;
using JY::Test::RecordingHandler;
using JY::Test::TempFile;
using JY::Test::thrown;
using JY::Test::VideoHandler;
using Strings = std::vector<std::string>;

constexpr std::uint8_t h263 = 2;
constexpr std::uint8_t mp3Header = 0x2F;

/// A key frame every second, at 0, 1000, ... 4000 ms, other frames at 500 ms behind each, and audio 250 and 750 ms
/// behind each; in front of all metadata of time 0.
FlvBuilder fiveSeconds() {
    FlvBuilder builder;
    builder.onMetaData();
    for (std::uint32_t second = 0; second < 5; ++second) {
        const std::uint32_t time = second * 1000;
        builder.videoTag(time, FlvBuilder::key, h263, Bytes(20, 1))
            .audioTag(time + 250, mp3Header, Bytes(10, 2))
            .videoTag(time + 500, FlvBuilder::inter, h263, Bytes(10, 3))
            .audioTag(time + 750, mp3Header, Bytes(10, 4));
    }
    return builder;
}

enum class Handlers { none, audio, video, both };

/// A parser on a file of its own, with a logger.
class Seeking {
public:
    explicit Seeking(Handlers handlers, const FlvBuilder& builder = fiveSeconds())
        : temp_(builder.build()), parser(temp_.path()) {
        if (handlers == Handlers::audio || handlers == Handlers::both) {
            parser.addHandler(audio);
        }
        if (handlers == Handlers::video || handlers == Handlers::both) {
            parser.addHandler(video);
        }
    }

    /// Reads up to and with the first tag of a time or later.
    Seeking& readTo(std::uint32_t milliseconds) {
        while (parser.readOneTag() && parser.getPosition().microseconds() < milliseconds * 1000LL) {
        }
        return *this;
    }
    Seeking& seek(std::int64_t milliseconds) {
        parser.seekPosition(TimePosition(milliseconds * 1000));
        return *this;
    }
    /// The time of the tag that comes next (milliseconds).
    std::int64_t next() {
        parser.readOneTag();
        return parser.getPosition().microseconds() / 1000;
    }
    std::string thrownBySeek(std::int64_t milliseconds) {
        return thrown<ErrorException>([&] { seek(milliseconds); });
    }
    Strings messagesOfSeek(std::int64_t milliseconds) {
        const LogCapture log;
        seek(milliseconds);
        return log.messages();
    }

private:
    TempFile temp_;

public:
    FlvFileParserImpl parser;
    AudioHandler audio;
    VideoHandler video;
};

std::int64_t seekBack(Handlers handlers, std::uint32_t from, std::int64_t target) {
    return Seeking(handlers).readTo(from).seek(target).next();
}

std::int64_t seekForward(Handlers handlers, std::int64_t target) {
    return Seeking(handlers).readTo(250).seek(target).next();
}

} // namespace

TEST(FlvSeek, ToTheCurrentPositionDoesNotMoveTheFile) {
    const FlvBuilder builder = fiveSeconds();
    Seeking seeking(Handlers::both, builder);
    seeking.readTo(1000);
    seeking.parser.setFilePosition(builder.recordPosition(9)); // which a seek would leave
    EXPECT_EQ(seeking.messagesOfSeek(1000), Strings{"Requested seek position=1000000[microsec]"});
    EXPECT_EQ(seeking.next(), 2000);
}

TEST(FlvSeek, ToZeroBeforeAnythingIsReadDoesNotMoveTheFile) {
    Seeking seeking(Handlers::both);
    seeking.parser.setFilePosition(1 << 20); // where nothing can be read
    EXPECT_EQ(seeking.thrownBySeek(0), "nothing was thrown");
}

TEST(FlvSeek, ToTheInvalidTimeThrows) {
    Seeking seeking(Handlers::both);
    const LogCapture log;
    EXPECT_EQ(thrown<ErrorException>([&] { seeking.parser.seekPosition(TimePosition::invalid()); }),
              "Invalid value. @JY::Pictaro::TimePosition::checkIsValid:41");
    EXPECT_EQ(log.messages(), Strings{"Requested seek position=Invalid value."});
}

TEST(FlvSeek, DoesNotChangeThePosition) {
    Seeking seeking(Handlers::both);
    seeking.readTo(1000).seek(3000);
    EXPECT_EQ(seeking.parser.getPosition(), TimePosition(1000000));
}

TEST(FlvSeek, IsTracedByItsDirection) {
    Seeking seeking(Handlers::both);
    seeking.readTo(2000);
    const LogCapture log;
    seeking.seek(3000);
    EXPECT_EQ(log.count("ENTER: JY::Pictaro::Fs::FlvFileParserImpl::seekPosition"), 1U);
    EXPECT_EQ(log.count("ENTER: JY::Pictaro::Fs::FlvFileParserImpl::seekToForward"), 1U);
    EXPECT_EQ(log.count("ENTER: JY::Pictaro::Fs::FlvFileParserImpl::seekToBackward"), 0U);
    seeking.seek(1000);
    EXPECT_EQ(log.count("ENTER: JY::Pictaro::Fs::FlvFileParserImpl::seekToBackward"), 1U);
    EXPECT_EQ(log.find("Seeked position=").severity, JY::Log2::Severity::info);
    EXPECT_EQ(log.find("Requested seek position=").severity, JY::Log2::Severity::info);
    EXPECT_EQ(log.find("Seeked position=").file, "FlvFileParser");
}

TEST(FlvSeekBackward, LandsOnTheKeyFrameAtTheTarget) {
    EXPECT_EQ(seekBack(Handlers::video, 4500, 3000), 3000);
    EXPECT_EQ(seekBack(Handlers::both, 4500, 3000), 3000);
}

TEST(FlvSeekBackward, LandsOnTheLastKeyFrameBeforeTheTarget) {
    EXPECT_EQ(seekBack(Handlers::video, 4500, 2999), 2000);
    EXPECT_EQ(seekBack(Handlers::both, 4500, 3999), 3000);
}

TEST(FlvSeekBackward, WithOnlyAnAudioHandlerLandsOnTheLastTagOfAnyTypeAtOrBeforeTheTarget) {
    EXPECT_EQ(seekBack(Handlers::audio, 4500, 2500), 2500); // of video
    EXPECT_EQ(seekBack(Handlers::audio, 4500, 2749), 2500);
    EXPECT_EQ(seekBack(Handlers::audio, 4500, 2750), 2750);
}

TEST(FlvSeekBackward, WithoutHandlersLandsOnTheLastTagAtOrBeforeTheTarget) {
    EXPECT_EQ(seekBack(Handlers::none, 4500, 2600), 2500);
}

TEST(FlvSeekBackward, ToATimeBeforeTheFirstKeyFrameLandsOnTheFirstTagOfTheFile) {
    FlvBuilder builder;
    builder.audioTag(100, mp3Header, {1})
        .videoTag(200, FlvBuilder::inter, h263, {1})
        .videoTag(300, FlvBuilder::key, h263, {1})
        .videoTag(400, FlvBuilder::inter, h263, {1});
    EXPECT_EQ(Seeking(Handlers::video, builder).readTo(400).seek(250).next(), 100);
    EXPECT_EQ(Seeking(Handlers::video, builder).readTo(400).seek(0).next(), 100);
}

TEST(FlvSeekBackward, StartsFromWhereTheFileStands) {
    const FlvBuilder builder = fiveSeconds();
    Seeking seeking(Handlers::video, builder);
    seeking.readTo(4500);
    seeking.parser.setFilePosition(builder.recordPosition(9)); // the key frame at 2000 ms
    EXPECT_EQ(seeking.seek(3500).next(), 2000);
}

TEST(FlvSeekBackward, AtTheEndOfTheFileStartsFromTheLastTag) {
    Seeking seeking(Handlers::both);
    seeking.readTo(100000);
    EXPECT_EQ(seeking.seek(1500).next(), 1000);
}

TEST(FlvSeekBackward, RecordsEachStepAndTheTagChosen) {
    Seeking seeking(Handlers::video);
    seeking.readTo(2750); // the file stands at 3000 ms
    EXPECT_EQ(seeking.messagesOfSeek(2400),
              (Strings{"Requested seek position=2400000[microsec]", "seekSize=-26", "seekSize=-26", "seekSize=-26",
                       "seekSize=-36", "Seeked position=2000000[microsec]"}));
}

TEST(FlvSeekBackward, ReadsTagsOnFromWhereItLanded) {
    Seeking seeking(Handlers::both);
    seeking.readTo(4500).seek(1100);
    EXPECT_EQ(seeking.next(), 1000);
    EXPECT_EQ(seeking.next(), 1250);
    EXPECT_EQ(seeking.next(), 1500);
}

TEST(FlvSeekBackward, SecondSeekInARowComparesWithTheLastTagRead) {
    Seeking seeking(Handlers::both);
    seeking.readTo(4500).seek(1000);
    // The file stands at 1000 ms, but 3000 ms is still before the last tag read: the walk goes back from 1000 ms.
    EXPECT_EQ(seeking.seek(3000).next(), 1000);
}

TEST(FlvSeekBackward, SizeThatLeadsBeforeTheStartIsASeekError) {
    FlvBuilder builder;
    builder.videoTag(0, FlvBuilder::key, h263, {1})
        .withPreviousTagSize(1000)
        .videoTag(100, FlvBuilder::inter, h263, {1})
        .videoTag(200, FlvBuilder::inter, h263, {1});
    Seeking seeking(Handlers::video, builder);
    seeking.readTo(200);
    EXPECT_EQ(seeking.thrownBySeek(50), "Seek error. @FlvTag:91");
}

TEST(FlvSeekBackward, SizeThatIsWrongIsTrusted) {
    FlvBuilder builder;
    builder.videoTag(0, FlvBuilder::key, h263, {1})
        .videoTag(100, FlvBuilder::key, h263, {1})
        .withPreviousTagSize(13 + 17) // leads past the tag before it
        .videoTag(200, FlvBuilder::inter, h263, {1})
        .videoTag(300, FlvBuilder::inter, h263, {1});
    EXPECT_EQ(Seeking(Handlers::video, builder).readTo(300).seek(150).next(), 0);
}

TEST(FlvSeekForward, LandsOnTheKeyFrameAtTheTarget) {
    EXPECT_EQ(seekForward(Handlers::video, 3000), 3000);
    EXPECT_EQ(seekForward(Handlers::both, 3000), 3000);
}

TEST(FlvSeekForward, LandsOnTheFirstTagAfterTheTargetWhenThatIsAKeyFrame) {
    EXPECT_EQ(seekForward(Handlers::both, 2751), 3000);
}

TEST(FlvSeekForward, LandsOnTheLastKeyFrameBeforeTheTargetWhenTheTagAfterItIsNone) {
    EXPECT_EQ(seekForward(Handlers::both, 3001), 3000);
    EXPECT_EQ(seekForward(Handlers::both, 2750), 2000);
}

TEST(FlvSeekForward, WithoutHandlersLandsOnTheFirstTagAtOrAfterTheTarget) {
    EXPECT_EQ(seekForward(Handlers::none, 2250), 2250);
    EXPECT_EQ(seekForward(Handlers::none, 2251), 2500);
}

TEST(FlvSeekForward, WithOnlyAnAudioHandlerLandsOnTheFirstTagAtOrAfterTheTarget) {
    EXPECT_EQ(seekForward(Handlers::audio, 2251), 2500);
}

TEST(FlvSeekForward, WithinTheCurrentPictureGroupGoesBackToItsKeyFrame) {
    EXPECT_EQ(Seeking(Handlers::both).readTo(3000).seek(3250).next(), 3000);
}

TEST(FlvSeekForward, BehindTheEndLandsOnTheLastKeyFrame) {
    EXPECT_EQ(seekForward(Handlers::both, 100000), 4000);
    EXPECT_EQ(seekForward(Handlers::none, 100000), 4750);
}

TEST(FlvSeekForward, AtTheEndOfTheFileGoesBackToTheLastKeyFrame) {
    Seeking seeking(Handlers::both);
    seeking.readTo(100000);
    EXPECT_EQ(seeking.seek(100000).next(), 4000);
}

TEST(FlvSeekForward, WithoutAnyKeyFrameLandsOnTheFirstTagOfTheFile) {
    FlvBuilder builder;
    builder.audioTag(5, mp3Header, {1})
        .videoTag(100, FlvBuilder::inter, h263, {1})
        .videoTag(200, FlvBuilder::inter, h263, {1});
    EXPECT_EQ(Seeking(Handlers::video, builder).readTo(100).seek(200).next(), 5);
}

TEST(FlvSeekForward, FromBeforeTheFirstKeyFrameFindsOneOnTheWay) {
    FlvBuilder builder;
    builder.audioTag(5, mp3Header, {1})
        .videoTag(100, FlvBuilder::key, h263, {1})
        .videoTag(200, FlvBuilder::inter, h263, {1});
    Seeking seeking(Handlers::video, builder);
    EXPECT_EQ(seeking.seek(200).next(), 100);
}

TEST(FlvSeekForward, RecordsTheLastTagReadAndNotTheOneChosen) {
    Seeking seeking(Handlers::video);
    seeking.readTo(250); // the file stands at 500 ms
    EXPECT_EQ(seeking.messagesOfSeek(1750), (Strings{"Requested seek position=1750000[microsec]", "seekSize=-26",
                                                     "seekSize=-36", "Seeked position=1750000[microsec]"}));
    EXPECT_EQ(seeking.next(), 1000);
}

TEST(FlvSeekForward, SecondSeekInARowStartsFromWhereTheFirstLanded) {
    Seeking seeking(Handlers::both);
    seeking.readTo(250).seek(3000);
    EXPECT_EQ(seeking.seek(1000).next(), 3000); // at or after the target at once
}

TEST(FlvSeekForward, AfterAnIndexSeekWalksOnFromThere) {
    const FlvBuilder builder = fiveSeconds();
    Seeking seeking(Handlers::both, builder);
    seeking.parser.setFilePosition(builder.recordPosition(5)); // the key frame at 1000 ms
    EXPECT_EQ(seeking.seek(3200).next(), 3000);
}

TEST(FlvSeekForward, TargetWrapsLikeThePositionsOfTags) {
    EXPECT_EQ(Seeking(Handlers::both).readTo(250).seek(4294967 + 3000).next(), 3000); // 4294967 ms and 296 µs
}

TEST(FlvSeekBackward, NegativeTargetCountsAsItsLowestThirtyTwoBits) {
    // 4294966 ms, which no tag is later than: the last key frame at or before where the file stands.
    EXPECT_EQ(Seeking(Handlers::both).readTo(2500).seek(-1).next(), 2000);
}

TEST(FlvSeek, TooShortTagEndsTheWalk) {
    Seeking seeking(Handlers::both, fiveSeconds().strayBytes({0}));
    seeking.readTo(250);
    EXPECT_EQ(seeking.thrownBySeek(100000), "Too short FlvTag. @FlvTag:21");
}

TEST(FlvSeek, BodyIsNotFencedWhenAHandlerLooksAtATag) {
    FlvBuilder builder;
    builder.videoTag(0, FlvBuilder::key, h263, {})
        .videoTag(100, FlvBuilder::inter, h263, {})
        .tag(9, 200, {})                 // what follows is taken for its header
        .withPreviousTagSize(0x12000000) // which then says key frame
        .videoTag(300, FlvBuilder::inter, h263, {});
    EXPECT_EQ(Seeking(Handlers::video, builder).readTo(100).seek(200).next(), 200);
}

TEST(FlvSeek, VideoTagTooShortForItsHeaderAtTheEndOfTheFileEndsTheWalk) {
    FlvBuilder builder;
    builder.videoTag(0, FlvBuilder::key, h263, {}).tag(9, 100, {}).withoutTrailer();
    Seeking seeking(Handlers::video, builder);
    EXPECT_EQ(seeking.thrownBySeek(100), "Too short FlvVideoTag. @FlvVideoTag:13");
}

TEST(FlvSeek, AvcTagThatTheFileCutsInItsCompositionTimeIsLookedAtInTheWalk) {
    FlvBuilder builder;
    builder.videoTag(0, FlvBuilder::inter, h263, {}).tag(9, 100, {0x17, 1, 0}).withoutTrailer();
    Seeking seeking(Handlers::video, builder);
    EXPECT_EQ(seeking.thrownBySeek(100), "Too short FlvVideoTag. @FlvVideoTag:17");
}

TEST(FlvSeek, EncryptedTagsAreWalkedOver) {
    FlvBuilder builder;
    builder.videoTag(0, FlvBuilder::key, h263, {}).tag(0x29, 100, {1, 2}).videoTag(200, FlvBuilder::key, h263, {});
    EXPECT_EQ(Seeking(Handlers::video, builder).seek(200).next(), 200);
}

TEST(FlvSeek, ExceptionLeavesTheLockFree) {
    Seeking seeking(Handlers::both, fiveSeconds().strayBytes({0}));
    EXPECT_EQ(seeking.thrownBySeek(100000), "Too short FlvTag. @FlvTag:21");
    seeking.parser.setFilePosition(9);
    EXPECT_EQ(seeking.next(), 0);
}

TEST(FlvSeek, DamagedFilesEndInTheModulesOwnExceptions) {
    const FlvBuilder builder = fiveSeconds();
    const Bytes whole = builder.build();
    const auto firstMedia = static_cast<std::size_t>(builder.recordPosition(1));
    std::mt19937 random(20); // the same files in every run
    unsigned sound = 0;
    unsigned failed = 0;
    for (int round = 0; round < 1000; ++round) {
        Bytes damaged = whole;
        for (unsigned count = 1 + random() % 4; count != 0; --count) {
            damaged[firstMedia + random() % (damaged.size() - firstMedia)] = static_cast<std::uint8_t>(random());
        }
        const TempFile temp(damaged);
        FlvFileParserImpl parser(temp.path());
        AudioHandler audio;
        VideoHandler video;
        parser.addHandler(audio);
        parser.addHandler(video);
        try {
            for (unsigned step = 0; step < 4; ++step) {
                parser.readOneTag();
                parser.seekPosition(TimePosition(static_cast<std::int64_t>(random() % 6000) * 1000));
            }
            ++sound;
        } catch (const JY::Exception&) {
            ++failed;
        }
    }
    EXPECT_GT(sound, 100U);
    EXPECT_GT(failed, 100U);
}
