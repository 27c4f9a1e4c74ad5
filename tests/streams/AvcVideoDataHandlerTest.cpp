#include "streams/AvcVideoDataHandler.h"

#include "tests/streams/MediaFoundationCalls.h"
#include "tests/streams/StreamTest.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/FatalException.h"

#include <iterator>
#include <limits>

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro::Fs;
using Log2::Severity;
using Pictaro::TimePosition;
using testing::ElementsAre;
using testing::StartsWith;

const Bytes startCode = {0, 0, 1};
const Bytes sps = {0x67, 0x42, 0xC0, 0x1E, 0xD9};
const Bytes pps = {0x68, 0xCB, 0x83, 0xCB};
/// The parameter sets as they stand in front of the NAL units of a key frame.
const Bytes parameterSets = join({startCode, sps, startCode, pps});
const Bytes slice = {0x41, 1, 2, 3, 4};
const Bytes otherSlice = {0x42, 5, 6, 7, 8, 9};

class AvcVideoDataHandlerTest : public HandlerTest<AvcVideoDataHandler, FlvVideoTag> {
protected:
    using HandlerTest::handle;

    void handleConfig(const Bytes& config) { handle(FlvBuilder().avcPacket(0, FlvBuilder::key, 0, 0, config)); }
    void handleNalus(const Bytes& payload) { handle(FlvBuilder().avcPacket(0, FlvBuilder::inter, 1, 0, payload)); }
    template <class Call>
    std::string error(const Call& call) {
        return thrown<ErrorException>(call);
    }
    /// A sequence header has been read, and its records forgotten.
    void configure(const AvcConfig& config = {}) {
        handle(FlvBuilder().avcSequenceHeader(0, config));
        log.clear();
    }
    /// The numerator and the denominator of the frame rate for a metadata value.
    std::pair<UINT32, UINT32> frameRateFor(long double framerate) {
        source->metaData["framerate"] = framerate;
        configure();
        std::pair<UINT32, UINT32> ratio;
        EXPECT_EQ(MFGetAttributeRatio(mediaType().Get(), MF_MT_FRAME_RATE, &ratio.first, &ratio.second), S_OK);
        return ratio;
    }
    std::pair<UINT32, UINT32> frameSizeFor(long double width, long double height) {
        source->metaData["width"] = width;
        source->metaData["height"] = height;
        configure();
        std::pair<UINT32, UINT32> size;
        EXPECT_EQ(MFGetAttributeSize(mediaType().Get(), MF_MT_FRAME_SIZE, &size.first, &size.second), S_OK);
        return size;
    }
};

// Sequence header

