#include "streams/Mp3AudioDataHandler.h"

#include "streams/Mp3FrameHeader.h"
#include "tests/streams/MediaFoundationCalls.h"
#include "tests/streams/StreamTest.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/FatalException.h"

#include <iterator>

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro::Fs;
using Log2::Severity;
using Pictaro::TimePosition;
using testing::ElementsAre;

constexpr unsigned mpeg25 = 0;
constexpr unsigned mpeg2 = 2;
constexpr unsigned mpeg1 = 3;
constexpr unsigned noEntry = 0;

const Bytes sound = {1, 2, 3};
const Bytes frame = join({Mp3Header().bytes(), sound});

/// The records of the frame's header and media type: MPEG-1, 128 kbit/s, 44100 Hz, joint stereo.
const std::vector<std::string> headerRecords = {"version=3",
                                                "layer=1",
                                                "protection=1",
                                                "BitRateIndex=9 BitRate=128[kbit/s]",
                                                "SamplingRateIndex=0 SamplingRate=44100[Hz]",
                                                "Padding=0",
                                                "ChannelMode=1 NumChannel=2"};
const std::vector<std::string> attributeRecords = {
    "MF_MT_MAJOR_TYPE=MFMediaType_Audio",   "MF_MT_SUBTYPE=MFAudioFormat_MP3",
    "MF_MT_AUDIO_PREFER_WAVEFORMATEX=TRUE", "MF_MT_AUDIO_AVG_BYTES_PER_SECOND=128",
    "MF_MT_AUDIO_SAMPLES_PER_SECOND=44100", "MF_MT_AUDIO_NUM_CHANNELS=2"};

class Mp3AudioDataHandlerTest : public HandlerTest<Mp3AudioDataHandler, FlvAudioTag> {
protected:
    void handlePayload(const Bytes& payload) { handle(FlvBuilder().mp3(40, payload)); }
    /// A frame whose header has these fields, for a stream without a media type.
    void handleFirst(const Mp3Header& header) {
        stream->descriptors.clear();
        handlePayload(join({header.bytes(), sound}));
    }
    /// What such a frame throws.
    std::string errorOf(const Mp3Header& header) {
        log.clear();
        return thrownIn<ErrorException>([&] { handleFirst(header); });
    }
    std::string errorOf(const Bytes& payload) {
        log.clear();
        return thrownIn<ErrorException>([&] { handlePayload(payload); });
    }
    UINT32 attribute(const GUID& key) const { return uint32Of(*mediaType().Get(), key); }
    /// The records of the first tag of a stream, up to this one of its header.
    std::vector<std::string> recordsUpTo(std::size_t headerRecord) const {
        std::vector<std::string> records = {"streamHeadPosition - tagHeadPosition=0"};
        records.insert(records.end(), headerRecords.begin(),
                       headerRecords.begin() + static_cast<std::ptrdiff_t>(headerRecord));
        return records;
    }
};

// The frame sync

TEST_F(Mp3AudioDataHandlerTest, MakesASampleOfTheBytesFromTheFrameSyncOnward) {
    const Bytes payload = join({{0x54, 0x41}, frame});
    handlePayload(payload);
    ASSERT_EQ(stream->samples.size(), 1U);
    const Bytes delivered = stream->contents()[0].bytes;
    EXPECT_EQ(delivered.size(), payload.size() - 2);
    EXPECT_EQ(delivered, frame);
    EXPECT_EQ(log.count("streamHeadPosition - tagHeadPosition=2"), 1U);
}

TEST_F(Mp3AudioDataHandlerTest, SearchesOnBehindTheByteThatFollowsALoneByteOfSetBits) {
    handlePayload(join({{0xFF, 0x1F, 0xFF, 0x00, 0x20}, frame}));
    EXPECT_EQ(stream->contents().at(0).bytes, frame);
    EXPECT_EQ(log.count("streamHeadPosition - tagHeadPosition=5"), 1U);
}

TEST_F(Mp3AudioDataHandlerTest, LeavesTheReaderBehindTheTag) {
    MemoryStream file(FlvBuilder().mp3(0, join({{0, 0}, frame})).mp3(0, frame).build());
    handle(file);
    EXPECT_EQ(file.tell(), file.limit());
}

