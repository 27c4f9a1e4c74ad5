// What a sequence header leaves in the handler, also one that fails, and what comes of it in the tags that follow.

#include "streams/AvcVideoDataHandler.h"
#include "tests/streams/StreamTest.h"
#include "util/ErrorException.h"

#include <algorithm>

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro::Fs;
using Pictaro::TimePosition;
using testing::StartsWith;

const Bytes startCode = {0, 0, 1};
const Bytes parameterSets = join({startCode, {0x67, 0x42, 0xC0, 0x1E, 0xD9}, startCode, {0x68, 0xCB, 0x83, 0xCB}});
const Bytes slice = {0x41, 1, 2, 3, 4};

class AvcConfigurationTest : public HandlerTest<AvcVideoDataHandler, FlvVideoTag> {
protected:
    void configure(const AvcConfig& config = {}) { handle(FlvBuilder().avcSequenceHeader(0, config)); }
    /// What a sequence header of these bytes throws.
    std::string errorOf(const Bytes& config) {
        return thrown<ErrorException>([&] { handle(FlvBuilder().avcPacket(0, FlvBuilder::key, 0, 0, config)); });
    }
    /// The one sample of a tag with one NAL unit, behind a length of `lengthSize` bytes.
    SampleContent sampleOfFrame(std::uint8_t frameType, unsigned lengthSize = 4) {
        stream->samples.clear();
        handle(FlvBuilder().avcNalus(0, frameType, {slice}, 0, lengthSize));
        EXPECT_EQ(stream->samples.size(), 1U);
        return stream->contents().at(0);
    }
};

/// A parameter set of this many bytes.
Bytes parameterSet(std::uint8_t type, std::size_t size) {
    Bytes bytes(size, 0x7A);
    bytes.front() = type;
    return bytes;
}

TEST_F(AvcConfigurationTest, ReadsLengthsOfParameterSetsMostSignificantByteFirst) {
    AvcConfig config;
    config.sps = {parameterSet(0x67, 0x0102)};
    config.pps = {parameterSet(0x68, 0x0201), parameterSet(0x68, 1)};
    configure(config);
    EXPECT_EQ(sampleOfFrame(FlvBuilder::key).bytes,
              join({startCode, config.sps[0], startCode, config.pps[0], startCode, config.pps[1], startCode, slice}));
}

TEST_F(AvcConfigurationTest, TakesAParameterSetOfTheLargestSize) {
    AvcConfig config;
    config.sps = {parameterSet(0x67, 0xFFFF)};
    config.pps.clear();
    configure(config);
    EXPECT_EQ(sampleOfFrame(FlvBuilder::key).bytes, join({startCode, config.sps[0], startCode, slice}));
}

TEST_F(AvcConfigurationTest, ForgetsTheParameterSetsBeforeItReadsHowManyThereAre) {
    configure();
    EXPECT_THAT(errorOf({1, 66, 0, 30, 0xFC}), StartsWith("Parse error. @AvcVideoDataHandler:"));
    EXPECT_EQ(sampleOfFrame(FlvBuilder::key, 1).bytes, join({startCode, slice})) << "and has the new size of lengths";
}

TEST_F(AvcConfigurationTest, KeepsTheParameterSetsInFrontOfTheOneThatIsCut) {
    configure();
    EXPECT_THAT(errorOf({1, 66, 0, 30, 0xFF, 0xE2, 0, 2, 0x67, 0x11, 0}), StartsWith("Parse error."));
    EXPECT_EQ(sampleOfFrame(FlvBuilder::key).bytes, join({startCode, {0x67, 0x11}, startCode, slice}));
}

TEST_F(AvcConfigurationTest, KeepsWhatItReadWhenThereIsNoMetadataForTheMediaType) {
    source->metaData.clear();
    AvcConfig config;
    config.naluLengthSize = 2;
    EXPECT_THROW(configure(config), FlvMetaData::MetaDataNotFoundException);
    EXPECT_TRUE(stream->descriptors.empty());
    EXPECT_EQ(sampleOfFrame(FlvBuilder::key, 2).bytes, join({parameterSets, startCode, slice}));
}

TEST_F(AvcConfigurationTest, KeepsTheDescriptorBeforeWhenALaterSequenceHeaderFails) {
    configure();
    const auto descriptors = stream->descriptors;
    EXPECT_THAT(errorOf({1, 66}), StartsWith("Parse error."));
    EXPECT_EQ(stream->descriptors, descriptors);
}

TEST_F(AvcConfigurationTest, KeepsItsTime) {
    configure();
    handle(FlvBuilder().avcNalus(40, FlvBuilder::inter, {slice}));
    configure();
    EXPECT_EQ(handler.getLastTimePosition(), TimePosition(40'000));
    handle(FlvBuilder().avcNalus(100, FlvBuilder::inter, {slice}));
    EXPECT_EQ(stream->contents().back().duration, 600'000);
}

TEST_F(AvcConfigurationTest, AsksForTheMetadataInTheOrderOfTheAttributes) {
    const std::string noNumber = "25";
    source->metaData = {{"framerate", noNumber}, {"width", noNumber}, {"height", noNumber}};
    for (const char* const name : {"framerate", "width", "height"}) {
        EXPECT_THAT(thrown<ErrorException>([&] { configure(); }),
                    StartsWith(std::string("MetaData ") + name + " is not a number.=3"));
        source->metaData[name] = 25.0L;
    }
    configure();
    EXPECT_EQ(stream->descriptors.size(), 1U);
}

TEST_F(AvcConfigurationTest, NamesTheKindOfMetadataThatIsNoNumber) {
    const MetaDatum kinds[] = {EndMarker::value,  true,           25.0L, std::string("25"), MetaObject{},
                               MetaStrictArray{}, MetaEcmaArray{}};
    for (int kind = 0; kind < 7; ++kind) {
        source->metaData["framerate"] = kinds[kind];
        const std::string expected = kind == 2 ? std::string("nothing was thrown")
                                               : "MetaData framerate is not a number.=" + std::to_string(kind) + " @";
        EXPECT_THAT(thrown<ErrorException>([&] { configure(); }), StartsWith(expected));
    }
}

TEST_F(AvcConfigurationTest, RecordsNoAttributeThatCouldNotBeSet) {
    source->metaData["width"] = true;
    EXPECT_THROW(configure(), ErrorException);
    EXPECT_TRUE(log.contains("framerate numerator="));
    EXPECT_FALSE(log.contains("framesize width="));
    EXPECT_FALSE(log.contains("MF_MT_MPEG2_LEVEL="));
}

TEST_F(AvcConfigurationTest, HoldsForTheNalUnitsOfFrameTypeOneAlone) {
    configure();
    for (unsigned frameType = 0; frameType < 16; ++frameType) {
        const SampleContent sample = sampleOfFrame(static_cast<std::uint8_t>(frameType));
        const bool isKeyFrame = frameType == 1;
        EXPECT_EQ(sample.bytes, isKeyFrame ? join({parameterSets, startCode, slice}) : join({startCode, slice}))
            << frameType;
        EXPECT_EQ(sample.cleanPoint, isKeyFrame) << frameType;
    }
}

} // namespace