TEST_F(AvcVideoDataHandlerTest, TurnsASequenceHeaderIntoAMediaType) {
    handle(FlvBuilder().avcSequenceHeader(0));
    const ComPtr<IMFMediaType> type = mediaType();
    EXPECT_EQ(guidOf(*type.Get(), MF_MT_MAJOR_TYPE), MFMediaType_Video);
    const GUID h264 = {0x34363248, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
    EXPECT_EQ(guidOf(*type.Get(), MF_MT_SUBTYPE), h264);
    UINT64 packed = 0;
    EXPECT_EQ(type->GetUINT64(MF_MT_FRAME_RATE, &packed), S_OK);
    EXPECT_EQ(packed, 25'000ULL << 32 | 1000);
    EXPECT_EQ(type->GetUINT64(MF_MT_FRAME_SIZE, &packed), S_OK);
    EXPECT_EQ(packed, 320ULL << 32 | 240);
    EXPECT_EQ(uint32Of(*type.Get(), MF_MT_INTERLACE_MODE), 7U);
    EXPECT_EQ(uint32Of(*type.Get(), MF_MT_MPEG2_LEVEL), 30U);
    EXPECT_EQ(uint32Of(*type.Get(), MF_MT_MPEG2_PROFILE), 66U);
    EXPECT_EQ(uint32Of(*type.Get(), MF_MT_PIXEL_ASPECT_RATIO), 1U);
    EXPECT_EQ(attributeCount(*type.Get()), 8U);
}

TEST_F(AvcVideoDataHandlerTest, RecordsTheConfigurationAndTheMediaTypeInOrder) {
    handle(FlvBuilder().avcSequenceHeader(0));
    EXPECT_THAT(log.messages(true),
                ElementsAre("ENTER: JY::Pictaro::Fs::AvcVideoDataHandler::readSequenceHeader", "ConfigurationVersion=1",
                            "AvcProfileIndication=66", "ProfileCompatibility=192", "AvcLevelIndication=30",
                            "NALU size unit=4", "NumOfSequenceParameterSets=1", "NumOfPictureParameterSets=1",
                            "ParameterByteStream=\n    00 00 01 67 42 c0 1e d9 00 00 01 68 cb 83 cb    "
                            "...gB......h...",
                            "ENTER: JY::Pictaro::Fs::AvcVideoDataHandler::createAvcMediaType",
                            "framerate numerator=25000 denominator=1000", "framesize width=320 height=240",
                            "MF_MT_MPEG2_LEVEL=30", "MF_MT_MPEG2_PROFILE=66",
                            "EXIT: JY::Pictaro::Fs::AvcVideoDataHandler::createAvcMediaType",
                            "EXIT: JY::Pictaro::Fs::AvcVideoDataHandler::readSequenceHeader"));
    for (const CapturedRecord& record : log.records()) {
        EXPECT_EQ(record.file, "AvcVideoDataHandler");
        const bool isTrace = record.message.starts_with("ENTER: ") || record.message.starts_with("EXIT: ");
        EXPECT_EQ(record.severity, isTrace ? Severity::trace : Severity::info) << record.message;
    }
}

TEST_F(AvcVideoDataHandlerTest, NamesTheMediaTypeThatCannotBeMade) {
    const MediaFoundationFault fault(MediaFoundationCall::createMediaType, E_UNEXPECTED);
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { handle(FlvBuilder().avcSequenceHeader(0)); }),
              "MFCreateMediaType: (0x8000ffff) @AvcVideoDataHandler");
    EXPECT_TRUE(stream->descriptors.empty());
}

TEST_F(AvcVideoDataHandlerTest, NamesTheAttributeThatCannotBeSet) {
    const char* const names[] = {"SetGUID(MF_MT_MAJOR_TYPE)",     "SetGUID(MF_MT_SUBTYPE)",
                                 "MFSetAttributeRatio",           "MF_MT_FRAME_SIZE",
                                 "SetGUID(MF_MT_INTERLACE_MODE)", "SetGUID(MF_MT_MPEG2_LEVEL)",
                                 "SetGUID(MF_MT_MPEG2_PROFILE)",  "SetGUID(MF_MT_PIXEL_ASPECT_RATIO)"};
    for (unsigned row = 0; row < std::size(names); ++row) {
        const MediaFoundationFault fault(MediaFoundationCall::setAttribute, E_UNEXPECTED, row);
        EXPECT_EQ(thrownIn<ApiErrorException>([&] { handle(FlvBuilder().avcSequenceHeader(0)); }),
                  std::string(names[row]) + ": (0x8000ffff) @AvcVideoDataHandler");
        EXPECT_TRUE(stream->descriptors.empty());
    }
}

TEST_F(AvcVideoDataHandlerTest, CutsTheDumpOfTheParameterSets) {
    source->numDumpBin = 3;
    handle(FlvBuilder().avcSequenceHeader(0));
    EXPECT_EQ(log.count("ParameterByteStream=\n    00 00 01 " + std::string(39, ' ') + "..."), 1U);
}

