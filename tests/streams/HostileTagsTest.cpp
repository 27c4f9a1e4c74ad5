#include "tests/streams/MediaFoundationCalls.h"
#include "tests/streams/StreamTest.h"
#include "tests/support/Allocations.h"
#include "util/ErrorException.h"

#include <windows.h>

#include <random>

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro::Fs;
using testing::ElementsAre;
using testing::StartsWith;

const Bytes slice = {0x65, 1, 2, 3, 4};
const Bytes mp3Frame = join({Mp3Header().bytes(), {1, 2, 3}});
constexpr std::uint32_t largestDataSize = 0xFFFFFF;
constexpr std::uint32_t parameterSetsSize = 15; ///< as FlvBuilder writes them, with their start codes
constexpr std::uint32_t startCodeSize = 3;

/// Both streams, as a source would have them.
class HostileTagsTest : public StreamTest {
protected:
    HostileTagsTest() {
        parser.addHandler(*audio.Get());
        parser.addHandler(*video.Get());
        takeBufferSizes();
    }

    /// What reading the whole file throws, if anything.
    std::string readAll(const Bytes& file) {
        parser.open(file);
        return thrown<ErrorException>([&] {
            while (parser.readOneTag()) {
            }
        });
    }
    /// What a configuration with too few parameter sets takes, beyond the file.
    std::uint64_t bytesTakenByConfiguration(const Bytes& file) {
        parser.open(file);
        std::string outcome;
        const Allocations taken =
            allocationsOf([&] { outcome = thrown<ErrorException>([&] { parser.readOneTag(); }); });
        EXPECT_THAT(outcome, StartsWith("Parse error. @AvcVideoDataHandler:"));
        return taken.bytes;
    }

    /// Streams that know nothing of the tags before.
    void makeStreamsAnew() {
        parser.clearHandler();
        audio = createStream<FlvAudioStream>();
        video = createStream<FlvVideoStream>();
        parser.addHandler(*audio.Get());
        parser.addHandler(*video.Get());
    }

    ComPtr<FlvAudioStream> audio = createStream<FlvAudioStream>();
    ComPtr<FlvVideoStream> video = createStream<FlvVideoStream>();
};

TEST_F(HostileTagsTest, TakeNoMemoryForANalUnitLongerThanItsTag) {
    for (const std::uint32_t length : {6U, 0x10000000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFECU, 0xFFFFFFFFU}) {
        const FlvBuilder file =
            FlvBuilder().avcSequenceHeader(0).avcPacket(0, FlvBuilder::key, 1, 0, join({bigEndian(length, 4), slice}));
        EXPECT_THAT(readAll(file.build()), StartsWith("Parse error. @AvcVideoDataHandler:")) << length;
        EXPECT_THAT(takeBufferSizes(), ElementsAre()) << length;
    }
}

TEST_F(HostileTagsTest, TakeNoMoreMemoryThanATagCanClaim) {
    constexpr std::uint32_t longest = largestDataSize - 5 - 4; // behind the media header and the length
    const auto file = [](std::uint32_t length) {
        return FlvBuilder()
            .avcSequenceHeader(0)
            .withDataSize(largestDataSize)
            .avcPacket(0, FlvBuilder::key, 1, 0, join({bigEndian(length, 4), slice}))
            .withoutTrailer()
            .build();
    };
    EXPECT_THAT(readAll(file(longest)), StartsWith("Parse error. @AvcVideoDataHandler:"));
    EXPECT_THAT(takeBufferSizes(), ElementsAre(parameterSetsSize + startCodeSize + longest));
    EXPECT_THAT(readAll(file(longest + 1)), StartsWith("Parse error. @AvcVideoDataHandler:"));
    EXPECT_THAT(takeBufferSizes(), ElementsAre());
    EXPECT_EQ(video->RequestSample(nullptr), E_FAIL);
}

