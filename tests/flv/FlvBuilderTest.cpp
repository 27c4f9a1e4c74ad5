#include "tests/support/FlvBuilder.h"

#include <gtest/gtest.h>

namespace {

using JY::Test::AacConfig;
using JY::Test::AvcConfig;
using JY::Test::Bytes;
using JY::Test::FlvBuilder;
using JY::Test::join;
using JY::Test::MetaData;
using JY::Test::Mp3Header;
namespace Amf0 = JY::Test::Amf0;

const Bytes header = {'F', 'L', 'V', 1, 5, 0, 0, 0, 9};

} // namespace

TEST(FlvBuilder, TagsFollowTheHeaderAndTheLastSizeFollowsTheTags) {
    const Bytes file = FlvBuilder().tag(8, 0x01020304, {0xAA}).tag(9, 5, {0xBB, 0xCC}).build();
    EXPECT_EQ(file, join({header,
                          {0, 0, 0, 0, 8, 0, 0, 1, 0x02, 0x03, 0x04, 0x01, 0, 0, 0, 0xAA},
                          {0, 0, 0, 12, 9, 0, 0, 2, 0, 0, 5, 0, 0, 0, 0, 0xBB, 0xCC},
                          {0, 0, 0, 13}}));
}

TEST(FlvBuilder, EveryFieldCanBeForced) {
    const Bytes file = FlvBuilder(1, 2, 13)
                           .withPreviousTagSize(7)
                           .withDataSize(0x010203)
                           .withStreamId(9)
                           .tag(8, 0, {})
                           .trailer({1})
                           .strayBytes({2})
                           .build();
    EXPECT_EQ(file, join({{'F', 'L', 'V', 2, 1, 0, 0, 0, 13}, {0, 0, 0, 7, 8, 1, 2, 3, 0, 0, 0, 0, 0, 0, 9}, {1, 2}}));
}

TEST(FlvBuilder, ForcedFieldsAreForOneTagOnly) {
    const Bytes file = FlvBuilder(Bytes{}).withDataSize(1).tag(8, 0, {}).tag(8, 0, {}).withoutTrailer().build();
    EXPECT_EQ(file, (Bytes{0, 0, 0, 0,  8, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, //
                           0, 0, 0, 11, 8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(FlvBuilder, TellsWhereItsTagsStart) {
    FlvBuilder builder;
    builder.tag(8, 0, {1, 2, 3}).raw({7, 7}).tag(9, 0, {1});
    EXPECT_EQ(builder.recordPosition(0), 9);
    EXPECT_EQ(builder.recordPosition(1), 29);
    EXPECT_EQ(builder.tagPosition(1), 33);
    EXPECT_EQ(builder.recordPosition(2), 45);
    EXPECT_EQ(builder.build().size(), 49U);
}

TEST(FlvBuilder, KeyFrameIndexHoldsTheKeyFramesBehindIt) {
    FlvBuilder builder;
    builder.onMetaData(MetaData().duration(4).indexKeyFrames())
        .avcSequenceHeader(0)
        .avcNalus(0, FlvBuilder::key, {{0x65}})
        .avcNalus(40, FlvBuilder::inter, {{0x41}})
        .avcNalus(2000, FlvBuilder::key, {{0x65}});
    const Bytes expected =
        FlvBuilder()
            .onMetaData(MetaData().duration(4).keyframes(
                {0, 2}, {static_cast<double>(builder.tagPosition(2)), static_cast<double>(builder.tagPosition(4))}))
            .withoutTrailer()
            .build();
    EXPECT_EQ(JY::Test::firstBytes(builder.build(), expected.size()), expected);
}

TEST(FlvBuilder, AvcTagsHaveTheirHeaders) {
    EXPECT_EQ(FlvBuilder(Bytes{}).avcNalus(0, FlvBuilder::key, {{1, 2}, {3}}, -1, 2).withoutTrailer().build(),
              (Bytes{0, 0, 0, 0, 9, 0, 0, 12, 0, 0, 0, 0, 0, 0, 0, 0x17, 1, 0xFF, 0xFF, 0xFF, 0, 2, 1, 2, 0, 1, 3}));
    EXPECT_EQ((AvcConfig{1, 66, 0xC0, 30, 4, {{0x67, 1}}, {{0x68}}}.bytes()),
              (Bytes{1, 66, 0xC0, 30, 0xFF, 0xE1, 0, 2, 0x67, 1, 1, 0, 1, 0x68}));
}

TEST(FlvBuilder, AacTagsHaveTheirHeaders) {
    EXPECT_EQ(FlvBuilder(Bytes{}).aacRaw(0, {5}).withoutTrailer().build(),
              (Bytes{0, 0, 0, 0, 8, 0, 0, 3, 0, 0, 0, 0, 0, 0, 0, 0xAF, 1, 5}));
    EXPECT_EQ(AacConfig{}.bytes(), (Bytes{0x12, 0x10}));
}

TEST(FlvBuilder, Mp3TagsHaveTheirHeaders) {
    EXPECT_EQ(FlvBuilder(Bytes{}).mp3(0, {5}).withoutTrailer().build(),
              (Bytes{0, 0, 0, 0, 8, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0x2F, 5}));
    EXPECT_EQ(Mp3Header{}.bytes(), (Bytes{0xFF, 0xFB, 0x90, 0x40}));
    EXPECT_EQ((Mp3Header{2, 0, 0, 1, 2, 1, 1, 3}.bytes()), (Bytes{0xFF, 0xF0, 0x1B, 0xC0}));
}

TEST(FlvBuilder, ScriptValuesAreMarked) {
    EXPECT_EQ(Amf0::number(1), (Bytes{0, 0x3F, 0xF0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(Amf0::boolean(true), (Bytes{1, 1}));
    EXPECT_EQ(Amf0::string("ab"), (Bytes{2, 0, 2, 'a', 'b'}));
    EXPECT_EQ(Amf0::object({{"k", Amf0::null()}}), (Bytes{3, 0, 1, 'k', 5, 0, 0, 9}));
    EXPECT_EQ(Amf0::ecmaArray({{"k", Amf0::undefined()}}), (Bytes{8, 0, 0, 0, 1, 0, 1, 'k', 6, 0, 0, 9}));
    EXPECT_EQ(Amf0::strictArray({Amf0::boolean(false)}), (Bytes{10, 0, 0, 0, 1, 1, 0}));
    EXPECT_EQ(Amf0::date(0, -60), (Bytes{11, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xC4}));
}