TEST_F(AvcVideoDataHandlerTest, PublishesADescriptorWithTheStreamsIdentifier) {
    handle(FlvBuilder().avcSequenceHeader(0));
    ASSERT_EQ(stream->descriptors.size(), 1U);
    DWORD id = 0;
    EXPECT_EQ(stream->descriptors[0]->GetStreamIdentifier(&id), S_OK);
    EXPECT_EQ(id, RecordingStream::id);
    EXPECT_TRUE(stream->samples.empty());
}

TEST_F(AvcVideoDataHandlerTest, CountsSequenceParameterSetsByTheLowerFiveBits) {
    handleConfig({1, 66, 0, 30, 0xFF, 0xE1, 0, 1, 0x67, 1, 0, 1, 0x68});
    EXPECT_EQ(log.count("NumOfSequenceParameterSets=1"), 1U);
    EXPECT_EQ(stream->descriptors.size(), 1U);
}

TEST_F(AvcVideoDataHandlerTest, CountsPictureParameterSetsByAllEightBits) {
    Bytes config = {1, 66, 0, 30, 0xFF, 0xE0, 0xE1};
    for (int set = 0; set < 0xE1; ++set) {
        config.insert(config.end(), {0, 0});
    }
    handleConfig(config);
    EXPECT_EQ(log.count("NumOfPictureParameterSets=225"), 1U);
    config.pop_back();
    EXPECT_THAT(error([&] { handleConfig(config); }), StartsWith("Parse error. @AvcVideoDataHandler:"));
}

TEST_F(AvcVideoDataHandlerTest, TakesAConfigurationWithoutParameterSets) {
    AvcConfig config;
    config.sps.clear();
    config.pps.clear();
    configure(config);
    handle(FlvBuilder().avcNalus(0, FlvBuilder::key, {slice}));
    EXPECT_EQ(stream->contents().at(0).bytes, join({startCode, slice}));
}

TEST_F(AvcVideoDataHandlerTest, DoesNotCheckTheConfigurationVersion) {
    AvcConfig config;
    config.version = 77;
    handle(FlvBuilder().avcSequenceHeader(0, config));
    EXPECT_EQ(log.count("ConfigurationVersion=77"), 1U);
    EXPECT_EQ(stream->descriptors.size(), 1U);
}

TEST_F(AvcVideoDataHandlerTest, ReplacesParameterSetsAndDescriptorWithALaterSequenceHeader) {
    configure();
    AvcConfig config;
    config.sps = {{0x67, 1}, {0x67, 2}};
    config.pps = {{0x68, 3}};
    config.naluLengthSize = 2;
    config.level = 40;
    configure(config);
    EXPECT_EQ(stream->descriptors.size(), 2U);
    EXPECT_EQ(uint32Of(*mediaType().Get(), MF_MT_MPEG2_LEVEL), 40U);
    handle(FlvBuilder().avcNalus(0, FlvBuilder::key, {slice}, 0, 2));
    EXPECT_EQ(stream->contents().at(0).bytes,
              join({startCode, {0x67, 1}, startCode, {0x67, 2}, startCode, {0x68, 3}, startCode, slice}));
}

TEST_F(AvcVideoDataHandlerTest, RefusesASequenceHeaderThatIsCutAtAnyByte) {
    const Bytes config = AvcConfig().bytes();
    for (std::size_t size = 0; size < config.size(); ++size) {
        EXPECT_THAT(error([&] { handleConfig(firstBytes(config, size)); }),
                    StartsWith("Parse error. @AvcVideoDataHandler:"))
            << size;
    }
    EXPECT_TRUE(stream->descriptors.empty());
}

TEST_F(AvcVideoDataHandlerTest, RecordsNoValueThatCouldNotBeRead) {
    EXPECT_THAT(error([&] { handleConfig({1, 66}); }), StartsWith("Parse error."));
    EXPECT_THAT(log.messages(), ElementsAre("ConfigurationVersion=1", "AvcProfileIndication=66"));
}

