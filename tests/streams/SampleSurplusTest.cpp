#include "streams/AvcVideoDataHandler.h"
#include "streams/FlvStream.h"
#include "tests/streams/MediaFoundationCalls.h"
#include "tests/streams/StreamTest.h"
#include "util/ErrorException.h"

#include <numeric>

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro::Fs;
using testing::ElementsAre;

constexpr std::int64_t mostSurplus = FlvStream::maxSurplus;
constexpr const char* refusal = "Parse error. The queued samples repeat too much of earlier tags. @FlvStream";

/// The limit on what queued samples repeat.
class SampleSurplusTest : public StreamTest {
protected:
    SampleSurplusTest() {
        parser.addHandler(*audio.Get());
        parser.addHandler(*video.Get());
    }

    void queue(std::int64_t surplus) {
        ComPtr<IMFSample> sample;
        ASSERT_EQ(MFCreateSample(sample.GetAddressOf()), S_OK);
        video->queueSample(sample, surplus);
    }
    std::string room(std::int64_t surplus) {
        return thrownIn<ErrorException>([&] { video->requireRoom(surplus); });
    }
    /// How much of a surplus the queue still takes.
    void expectRoom(std::int64_t surplus) {
        EXPECT_EQ(room(surplus), "nothing was thrown");
        EXPECT_EQ(room(surplus + 1), refusal);
    }

    ComPtr<FlvAudioStream> audio = createStream<FlvAudioStream>();
    ComPtr<FlvVideoStream> video = createStream<FlvVideoStream>();
};

TEST_F(SampleSurplusTest, IsLimited) {
    expectRoom(mostSurplus);
    queue(1000);
    expectRoom(mostSurplus - 1000);
    queue(mostSurplus - 1000);
    expectRoom(0);
}

TEST_F(SampleSurplusTest, OfSamplesWithMoreOfTheirOwnMakesRoom) {
    queue(-5000);
    queue(2000);
    expectRoom(mostSurplus + 3000);
    EXPECT_EQ(room(std::numeric_limits<std::int32_t>::min()), "nothing was thrown");
}

TEST_F(SampleSurplusTest, IsThatOfEachStreamAlone) {
    queue(mostSurplus);
    EXPECT_NO_THROW(audio->requireRoom(mostSurplus));
}

TEST_F(SampleSurplusTest, GoesWithTheSampleThatIsDelivered) {
    queue(100);
    queue(mostSurplus - 100);
    ASSERT_EQ(video->RequestSample(nullptr), S_OK);
    expectRoom(100);
    ASSERT_EQ(video->RequestSample(nullptr), S_OK);
    expectRoom(mostSurplus);
}

TEST_F(SampleSurplusTest, GoesWithTheSamplesThatArePurged) {
    queue(mostSurplus);
    queue(-7);
    video->purgeSamples();
    expectRoom(mostSurplus);
}

TEST_F(SampleSurplusTest, GoesWithASampleThatTheEventQueueDoesNotTake) {
    queue(mostSurplus);
    video->shutdown();
    EXPECT_EQ(video->RequestSample(nullptr), MF_E_SHUTDOWN);
    video->detachFromSource();
    expectRoom(mostSurplus);
}

// What the video handler makes of it.

const Bytes set = Bytes(0xFFFF, 0x67);
constexpr unsigned setCount = 4;
constexpr std::uint32_t setsSize = setCount * (0xFFFF + 3);

AvcConfig largeConfig() {
    AvcConfig config;
    config.naluLengthSize = 1;
    config.sps = std::vector<Bytes>(setCount, set);
    config.pps = {};
    return config;
}

Bytes units(std::size_t count) {
    Bytes payload;
    for (; count != 0; --count) {
        payload.insert(payload.end(), {2, 0x65, 0x88});
    }
    return payload;
}

std::uint64_t sum(const std::vector<DWORD>& sizes) {
    return std::accumulate(sizes.begin(), sizes.end(), std::uint64_t{0});
}