TEST_F(Mp3AudioDataHandlerTest, RefusesATagWithoutAFrameSync) {
    EXPECT_EQ(errorOf(Bytes{}), "Parse error. @Mp3FrameSync");
    EXPECT_EQ(errorOf(Bytes{0xFF}), "Parse error. @Mp3FrameSync");
    EXPECT_EQ(errorOf(Bytes{0x12, 0x34, 0x56, 0xFF, 0xD0}), "Parse error. @Mp3FrameSync");
    EXPECT_TRUE(log.messages().empty());
    EXPECT_TRUE(stream->descriptors.empty());
    EXPECT_TRUE(stream->samples.empty());
}

TEST_F(Mp3AudioDataHandlerTest, DoesNotTakeTheNextTagsBytesForAFrameSync) {
    // Without the fence the size of this tag would go on with set bits.
    MemoryStream file(FlvBuilder().mp3(0, {0x01, 0xFF}).withPreviousTagSize(0xFBFFFFFF).mp3(0, frame).build());
    EXPECT_EQ(thrownIn<ErrorException>([&] { handle(file); }), "Parse error. @Mp3FrameSync");
    EXPECT_EQ(file.tell(), file.limit());
}

TEST_F(Mp3AudioDataHandlerTest, TakesAllOfATagAsOneSampleWhateverFollowsItsFirstFrame) {
    handlePayload(join({frame, frame, {0x7F}}));
    EXPECT_THAT(stream->contents(), ElementsAre(SampleContent{join({frame, frame, {0x7F}}), 400'000, 400'000, false}));
}

// The media type