TEST_F(AvcVideoDataHandlerTest, KeepsWhatItHasReadOfASequenceHeaderThatIsCut) {
    configure();
    // Two bytes of a set of five.
    EXPECT_THAT(error([&] { handleConfig({1, 66, 0, 30, 0xFC, 0xE1, 0, 5, 0x67, 0x11}); }), StartsWith("Parse error."));
    handle(FlvBuilder().avcNalus(0, FlvBuilder::key, {slice}, 0, 1));
    EXPECT_EQ(stream->contents().at(0).bytes, join({startCode, {0x67, 0x11}, startCode, slice}));
}

TEST_F(AvcVideoDataHandlerTest, KeepsTheParameterSetsWhenASequenceHeaderIsCutInFrontOfThem) {
    configure();
    EXPECT_THAT(error([&] { handleConfig({1, 66, 0, 30}); }), StartsWith("Parse error."));
    handle(FlvBuilder().avcNalus(0, FlvBuilder::key, {slice}));
    EXPECT_EQ(stream->contents().at(0).bytes, join({parameterSets, startCode, slice}));
}

// Metadata

TEST_F(AvcVideoDataHandlerTest, TruncatesTheFrameRateToThousandths) {
    EXPECT_EQ(frameRateFor(29.97), std::pair(29970U, 1000U));
    EXPECT_EQ(frameRateFor(23.976), std::pair(23976U, 1000U));
    EXPECT_EQ(frameRateFor(23.9769), std::pair(23976U, 1000U));
    EXPECT_EQ(frameRateFor(0.0005), std::pair(0U, 1000U));
}

TEST_F(AvcVideoDataHandlerTest, TruncatesTheFrameSize) {
    EXPECT_EQ(frameSizeFor(1919.99, 1080.5), std::pair(1919U, 1080U));
}

