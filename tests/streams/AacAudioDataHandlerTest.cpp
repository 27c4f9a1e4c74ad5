#include "streams/AacAudioDataHandler.h"

#include "tests/streams/MediaFoundationCalls.h"
#include "tests/streams/StreamTest.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"

#include <iterator>
#include <wmcodecdsp.h>

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro::Fs;
using Log2::Severity;
using Pictaro::TimePosition;
using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;

constexpr std::uint8_t aac16Bit = 0xAF; ///< the audio header byte of AAC with the sample-size bit
constexpr std::uint8_t aac8Bit = 0xAD;

/// A stream that gives no more bytes after a number of reads.
class EndingReads final : public Stream {
public:
    EndingReads(const Bytes& bytes, unsigned reads) : bytes_(bytes), readsLeft_(reads) {}

    std::uint32_t read(void* buffer, std::uint32_t count) override {
        if (readsLeft_ == 0) {
            return 0;
        }
        --readsLeft_;
        return bytes_.read(buffer, count);
    }
    bool skip(std::int64_t offset) override { return bytes_.skip(offset); }
    std::int64_t tell() override { return bytes_.tell(); }
    bool seek(std::int64_t position) override { return bytes_.seek(position); }
    std::int64_t setLimit(std::int64_t offset) override { return bytes_.setLimit(offset); }
    std::int64_t remaining() override { return bytes_.remaining(); }
    std::int64_t clearLimit() override { return bytes_.clearLimit(); }

private:
    MemoryStream bytes_;
    unsigned readsLeft_;
};

class AacAudioDataHandlerTest : public HandlerTest<AacAudioDataHandler, FlvAudioTag> {
protected:
    /// What handling a sequence header of these bytes throws.
    std::string errorOf(const Bytes& config) {
        return thrown<ErrorException>([&] { handle(FlvBuilder().aacPacket(0, 0, config)); });
    }
    static Bytes config(unsigned frequencyIndex, unsigned channelConfiguration) {
        AacConfig fields;
        fields.frequencyIndex = frequencyIndex;
        fields.channelConfiguration = channelConfiguration;
        return fields.bytes();
    }
    /// The rate and the channels of a media type, and its channel mask.
    std::vector<UINT32> formatOf(const Bytes& configuration) {
        handle(FlvBuilder().aacPacket(0, 0, configuration));
        const ComPtr<IMFMediaType> type = mediaType();
        return {uint32Of(*type.Get(), MF_MT_AUDIO_SAMPLES_PER_SECOND), uint32Of(*type.Get(), MF_MT_AUDIO_NUM_CHANNELS),
                uint32Of(*type.Get(), MF_MT_AUDIO_CHANNEL_MASK)};
    }
};

// Sequence header