TEST_F(Mp3AudioDataHandlerTest, TurnsAFrameHeaderIntoAMediaType) {
    handlePayload(frame);
    const ComPtr<IMFMediaType> type = mediaType();
    EXPECT_EQ(guidOf(*type.Get(), MF_MT_MAJOR_TYPE), MFMediaType_Audio);
    const GUID mp3 = {0x00000055, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
    EXPECT_EQ(guidOf(*type.Get(), MF_MT_SUBTYPE), mp3);
    EXPECT_EQ(uint32Of(*type.Get(), MF_MT_AUDIO_PREFER_WAVEFORMATEX), 1U);
    EXPECT_EQ(uint32Of(*type.Get(), MF_MT_AUDIO_AVG_BYTES_PER_SECOND), 128U) << "in kbit/s";
    EXPECT_EQ(uint32Of(*type.Get(), MF_MT_AUDIO_SAMPLES_PER_SECOND), 44100U);
    EXPECT_EQ(uint32Of(*type.Get(), MF_MT_AUDIO_NUM_CHANNELS), 2U);
    EXPECT_EQ(attributeCount(*type.Get()), 6U);
}

TEST_F(Mp3AudioDataHandlerTest, TakesAnMpeg2FrameFor64KilobitsAt22050HzInJointStereo) {
    handleFirst({.version = mpeg2, .bitRateIndex = 8, .samplingRateIndex = 0, .channelMode = 1});
    EXPECT_EQ(attribute(MF_MT_AUDIO_AVG_BYTES_PER_SECOND), 64U);
    EXPECT_EQ(attribute(MF_MT_AUDIO_SAMPLES_PER_SECOND), 22050U);
    EXPECT_EQ(attribute(MF_MT_AUDIO_NUM_CHANNELS), 2U);
}

TEST_F(Mp3AudioDataHandlerTest, RecordsEachStepInOrder) {
    handlePayload(join({{0x00}, frame}));
    std::vector<std::string> expected = {"streamHeadPosition - tagHeadPosition=1"};
    expected.insert(expected.end(), headerRecords.begin(), headerRecords.end());
    expected.insert(expected.end(), attributeRecords.begin(), attributeRecords.end());
    expected.push_back("AudioData(7)=\n    ff fb 90 40 01 02 03 " + std::string(27, ' ') + "...@...");
    EXPECT_EQ(log.messages(true), expected);
    for (const CapturedRecord& record : log.records()) {
        EXPECT_EQ(record.severity, Severity::info) << record.message;
    }
}

TEST_F(Mp3AudioDataHandlerTest, RecordsTheBitsThatDescribeNoSound) {
    handleFirst({.protection = 0, .padding = 1, .privateBit = 1});
    EXPECT_EQ(log.count("protection=0"), 1U);
    EXPECT_EQ(log.count("Padding=1"), 1U);
    EXPECT_EQ(attribute(MF_MT_AUDIO_NUM_CHANNELS), 2U);
}

TEST_F(Mp3AudioDataHandlerTest, KnowsTheBitRateOfEachIndexOfMpeg1) {
    const UINT32 rates[] = {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 0};
    for (unsigned index = 0; index < std::size(rates); ++index) {
        const Mp3Header header{.version = mpeg1, .bitRateIndex = index};
        if (rates[index] == noEntry) {
            EXPECT_EQ(errorOf(header),
                      "Invalid bitrate lookup. version=3 index=" + std::to_string(index) + " @Mp3FrameHeader");
            EXPECT_EQ(log.messages(), recordsUpTo(3)) << "version, layer and protection";
            continue;
        }
        handleFirst(header);
        EXPECT_EQ(attribute(MF_MT_AUDIO_AVG_BYTES_PER_SECOND), rates[index]);
        EXPECT_EQ(log.count("BitRateIndex=" + std::to_string(index) + " BitRate=" + std::to_string(rates[index]) +
                            "[kbit/s]"),
                  1U);
    }
}

TEST_F(Mp3AudioDataHandlerTest, KnowsTheBitRateOfEachIndexOfMpeg2AndMpeg25) {
    const UINT32 rates[] = {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, 0};
    for (const unsigned version : {mpeg2, mpeg25}) {
        for (unsigned index = 0; index < std::size(rates); ++index) {
            const Mp3Header header{.version = version, .bitRateIndex = index};
            if (rates[index] == noEntry) {
                EXPECT_EQ(errorOf(header), "Invalid bitrate lookup. version=" + std::to_string(version) +
                                               " index=" + std::to_string(index) + " @Mp3FrameHeader");
                continue;
            }
            handleFirst(header);
            EXPECT_EQ(attribute(MF_MT_AUDIO_AVG_BYTES_PER_SECOND), rates[index]) << version;
        }
    }
}

TEST_F(Mp3AudioDataHandlerTest, RefusesBitRateIndex0) {
    EXPECT_EQ(errorOf(Mp3Header{.version = mpeg1, .bitRateIndex = 0}),
              "Invalid bitrate lookup. version=3 index=0 @Mp3FrameHeader");
    EXPECT_EQ(errorOf(Mp3Header{.version = mpeg2, .bitRateIndex = 0}),
              "Invalid bitrate lookup. version=2 index=0 @Mp3FrameHeader");
    EXPECT_TRUE(stream->samples.empty());
}

TEST_F(Mp3AudioDataHandlerTest, KnowsTheSamplingRateOfEachIndexOfEachVersion) {
    const struct {
        unsigned version;
        UINT32 rates[4];
    } rows[] = {
        {mpeg1, {44100, 48000, 32000, 0}}, {mpeg2, {22050, 24000, 16000, 0}}, {mpeg25, {11025, 12000, 8000, 0}}};
    for (const auto& [version, rates] : rows) {
        for (unsigned index = 0; index < std::size(rates); ++index) {
            const Mp3Header header{.version = version, .samplingRateIndex = index};
            if (rates[index] == noEntry) {
                EXPECT_EQ(errorOf(header), "Invalid sampling freq lookup. version" + std::to_string(version) +
                                               " index=3 @Mp3FrameHeader");
                EXPECT_EQ(log.messages().size(), recordsUpTo(4).size()) << "up to the bit rate";
                continue;
            }
            handleFirst(header);
            EXPECT_EQ(attribute(MF_MT_AUDIO_SAMPLES_PER_SECOND), rates[index]) << version;
            EXPECT_EQ(log.count("SamplingRateIndex=" + std::to_string(index) +
                                " SamplingRate=" + std::to_string(rates[index]) + "[Hz]"),
                      1U);
            log.clear();
        }
    }
}

TEST_F(Mp3AudioDataHandlerTest, KnowsNoSamplingRateOfTheReservedVersion) {
    EXPECT_EQ(thrownIn<ErrorException>([] { mp3SamplingRate(1, 0); }), "Invalid version.=1 @Mp3FrameHeader");
}

TEST_F(Mp3AudioDataHandlerTest, TakesSingleChannelForOneAndEveryOtherModeForTwo) {
    const UINT32 channels[] = {2, 2, 2, 1};
    for (unsigned mode = 0; mode < std::size(channels); ++mode) {
        handleFirst({.channelMode = mode});
        EXPECT_EQ(attribute(MF_MT_AUDIO_NUM_CHANNELS), channels[mode]);
        EXPECT_EQ(log.count("ChannelMode=" + std::to_string(mode) + " NumChannel=" + std::to_string(channels[mode])),
                  1U);
    }
}

TEST_F(Mp3AudioDataHandlerTest, RefusesTheReservedVersion) {
    EXPECT_EQ(errorOf(Mp3Header{.version = 1}), "Invalid version. @Mp3FrameHeader");
    EXPECT_EQ(log.messages(), recordsUpTo(0));
    EXPECT_EQ(errorOf(Mp3Header{.version = 1, .layer = 3}), "Invalid version. @Mp3FrameHeader");
}

TEST_F(Mp3AudioDataHandlerTest, RefusesEveryLayerButTheThird) {
    for (const unsigned layer : {0U, 2U, 3U}) {
        EXPECT_EQ(errorOf(Mp3Header{.layer = layer}), "Unsupported layer. @Mp3FrameHeader");
        EXPECT_EQ(log.messages(), recordsUpTo(1));
    }
    EXPECT_TRUE(stream->descriptors.empty());
    EXPECT_TRUE(stream->samples.empty());
}

TEST_F(Mp3AudioDataHandlerTest, RefusesAHeaderThatIsCutAfterItHasRecordedWhatIsThere) {
    EXPECT_EQ(errorOf(firstBytes(frame, 2)), "Parse error. @Mp3FrameHeader");
    EXPECT_EQ(log.messages(), recordsUpTo(3));
    EXPECT_EQ(errorOf(firstBytes(frame, 3)), "Parse error. @Mp3FrameHeader");
    EXPECT_EQ(log.messages(), recordsUpTo(6));
    EXPECT_TRUE(stream->descriptors.empty());
}

TEST_F(Mp3AudioDataHandlerTest, StopsBehindTheByteOfTheHeaderThatIsWrong) {
    const struct {
        Mp3Header header;
        std::int64_t bytes;
    } rows[] = {{{.version = 1}, 2}, {{.layer = 2}, 2}, {{.bitRateIndex = 15}, 3}, {{.samplingRateIndex = 3}, 3}};
    constexpr std::int64_t payload = 9 + 15 + 1;
    for (const auto& [header, bytes] : rows) {
        MemoryStream file(FlvBuilder().mp3(0, join({{0x00}, header.bytes(), sound})).build());
        EXPECT_THROW(handle(file), ErrorException);
        EXPECT_EQ(file.tell(), payload + 1 + bytes);
    }
}

TEST_F(Mp3AudioDataHandlerTest, RefusesAStreamThatCannotGoBackToTheFrame) {
    MemoryStream file(FlvBuilder().mp3(0, frame).build());
    file.failMovesAfter(2); // to the tag, and back to the frame sync
    EXPECT_EQ(thrownIn<ErrorException>([&] { handle(file); }), "Seek error. @Mp3AudioDataHandler");
    EXPECT_TRUE(stream->descriptors.empty());
}

TEST_F(Mp3AudioDataHandlerTest, NamesTheMediaTypeThatCannotBeMade) {
    const MediaFoundationFault fault(MediaFoundationCall::createMediaType, E_UNEXPECTED);
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { handlePayload(frame); }),
              "MFCreateMediaType: (0x8000ffff) @Mp3AudioDataHandler");
    EXPECT_TRUE(stream->descriptors.empty());
    EXPECT_EQ(log.messages(), recordsUpTo(headerRecords.size()));
}