TEST_F(SampleSurplusTest, OfAFileWithManyUnitsBehindLargeParameterSetsEndsTheRequest) {
    constexpr std::size_t fitting = mostSurplus / (setsSize - 2);
    parser.open(FlvBuilder()
                    .avcSequenceHeader(0, largeConfig())
                    .avcPacket(0, FlvBuilder::key, 1, 0, units(10'000)) // 2.6 GB of samples
                    .build());
    takeBufferSizes();
    EXPECT_EQ(video->RequestSample(nullptr), E_FAIL);
    EXPECT_LE(sum(takeBufferSizes()), static_cast<std::uint64_t>(mostSurplus) + 5 * fitting);
    EXPECT_TRUE(log.contains(refusal));
    for (std::size_t sample = 0; sample < fitting; ++sample) { // what was queued is delivered
        ASSERT_EQ(video->RequestSample(nullptr), S_OK) << sample;
    }
    expectRoom(mostSurplus);
}

TEST_F(SampleSurplusTest, LeavesNothingBehindThatALaterTagTripsOver) {
    const Bytes many =
        FlvBuilder().avcSequenceHeader(0, largeConfig()).avcPacket(0, FlvBuilder::key, 1, 0, units(1000)).build();
    const Bytes few = FlvBuilder().avcPacket(0, FlvBuilder::key, 1, 0, units(2)).onMetaData().build();
    parser.open(many);
    EXPECT_EQ(audio->RequestSample(nullptr), E_FAIL); // fills the other stream's queue on its way
    parser.open(few);
    EXPECT_EQ(audio->RequestSample(nullptr), E_FAIL) << "the queue is full";
    video->purgeSamples();
    parser.open(few);
    EXPECT_EQ(video->RequestSample(nullptr), S_OK);
    EXPECT_EQ(contentOf(*sampleOf(*nextEvent(*video.Get()).Get()).Get()).bytes.size(), setsSize + 3 + 2);
    parser.open(few);
    EXPECT_EQ(audio->RequestSample(nullptr), MF_E_END_OF_STREAM);
}

class UnitSurplusTest : public HandlerTest<AvcVideoDataHandler, FlvVideoTag> {};

TEST_F(UnitSurplusTest, IsTheParameterSetsLessTheUnitOnKeyFrames) {
    handle(FlvBuilder().avcSequenceHeader(0));
    handle(FlvBuilder().avcNalus(0, FlvBuilder::key, {{0x65, 1, 2, 3, 4}, Bytes(100, 0x65)}));
    EXPECT_THAT(stream->surpluses, ElementsAre(15 - 5, 15 - 100));
}

TEST_F(UnitSurplusTest, IsLessThanNothingOnOtherFrames) {
    handle(FlvBuilder().avcSequenceHeader(0));
    handle(FlvBuilder().avcNalus(0, FlvBuilder::inter, {Bytes(6, 0x41), Bytes(100, 0x41)}));
    EXPECT_THAT(stream->surpluses, ElementsAre(-6, -100));
}

// A client that takes only the sounds of a film has all its pictures in the queue: larger parameter sets than any real
// ones, of more than the limit altogether, are no hindrance.
TEST_F(SampleSurplusTest, OfARealFilmIsNoneHoweverLongItsQueueGrows) {
    AvcConfig config;
    config.sps = {Bytes(400, 0x67)};
    const FlvBuilder header = FlvBuilder().avcSequenceHeader(0, config);
    parser.open(header.build());
    parser.readOneTag();
    const Bytes pictures =
        FlvBuilder().avcNalus(0, FlvBuilder::key, std::vector<Bytes>(200, Bytes(500, 0x65))).onMetaData().build();
    for (std::int64_t repeated = 0; repeated <= mostSurplus; repeated += 200 * 410) {
        parser.open(pictures);
        ASSERT_TRUE(parser.readOneTag());
    }
    EXPECT_EQ(room(mostSurplus), "nothing was thrown");
}

} // namespace