TEST_F(HostileTagsTest, TakeNoMemoryForParameterSetsThatAreNotThere) {
    const Bytes config = {1, 66, 0, 30, 0xFF, 0xFF, 0xFF, 0xFF, 0x67, 1, 2};
    const Bytes file = FlvBuilder().avcPacket(0, FlvBuilder::key, 0, 0, config).build();
    const Bytes lying =
        FlvBuilder().withDataSize(largestDataSize).avcPacket(0, FlvBuilder::key, 0, 0, config).withoutTrailer().build();
    Log2::setCore(nullptr); // records kept for a test would count
    EXPECT_LT(bytesTakenByConfiguration(file), 0x4000U);
    EXPECT_LT(bytesTakenByConfiguration(lying), 0x4000U + 0xFFFF) << "one set of the largest size";
}

TEST_F(HostileTagsTest, MakeAnAudioSampleOfTheSizeThatTheTagClaims) {
    const FlvBuilder file = FlvBuilder().withDataSize(largestDataSize).aacRaw(0, {1, 2, 3}).withoutTrailer();
    EXPECT_EQ(readAll(file.build()), "nothing was thrown");
    EXPECT_THAT(takeBufferSizes(), ElementsAre(largestDataSize - 2));
    ASSERT_EQ(audio->RequestSample(nullptr), S_OK);
    const Bytes bytes = contentOf(*sampleOf(*nextEvent(*audio.Get()).Get()).Get()).bytes;
    ASSERT_EQ(bytes.size(), largestDataSize - 2);
    EXPECT_EQ(firstBytes(bytes, 4), (Bytes{1, 2, 3, 0}));
}

TEST_F(HostileTagsTest, MakeAnMp3SampleOfTheSizeThatTheTagClaims) {
    const FlvBuilder file =
        FlvBuilder().withDataSize(largestDataSize).mp3(0, join({{0x00, 0xFF, 0x00}, mp3Frame})).withoutTrailer();
    EXPECT_EQ(readAll(file.build()), "nothing was thrown");
    EXPECT_THAT(takeBufferSizes(), ElementsAre(largestDataSize - 1 - 3));
    ASSERT_EQ(audio->RequestSample(nullptr), S_OK);
    const Bytes bytes = contentOf(*sampleOf(*nextEvent(*audio.Get()).Get()).Get()).bytes;
    ASSERT_EQ(bytes.size(), largestDataSize - 1 - 3);
    EXPECT_EQ(firstBytes(bytes, 8), join({mp3Frame, {0}}));
}