TEST_F(Mp3AudioDataHandlerTest, NamesTheAttributeThatCannotBeSet) {
    const char* const names[] = {"SetGUID(MF_MT_MAJORT_TYPE)",
                                 "SetGUID(MF_MT_SUBTYPE)",
                                 "SetUINT32(MF_MT_AUDIO_PREFER_WAVEFORMATEX)",
                                 "SetUINT32(MF_MT_AUDIO_AVG_BYTES_PER_SECOND)",
                                 "SetUINT32(MF_MT_AUDIO_SAMPLES_PER_SECOND)",
                                 "SetUINT32(MF_MT_AUDIO_NUM_CHANNELS)"};
    for (unsigned row = 0; row < std::size(names); ++row) {
        log.clear();
        const MediaFoundationFault fault(MediaFoundationCall::setAttribute, E_UNEXPECTED, row);
        EXPECT_EQ(thrownIn<ApiErrorException>([&] { handlePayload(frame); }),
                  std::string(names[row]) + ": (0x8000ffff) @Mp3AudioDataHandler");
        EXPECT_EQ(log.messages().size(), recordsUpTo(headerRecords.size()).size() + row)
            << "one for each attribute that has been set";
        EXPECT_TRUE(stream->descriptors.empty());
        EXPECT_TRUE(stream->samples.empty());
    }
}