TEST_F(AacAudioDataHandlerTest, TurnsASequenceHeaderIntoAMediaType) {
    handle(FlvBuilder().aacSequenceHeader(0));
    const ComPtr<IMFMediaType> type = mediaType();
    EXPECT_EQ(guidOf(*type.Get(), MF_MT_MAJOR_TYPE), MFMediaType_Audio);
    const GUID rawAac = {0x000000FF, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
    EXPECT_EQ(guidOf(*type.Get(), MF_MT_SUBTYPE), rawAac);
    EXPECT_EQ(uint32Of(*type.Get(), MF_MT_AAC_AUDIO_PROFILE_LEVEL_INDICATION), 0U);
    EXPECT_EQ(uint32Of(*type.Get(), MF_MT_AAC_PAYLOAD_TYPE), 0U);
    EXPECT_EQ(uint32Of(*type.Get(), MF_MT_AUDIO_BITS_PER_SAMPLE), 8U);
    EXPECT_EQ(uint32Of(*type.Get(), MF_MT_AUDIO_CHANNEL_MASK), 3U);
    EXPECT_EQ(uint32Of(*type.Get(), MF_MT_AUDIO_NUM_CHANNELS), 2U);
    EXPECT_EQ(uint32Of(*type.Get(), MF_MT_AUDIO_SAMPLES_PER_SECOND), 44100U);
    EXPECT_EQ(blobOf(*type.Get(), MF_MT_USER_DATA), (Bytes{0x12, 0x10}));
    EXPECT_EQ(attributeCount(*type.Get()), 9U);
}

TEST_F(AacAudioDataHandlerTest, RecordsEachAttributeInOrder) {
    handle(FlvBuilder().aacSequenceHeader(0));
    EXPECT_THAT(log.messages(true),
                ElementsAre("ENTER: JY::Pictaro::Fs::AacAudioDataHandler::readAacSequenceHeader",
                            "ENTER: JY::Pictaro::Fs::AacAudioDataHandler::createAacMediaType",
                            "MF_MT_MAJOR_TYPE=MFMediaType_Audio", "MF_MT_SUBTYPE=MEDIASUBTYPE_RAW_AAC1",
                            "MF_MT_AAC_AUDIO_PROFILE_LEVEL_INDICATION=0", "MF_MT_AAC_PAYLOAD_TYPE=0",
                            "MF_MT_AUDIO_BITS_PER_SAMPLE8", "MF_MT_AUDIO_CHANNEL_MASK3", "MF_MT_AUDIO_NUM_CHANNELS=2",
                            "MF_MT_AUDIO_SAMPLES_PER_SECOND=44100",
                            "MF_MT_USER_DATA=\n    12 10 " + std::string(42, ' ') + "..",
                            "EXIT: JY::Pictaro::Fs::AacAudioDataHandler::createAacMediaType",
                            "EXIT: JY::Pictaro::Fs::AacAudioDataHandler::readAacSequenceHeader"));
    for (const CapturedRecord& record : log.records()) {
        EXPECT_EQ(record.file, "AacAudioDataHandler");
        const bool isTrace = record.message.starts_with("ENTER: ") || record.message.starts_with("EXIT: ");
        EXPECT_EQ(record.severity, isTrace ? Severity::trace : Severity::info) << record.message;
    }
}

TEST_F(AacAudioDataHandlerTest, NamesTheMediaTypeThatCannotBeMade) {
    const MediaFoundationFault fault(MediaFoundationCall::createMediaType, E_UNEXPECTED);
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { handle(FlvBuilder().aacSequenceHeader(0)); }),
              "MFCreateMediaType: (0x8000ffff) @AacAudioDataHandler");
    EXPECT_TRUE(stream->descriptors.empty());
}

TEST_F(AacAudioDataHandlerTest, NamesTheAttributeThatCannotBeSet) {
    const char* const names[] = {"SetGUID(MF_MT_MAJORT_TYPE)",
                                 "SetGUID(MF_MT_SUBTYPE)",
                                 "SetUINT32(MF_MF_AAC_AUDIO_PROFILE_LEVEL_INDICATION)",
                                 "SetUINT32(MF_MT_AAC_PAYLOAD_TYPE)",
                                 "SetUINT32(MF_MT_AUDIO_BITS_PER_SAMPLE)",
                                 "SetUINT32(MF_MT_AUDIO_CHANNEL_MASK)",
                                 "SetUINT32(MF_MT_AUDIO_NUM_CHANNELS)",
                                 "SetUINT32(MF_MT_AUDIO_SAMPLES_PER_SECOND)",
                                 "SetBlob(MF_MT_USER_DATA)"};
    for (unsigned row = 0; row < std::size(names); ++row) {
        log.clear();
        const MediaFoundationFault fault(MediaFoundationCall::setAttribute, E_UNEXPECTED, row);
        EXPECT_EQ(thrownIn<ApiErrorException>([&] { handle(FlvBuilder().aacSequenceHeader(0)); }),
                  std::string(names[row]) + ": (0x8000ffff) @AacAudioDataHandler");
        EXPECT_EQ(log.messages().size(), row) << "one for each attribute that has been set";
        EXPECT_TRUE(stream->descriptors.empty());
    }
}

TEST_F(AacAudioDataHandlerTest, CutsTheDumpOfTheUserData) {
    source->numDumpBin = 1;
    handle(FlvBuilder().aacSequenceHeader(0));
    EXPECT_EQ(log.count("MF_MT_USER_DATA=\n    12 " + std::string(45, ' ') + "."), 1U);
    EXPECT_EQ(blobOf(*mediaType().Get(), MF_MT_USER_DATA), (Bytes{0x12, 0x10}));
}

TEST_F(AacAudioDataHandlerTest, PublishesADescriptorWithTheStreamsIdentifier) {
    handle(FlvBuilder().aacSequenceHeader(0));
    ASSERT_EQ(stream->descriptors.size(), 1U);
    DWORD id = 0;
    EXPECT_EQ(stream->descriptors[0]->GetStreamIdentifier(&id), S_OK);
    EXPECT_EQ(id, RecordingStream::id);
    ComPtr<IMFMediaTypeHandler> types;
    ASSERT_EQ(stream->descriptors[0]->GetMediaTypeHandler(types.GetAddressOf()), S_OK);
    DWORD count = 0;
    EXPECT_EQ(types->GetMediaTypeCount(&count), S_OK);
    EXPECT_EQ(count, 1U);
    EXPECT_TRUE(stream->samples.empty());
}