TEST_F(HostileTagsTest, TakeNoMemoryForAnMp3TagWithoutAFrameSync) {
    for (const Bytes& payload : {Bytes{0xFF}, Bytes(70'000, 0), join({Bytes(5000, 0), {0xFF}})}) {
        EXPECT_THAT(readAll(FlvBuilder().mp3(0, payload).mp3(0, mp3Frame).build()), StartsWith("Parse error. @"));
        EXPECT_THAT(takeBufferSizes(), ElementsAre());
    }
    const FlvBuilder lying = FlvBuilder().withDataSize(largestDataSize).mp3(0, {0, 0xFF}).trailer({0xFB});
    EXPECT_THAT(readAll(lying.build()), StartsWith("Parse error. @Mp3FrameHeader:"));
    EXPECT_THAT(takeBufferSizes(), ElementsAre());
}

TEST_F(HostileTagsTest, GiveNoBytesOfTheNextTagAway) {
    // The audio tag claims two bytes fewer than it has, so that the next record is read from within it.
    const FlvBuilder file = FlvBuilder().withDataSize(3).aacRaw(0, {1, 2, 3});
    parser.open(file.build());
    parser.readOneTag();
    parser.open(FlvBuilder().onMetaData().build());
    ASSERT_EQ(audio->RequestSample(nullptr), S_OK);
    EXPECT_EQ(contentOf(*sampleOf(*nextEvent(*audio.Get()).Get()).Get()).bytes, Bytes{1});
}

TEST_F(HostileTagsTest, EndInAnErrorOrTheEndOfTheFileWhereverItIsCut) {
    const Bytes whole = FlvBuilder()
                            .onMetaData()
                            .avcSequenceHeader(0)
                            .aacSequenceHeader(0)
                            .avcNalus(0, FlvBuilder::key, {slice, slice})
                            .aacRaw(0, {1, 2, 3})
                            .mp3(0, mp3Frame)
                            .build();
    for (std::size_t size = 9; size < whole.size(); ++size) {
        const std::string outcome = readAll(firstBytes(whole, size));
        EXPECT_TRUE(outcome == "nothing was thrown" || outcome.starts_with("Too short") ||
                    outcome.starts_with("Parse error."))
            << size << ": " << outcome;
    }
}

TEST_F(HostileTagsTest, EndInAnExceptionOfTheModuleWhateverTheirBytesAre) {
    std::mt19937 random(20240229);
    const Bytes whole = FlvBuilder()
                            .avcSequenceHeader(0)
                            .aacSequenceHeader(0)
                            .avcNalus(0, FlvBuilder::key, {slice, slice})
                            .avcNalus(40, FlvBuilder::inter, {slice}, -80)
                            .aacRaw(0, {1, 2, 3})
                            .mp3(0, mp3Frame)
                            .build();
    for (int round = 0; round < 3000; ++round) {
        Bytes file = whole;
        for (int change = 0; change < 3; ++change) {
            file[9 + random() % (file.size() - 9)] = static_cast<std::uint8_t>(random());
        }
        parser.open(file);
        try {
            while (parser.readOneTag()) {
            }
        } catch (const Exception&) {
        }
        audio->purgeSamples();
        video->purgeSamples();
    }
    // An MP3 handler stays for AAC tags, so that these may end in an exception now.
    const Bytes good = FlvBuilder().avcSequenceHeader(0).avcNalus(0, FlvBuilder::key, {slice}).mp3(0, mp3Frame).build();
    EXPECT_EQ(readAll(good), "nothing was thrown") << "the streams must go on after bad tags";
    EXPECT_EQ(video->RequestSample(nullptr), S_OK);
}

TEST_F(HostileTagsTest, EndInAnExceptionOfTheModuleWhateverTheFirstFrameHeaderIs) {
    std::mt19937 random(20240301);
    const Bytes whole = FlvBuilder().mp3(0, join({{0, 0xFF, 0x1F}, mp3Frame})).mp3(26, mp3Frame).build();
    unsigned described = 0;
    for (int round = 0; round < 2000; ++round) {
        Bytes file = whole;
        for (int change = 0; change < 3; ++change) {
            file[9 + random() % (file.size() - 9)] = static_cast<std::uint8_t>(random());
        }
        makeStreamsAnew();
        parser.open(file);
        try {
            while (parser.readOneTag()) {
            }
        } catch (const Exception&) {
        }
        described += audio->hasStreamDescriptor() ? 1 : 0;
    }
    EXPECT_GT(described, 0U);
    EXPECT_LT(described, 2000U);
    makeStreamsAnew();
    EXPECT_EQ(readAll(whole), "nothing was thrown");
}

TEST_F(HostileTagsTest, EndInAnErrorOrTheEndOfTheFileWhereverMp3IsCut) {
    const Bytes whole = FlvBuilder().mp3(0, join({{0, 0xFF, 0x1F}, mp3Frame})).mp3(26, mp3Frame).build();
    for (std::size_t size = 9; size < whole.size(); ++size) {
        makeStreamsAnew();
        const std::string outcome = readAll(firstBytes(whole, size));
        EXPECT_TRUE(outcome == "nothing was thrown" || outcome.starts_with("Too short") ||
                    outcome.starts_with("Parse error."))
            << size << ": " << outcome;
    }
}

TEST_F(HostileTagsTest, GiveNoBytesOfTheNextTagToAnMp3Sample) {
    parser.open(FlvBuilder().withDataSize(1 + 5).mp3(0, mp3Frame).build());
    parser.readOneTag();
    parser.open(FlvBuilder().onMetaData().build());
    ASSERT_EQ(audio->RequestSample(nullptr), S_OK);
    EXPECT_EQ(contentOf(*sampleOf(*nextEvent(*audio.Get()).Get()).Get()).bytes, firstBytes(mp3Frame, 5));
}

} // namespace