TEST_F(AvcVideoDataHandlerTest, TakesNumbersOutOfRangeForTheNearestInRangeAndNoNumberForZero) {
    constexpr auto infinity = std::numeric_limits<long double>::infinity();
    constexpr auto notANumber = std::numeric_limits<long double>::quiet_NaN();
    constexpr UINT32 maximum = 0xFFFFFFFF;
    EXPECT_EQ(frameRateFor(infinity), std::pair(maximum, 1000U));
    EXPECT_EQ(frameRateFor(-infinity), std::pair(0U, 1000U));
    EXPECT_EQ(frameRateFor(notANumber), std::pair(0U, 1000U));
    EXPECT_EQ(frameRateFor(4'294'967.296), std::pair(maximum, 1000U));
    EXPECT_EQ(frameRateFor(std::numeric_limits<double>::max()), std::pair(maximum, 1000U));
    EXPECT_EQ(frameRateFor(-25), std::pair(0U, 1000U));
    EXPECT_EQ(frameSizeFor(-1, 4'294'967'296.0), std::pair(0U, maximum));
    EXPECT_EQ(frameSizeFor(4'294'967'295.0, -0.5), std::pair(maximum, 0U));
    EXPECT_EQ(frameSizeFor(notANumber, infinity), std::pair(0U, maximum));
}

TEST_F(AvcVideoDataHandlerTest, NamesMetadataThatIsNoNumberAndItsKind) {
    const auto number = source->metaData["width"];
    for (const char* const name : {"framerate", "width", "height"}) {
        const std::string prefix = std::string("MetaData ") + name + " is not a number.=";
        source->metaData[name] = std::string("25");
        EXPECT_THAT(error([&] { configure(); }), StartsWith(prefix + "3 @AvcVideoDataHandler:"));
        source->metaData[name] = true;
        EXPECT_THAT(error([&] { configure(); }), StartsWith(prefix + "1 @AvcVideoDataHandler:"));
        source->metaData[name] = number;
    }
    EXPECT_TRUE(stream->descriptors.empty());
}

TEST_F(AvcVideoDataHandlerTest, FailsAsTheSourceDoesForMissingMetadata) {
    const auto all = source->metaData;
    for (const char* const name : {"framerate", "width", "height"}) {
        source->metaData = all;
        source->metaData.erase(name);
        EXPECT_EQ(thrown<FlvMetaData::MetaDataNotFoundException>([&] { configure(); }), "Key not found. @FakeSource:1");
    }
    EXPECT_TRUE(stream->descriptors.empty());
}

// NAL units

TEST_F(AvcVideoDataHandlerTest, TurnsANalUnitIntoASampleWithAStartCode) {
    configure();
    handle(FlvBuilder().avcNalus(40, FlvBuilder::inter, {slice}));
    EXPECT_THAT(stream->contents(), ElementsAre(SampleContent{join({startCode, slice}), 400'000, 400'000, false}));
    EXPECT_EQ(handler.getLastTimePosition(), TimePosition(40'000));
}

TEST_F(AvcVideoDataHandlerTest, LeavesTheCleanPointOutOnOtherFrames) {
    configure();
    handle(FlvBuilder().avcNalus(40, FlvBuilder::inter, {slice}));
    UINT32 value = 0;
    EXPECT_EQ(stream->samples.at(0)->GetUINT32(MFSampleExtension_CleanPoint, &value), MF_E_ATTRIBUTENOTFOUND);
}

TEST_F(AvcVideoDataHandlerTest, PutsTheParameterSetsInFrontOfEachNalUnitOfAKeyFrame) {
    configure();
    handle(FlvBuilder().avcNalus(40, FlvBuilder::key, {slice, otherSlice}));
    EXPECT_THAT(stream->contents(),
                ElementsAre(SampleContent{join({parameterSets, startCode, slice}), 400'000, 400'000, true},
                            SampleContent{join({parameterSets, startCode, otherSlice}), 400'000, 0, true}));
}

TEST_F(AvcVideoDataHandlerTest, GivesEachNalUnitOfATagTheSameTime) {
    configure();
    handle(FlvBuilder().avcNalus(40, FlvBuilder::inter, {slice, otherSlice, slice}, 10));
    EXPECT_THAT(stream->contents(), ElementsAre(SampleContent{join({startCode, slice}), 500'000, 500'000, false},
                                                SampleContent{join({startCode, otherSlice}), 500'000, 0, false},
                                                SampleContent{join({startCode, slice}), 500'000, 0, false}));
}

TEST_F(AvcVideoDataHandlerTest, RecordsEachNalUnit) {
    configure();
    handle(FlvBuilder().avcNalus(40, FlvBuilder::key, {slice}));
    EXPECT_THAT(log.messages(true),
                ElementsAre("ENTER: JY::Pictaro::Fs::AvcVideoDataHandler::readNalus", "NaluSize=5 BufferSize=23",
                            "VideoData(23)=\n    00 00 01 67 42 c0 1e d9 00 00 01 68 cb 83 cb 00 ...gB......h...."
                            "\n    00 01 41 01 02 03 04 " +
                                std::string(27, ' ') + "..A....",
                            "EXIT: JY::Pictaro::Fs::AvcVideoDataHandler::readNalus"));
}

TEST_F(AvcVideoDataHandlerTest, CutsTheDumpOfANalUnit) {
    configure();
    source->numDumpBin = 4;
    handle(FlvBuilder().avcNalus(40, FlvBuilder::inter, {slice}));
    EXPECT_EQ(log.count("VideoData(8)=\n    00 00 01 41 " + std::string(36, ' ') + "...A"), 1U);
}

TEST_F(AvcVideoDataHandlerTest, ReadsLengthsOfEachSize) {
    for (unsigned size = 1; size <= 4; ++size) {
        AvcConfig config;
        config.naluLengthSize = size;
        configure(config);
        stream->samples.clear();
        handle(FlvBuilder().avcNalus(0, FlvBuilder::inter, {slice, otherSlice}, 0, size));
        ASSERT_EQ(stream->samples.size(), 2U) << size;
        EXPECT_EQ(stream->contents()[0].bytes, join({startCode, slice}));
        EXPECT_EQ(stream->contents()[1].bytes, join({startCode, otherSlice}));
    }
}

TEST_F(AvcVideoDataHandlerTest, ReadsTheBytesOfALengthMostSignificantFirst) {
    configure();
    const Bytes large(0x010203, 0x7A);
    handleNalus(join({{0x00, 0x01, 0x02, 0x03}, large}));
    EXPECT_EQ(stream->contents().at(0).bytes, join({startCode, large}));
}

TEST_F(AvcVideoDataHandlerTest, RefusesANalUnitThatIsNotLongerThanItsLengthPrefix) {
    for (unsigned size = 1; size <= 4; ++size) {
        AvcConfig config;
        config.naluLengthSize = size;
        configure(config);
        for (unsigned length = 0; length <= size; ++length) {
            EXPECT_THAT(error([&] {
                            handleNalus(join({bigEndian(length, size), Bytes(length, 9)}));
                        }),
                        StartsWith("Parse error. @AvcVideoDataHandler:"))
                << size << ' ' << length;
        }
        handleNalus(join({bigEndian(size + 1, size), Bytes(size + 1, 9)}));
        EXPECT_EQ(stream->contents().back().bytes, join({startCode, Bytes(size + 1, 9)}));
    }
    EXPECT_EQ(stream->samples.size(), 4U);
}

TEST_F(AvcVideoDataHandlerTest, RefusesANalUnitThatIsCut) {
    configure();
    EXPECT_THAT(error([&] {
                    handleNalus({0, 0, 0, 6, 1, 2, 3, 4, 5});
                }),
                StartsWith("Parse error. @AvcVideoDataHandler:"));
    EXPECT_THAT(log.messages(), ElementsAre("NaluSize=6 BufferSize=9"));
    EXPECT_TRUE(stream->samples.empty());
}

TEST_F(AvcVideoDataHandlerTest, KeepsTheNalUnitsInFrontOfABadOne) {
    configure();
    EXPECT_THAT(error([&] {
                    handleNalus(join({{0, 0, 0, 5}, slice, {0, 0, 0, 4, 1, 2, 3, 4}}));
                }),
                StartsWith("Parse error."));
    EXPECT_EQ(stream->samples.size(), 1U);
}

TEST_F(AvcVideoDataHandlerTest, TakesALengthThatIsCutForTheEndOfTheTag) {
    configure();
    for (const Bytes& rest : {Bytes{}, Bytes{0}, Bytes{0, 0}, Bytes{0, 0, 0}}) {
        stream->samples.clear();
        handleNalus(join({{0, 0, 0, 5}, slice, rest}));
        EXPECT_EQ(stream->samples.size(), 1U) << rest.size();
    }
}

TEST_F(AvcVideoDataHandlerTest, DoesNotReadTheNextTagForALengthThatIsCut) {
    configure();
    handle(FlvBuilder().avcPacket(0, FlvBuilder::inter, 1, 0, {0, 0}).tag(9, 0, Bytes(50, 0xFF)));
    EXPECT_TRUE(stream->samples.empty());
}

TEST_F(AvcVideoDataHandlerTest, MakesNoSampleOfATagWithoutNalUnits) {
    configure();
    handleNalus({});
    EXPECT_TRUE(stream->samples.empty());
}

TEST_F(AvcVideoDataHandlerTest, RefusesNalUnitsBeforeTheFirstSequenceHeader) {
    EXPECT_THAT(error([&] { handle(FlvBuilder().avcNalus(0, FlvBuilder::key, {slice})); }),
                StartsWith("Parse error. @AvcVideoDataHandler:"));
}

// Times

TEST_F(AvcVideoDataHandlerTest, AddsTheCompositionTime) {
    configure();
    handle(FlvBuilder().avcNalus(100, FlvBuilder::inter, {slice}, 80));
    EXPECT_EQ(stream->contents().at(0).time, 1'800'000);
    handle(FlvBuilder().avcNalus(100, FlvBuilder::inter, {slice}, 0x7FFFFF));
    EXPECT_EQ(stream->contents().at(1).time, (100LL + 0x7FFFFF) * 1000 % 0x1'0000'0000 * 10);
}

TEST_F(AvcVideoDataHandlerTest, AddsTheMagnitudeOfANegativeCompositionTime) {
    configure();
    handle(FlvBuilder().avcNalus(100, FlvBuilder::inter, {slice}, -1));
    EXPECT_EQ(stream->contents().at(0).time, 1'010'000);
    handle(FlvBuilder().avcNalus(100, FlvBuilder::inter, {slice}, -40));
    EXPECT_EQ(stream->contents().at(1).time, 1'400'000);
    handle(FlvBuilder().avcNalus(0, FlvBuilder::inter, {slice}, -0x800000));
    EXPECT_EQ(stream->contents().at(2).time, 0x800000LL * 1000 % 0x1'0000'0000 * 10);
}

TEST_F(AvcVideoDataHandlerTest, WrapsTimesAfter32BitsOfMicroseconds) {
    configure();
    handle(FlvBuilder().avcNalus(4'294'967, FlvBuilder::inter, {slice}));
    handle(FlvBuilder().avcNalus(4'294'967, FlvBuilder::inter, {slice}, 1));
    EXPECT_EQ(stream->contents().at(0).time, 42'949'670'000);
    EXPECT_EQ(stream->contents().at(1).time, 7'040);
    EXPECT_EQ(stream->contents().at(1).duration, 7'040 - 42'949'670'000);
    handle(FlvBuilder().avcNalus(0xFFFFFFFF, FlvBuilder::inter, {slice}, 2));
    EXPECT_EQ(stream->contents().at(2).time, 10'000);
}

TEST_F(AvcVideoDataHandlerTest, GivesANegativeDurationWhereTimesRunBackwards) {
    configure();
    handle(FlvBuilder().avcNalus(100, FlvBuilder::inter, {slice}));
    handle(FlvBuilder().avcNalus(60, FlvBuilder::inter, {slice}));
    EXPECT_EQ(stream->contents().at(1).duration, -400'000);
    EXPECT_EQ(handler.getLastTimePosition(), TimePosition(60'000));
}

// Packet types

TEST_F(AvcVideoDataHandlerTest, TakesNoNoticeOfTheEndOfTheSequence) {
    configure();
    handle(FlvBuilder().avcEndOfSequence(500));
    handle(FlvBuilder().avcPacket(500, FlvBuilder::key, 2, 0, {1, 2, 3}));
    EXPECT_TRUE(stream->samples.empty());
    EXPECT_EQ(stream->descriptors.size(), 1U);
    EXPECT_EQ(handler.getLastTimePosition(), TimePosition(0));
    handle(FlvBuilder().avcNalus(0, FlvBuilder::key, {slice}));
    EXPECT_EQ(stream->contents().at(0).bytes, join({parameterSets, startCode, slice}));
}

TEST_F(AvcVideoDataHandlerTest, RefusesOtherPacketTypesByTheirNumber) {
    for (const int type : {3, 4, 255}) {
        EXPECT_THAT(
            error([&] { handle(FlvBuilder().avcPacket(0, FlvBuilder::key, static_cast<std::uint8_t>(type), 0, {1})); }),
            StartsWith("Unknown packet type.=" + std::to_string(type) + " @AvcVideoDataHandler:"));
    }
}

TEST_F(AvcVideoDataHandlerTest, RefusesATagThatHasNotBeenRead) {
    MemoryStream file(FlvBuilder().avcNalus(0, FlvBuilder::key, {slice}).build());
    const FlvTag unread(file);
    file.seek(24);
    FlvVideoTag header;
    header.read(file);
    EXPECT_EQ(thrown<FatalException>([&] { handler.handle(file, *source, *stream.Get(), unread, header); }),
              "Not read yet. @FlvTag:65");
}

} // namespace