TEST_F(AacAudioDataHandlerTest, ReplacesTheDescriptorWithALaterSequenceHeader) {
    handle(FlvBuilder().aacPacket(0, 0, config(4, 2)));
    handle(FlvBuilder().aacPacket(0, 0, config(3, 6)));
    EXPECT_EQ(stream->descriptors.size(), 2U);
    EXPECT_EQ(uint32Of(*mediaType().Get(), MF_MT_AUDIO_SAMPLES_PER_SECOND), 48000U);
}

TEST_F(AacAudioDataHandlerTest, TakesASetSampleSizeBitFor8BitsAndAClearOneFor16) {
    handle(FlvBuilder().audioTag(0, aac16Bit, join({{0}, config(4, 2)})));
    EXPECT_EQ(uint32Of(*mediaType().Get(), MF_MT_AUDIO_BITS_PER_SAMPLE), 8U);
    handle(FlvBuilder().audioTag(0, aac8Bit, join({{0}, config(4, 2)})));
    EXPECT_EQ(uint32Of(*mediaType().Get(), MF_MT_AUDIO_BITS_PER_SAMPLE), 16U);
    EXPECT_EQ(log.count("MF_MT_AUDIO_BITS_PER_SAMPLE16"), 1U);
}

TEST_F(AacAudioDataHandlerTest, KnowsTheRateOfEachFrequencyIndex) {
    const UINT32 rates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000, 7350, 0};
    for (unsigned index = 0; index < std::size(rates); ++index) {
        EXPECT_THAT(formatOf(config(index, 2)), ElementsAre(rates[index], 2U, 3U)) << index;
    }
}

TEST_F(AacAudioDataHandlerTest, KnowsTheChannelsAndTheMaskOfEachChannelConfiguration) {
    const UINT32 channels[] = {0, 1, 2, 3, 4, 5, 6, 8};
    const UINT32 masks[] = {0, 4, 3, 7, 263, 55, 63, 1599};
    for (unsigned index = 0; index < std::size(channels); ++index) {
        EXPECT_THAT(formatOf(config(4, index)), ElementsAre(44100U, channels[index], masks[index])) << index;
    }
}

TEST_F(AacAudioDataHandlerTest, RefusesChannelConfigurationsWithoutAnEntry) {
    for (unsigned configuration = 8; configuration < 16; ++configuration) {
        log.clear();
        EXPECT_THAT(errorOf(config(4, configuration)), StartsWith("Out of range. @AacAudioDataHandler:"))
            << configuration;
        EXPECT_TRUE(log.contains("MF_MT_AUDIO_BITS_PER_SAMPLE"));
        EXPECT_FALSE(log.contains("MF_MT_AUDIO_CHANNEL_MASK"));
    }
    EXPECT_TRUE(stream->descriptors.empty());
}

TEST_F(AacAudioDataHandlerTest, RefusesFrequencyIndexesWithoutAnEntry) {
    EXPECT_THAT(errorOf(config(14, 2)), StartsWith("Out of range. @AacAudioDataHandler:"));
    EXPECT_TRUE(log.contains("MF_MT_AUDIO_NUM_CHANNELS=2"));
    EXPECT_FALSE(log.contains("MF_MT_AUDIO_SAMPLES_PER_SECOND"));
    EXPECT_TRUE(stream->descriptors.empty());
}

TEST_F(AacAudioDataHandlerTest, SkipsAnExplicitFrequencyBeforeItRefusesIt) {
    // Object type 2, index 15, the frequency 0xABCDEF, channel configuration 2.
    const Bytes explicitFrequency = {0x17, 0xD5, 0xE6, 0xF7, 0x90};
    EXPECT_THAT(errorOf(explicitFrequency), StartsWith("Out of range. @AacAudioDataHandler:"));
    EXPECT_TRUE(log.contains("MF_MT_AUDIO_NUM_CHANNELS=2"));
    EXPECT_THAT(errorOf(firstBytes(explicitFrequency, 4)), StartsWith("Parse error. @AacAudioDataHandler:"));
}