TEST_F(Mp3AudioDataHandlerTest, NamesTheCallThatFailsToDescribeTheStream) {
    const struct {
        MediaFoundationCall call;
        const char* name;
    } rows[] = {{MediaFoundationCall::createStreamDescriptor, "MFCreateStreamDescriptor"},
                {MediaFoundationCall::getMediaTypeHandler, "GetMediaTypeHandler"},
                {MediaFoundationCall::setCurrentMediaType, "SetCurrentMediaType"}};
    for (const auto& [call, name] : rows) {
        const MediaFoundationFault fault(call, E_UNEXPECTED);
        EXPECT_EQ(thrownIn<ApiErrorException>([&] { handlePayload(frame); }),
                  std::string(name) + ": (0x8000ffff) @StreamDescription");
        EXPECT_TRUE(stream->descriptors.empty());
        EXPECT_TRUE(stream->samples.empty());
    }
}

TEST_F(Mp3AudioDataHandlerTest, PublishesADescriptorWithTheStreamsIdentifier) {
    handlePayload(frame);
    ASSERT_EQ(stream->descriptors.size(), 1U);
    DWORD id = 0;
    EXPECT_EQ(stream->descriptors[0]->GetStreamIdentifier(&id), S_OK);
    EXPECT_EQ(id, RecordingStream::id);
}

TEST_F(Mp3AudioDataHandlerTest, KeepsTheMediaTypeOfTheFirstFrame) {
    handlePayload(frame);
    log.clear();
    // Not even a header that could not be described is looked at.
    handlePayload(join({Mp3Header{.version = 1, .layer = 0, .bitRateIndex = 15}.bytes(), sound}));
    EXPECT_EQ(stream->descriptors.size(), 1U);
    EXPECT_EQ(stream->samples.size(), 2U);
    ASSERT_EQ(log.messages(true).size(), 2U);
    EXPECT_EQ(log.messages(true)[0], "streamHeadPosition - tagHeadPosition=0");
    EXPECT_THAT(log.messages(true)[1], testing::StartsWith("AudioData(7)="));
}

// Samples

TEST_F(Mp3AudioDataHandlerTest, TurnsASyncAtTheVeryEndIntoASampleOfTwoBytes) {
    handlePayload(frame);
    handlePayload({0x00, 0x00, 0xFF, 0xFB});
    EXPECT_EQ(stream->contents().at(1).bytes, (Bytes{0xFF, 0xFB}));
}

TEST_F(Mp3AudioDataHandlerTest, RefusesATagThatEndsBeforeItsFrameSync) {
    for (const std::uint32_t dataSize : {1U, 3U}) {
        const FlvBuilder file = FlvBuilder().withDataSize(dataSize).mp3(0, join({{0, 0, 0}, frame}));
        EXPECT_EQ(thrownIn<ErrorException>([&] { handleUnfenced(file); }), "Too short. @AudioDataHandler");
    }
    EXPECT_TRUE(stream->samples.empty());
}

TEST_F(Mp3AudioDataHandlerTest, DescribesTheStreamBeforeItRefusesATagThatHasNotBeenRead) {
    EXPECT_EQ(thrown<FatalException>([&] { handleUnfenced(FlvBuilder().mp3(0, frame), false); }),
              "Not read yet. @FlvTag:65");
    EXPECT_EQ(stream->descriptors.size(), 1U);
    EXPECT_EQ(errorOf(Bytes{0x00}), "Parse error. @Mp3FrameSync");
}

TEST_F(Mp3AudioDataHandlerTest, CarriesTheCodecIdentifierOfAac) {
    EXPECT_TRUE(handler.fits(10));
    EXPECT_FALSE(handler.fits(2));
}

TEST_F(Mp3AudioDataHandlerTest, GivesEverySampleItsTimeAsItsDurationInAStream) {
    const ComPtr<FlvAudioStream> audio = createStream<FlvAudioStream>();
    parser.addHandler(*audio.Get());
    parser.open(FlvBuilder().mp3(0, frame).mp3(26, frame).mp3(4'294'968, frame).onMetaData().build());
    std::vector<std::pair<LONGLONG, LONGLONG>> times;
    for (int count = 0; count < 3; ++count) {
        ASSERT_EQ(audio->RequestSample(nullptr), S_OK);
        const SampleContent sample = contentOf(*sampleOf(*nextEvent(*audio.Get()).Get()).Get());
        times.emplace_back(sample.time, sample.duration);
    }
    EXPECT_THAT(times, ElementsAre(std::pair(0, 0), std::pair(260'000, 260'000), std::pair(7'040, 7'040)));
    parser.clearHandler();
}

} // namespace