TEST_F(AacAudioDataHandlerTest, IgnoresTheObjectType) {
    handle(FlvBuilder().aacPacket(0, 0, {0xFA, 0x10})); // 31, the escape value
    EXPECT_EQ(uint32Of(*mediaType().Get(), MF_MT_AUDIO_SAMPLES_PER_SECOND), 44100U);
}

TEST_F(AacAudioDataHandlerTest, IgnoresWhatFollowsTheFirstTwoBytes) {
    AacConfig extended;
    extended.extension = {0x56, 0xE5, 0x00};
    handle(FlvBuilder().aacSequenceHeader(0, extended));
    EXPECT_EQ(blobOf(*mediaType().Get(), MF_MT_USER_DATA), (Bytes{0x12, 0x10}));
}

TEST_F(AacAudioDataHandlerTest, RefusesASequenceHeaderThatIsCut) {
    EXPECT_THAT(errorOf({}), StartsWith("Parse error. @AacAudioDataHandler:"));
    EXPECT_THAT(errorOf({0x12}), StartsWith("Parse error. @AacAudioDataHandler:"));
    EXPECT_TRUE(stream->descriptors.empty());
}

TEST_F(AacAudioDataHandlerTest, DoesNotReadTheNextTagForASequenceHeaderThatIsCut) {
    EXPECT_THAT(thrown<ErrorException>([&] {
                    handle(FlvBuilder().aacPacket(0, 0, {0x12}).aacRaw(0, {1, 2}));
                }),
                StartsWith("Parse error."));
}

TEST_F(AacAudioDataHandlerTest, NamesTheByteOfTheHeaderThatCannotBeReadAgain) {
    const Bytes file = FlvBuilder().aacSequenceHeader(0).build();
    constexpr unsigned readsBefore = 4; // the tag, the two bytes in front of the payload, the configuration
    EndingReads withoutFirst(file, readsBefore);
    EXPECT_THAT(thrown<ErrorException>([&] { handle(withoutFirst); }),
                StartsWith("AacHeader[0] @AacAudioDataHandler:"));
    EndingReads withoutSecond(file, readsBefore + 1);
    EXPECT_THAT(thrown<ErrorException>([&] { handle(withoutSecond); }),
                StartsWith("AacHeader[1] @AacAudioDataHandler:"));
}

TEST_F(AacAudioDataHandlerTest, RefusesAStreamThatCannotGoBack) {
    MemoryStream file(FlvBuilder().aacSequenceHeader(0).build());
    file.failMovesAfter(1);
    EXPECT_THAT(thrown<ErrorException>([&] { handle(file); }), StartsWith("Seek error. @AacAudioDataHandler:"));
}

// Raw frames

TEST_F(AacAudioDataHandlerTest, RecordsARawFrame) {
    handle(FlvBuilder().aacRaw(40, characters("AB")));
    EXPECT_THAT(log.messages(true),
                ElementsAre("ENTER: JY::Pictaro::Fs::AacAudioDataHandler::readAacRawData", "AacRawSize=2",
                            "AudioData(2)=\n    41 42 " + std::string(42, ' ') + "AB",
                            "EXIT: JY::Pictaro::Fs::AacAudioDataHandler::readAacRawData"));
}

TEST_F(AacAudioDataHandlerTest, KeepsItsTimeOverASequenceHeader) {
    handle(FlvBuilder().aacRaw(20, {1}));
    handle(FlvBuilder().aacSequenceHeader(30));
    EXPECT_EQ(handler.getLastTimePosition(), TimePosition(20'000));
    handle(FlvBuilder().aacRaw(50, {1}));
    EXPECT_EQ(stream->contents().back().duration, 300'000);
}

TEST_F(AacAudioDataHandlerTest, TurnsAFrameWithoutBytesIntoAnEmptySample) {
    handle(FlvBuilder().aacRaw(10, {}));
    EXPECT_THAT(stream->contents(), ElementsAre(SampleContent{{}, 100'000, 100'000, false}));
    EXPECT_EQ(log.count("AacRawSize=0"), 1U);
    EXPECT_EQ(log.count("AudioData(0)="), 1U);
}

// Packet types

TEST_F(AacAudioDataHandlerTest, RefusesOtherPacketTypesByTheirNumber) {
    for (const int type : {2, 3, 255}) {
        EXPECT_THAT(
            thrown<ErrorException>([&] { handle(FlvBuilder().aacPacket(0, static_cast<std::uint8_t>(type), {1})); }),
            StartsWith("Unknown AACPacketType=" + std::to_string(type) + " @FlvAudioTag:"));
    }
    EXPECT_TRUE(stream->samples.empty());
}

} // namespace
