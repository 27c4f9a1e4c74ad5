#include "tools/AttributeWords.h"

#include <mfapi.h>
#include <wrl/client.h>

#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace JY::Tools {

bool operator==(const AttributeFacts& left, const AttributeFacts& right) {
    return left.name == right.name && left.words == right.words && left.value == right.value;
}

void PrintTo(const AttributeFacts& facts, std::ostream* out) {
    *out << facts.name << " | " << facts.words << " | " << facts.value;
}

namespace {

constexpr GUID formatOf(DWORD number) {
    return {number, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xaa, 0x00, 0x38, 0x9b, 0x71}};
}

struct DescribeAttributes : testing::Test {
    Microsoft::WRL::ComPtr<IMFMediaType> type;

    DescribeAttributes() { MFCreateMediaType(type.GetAddressOf()); }

    std::vector<AttributeFacts> facts() { return describeAttributes(*type.Get()); }
};

TEST(MediaFormatInWords, NamesWhatIsKnown) {
    EXPECT_EQ(mediaFormatInWords(MFMediaType_Audio), "audio");
    EXPECT_EQ(mediaFormatInWords(MFMediaType_Video), "video");
    EXPECT_EQ(mediaFormatInWords(MFVideoFormat_H264), "H.264");
    EXPECT_EQ(mediaFormatInWords(formatOf(0xFF)), "raw AAC");
    EXPECT_EQ(mediaFormatInWords(formatOf(0x55)), "MP3");
}

TEST(MediaFormatInWords, SpellsWhatIsNotKnown) {
    EXPECT_EQ(mediaFormatInWords(MFVideoFormat_NV12), "NV12");
    EXPECT_EQ(mediaFormatInWords(formatOf(0x161)), "format 0x161");
    EXPECT_EQ(mediaFormatInWords({1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}}), "{00000001-0002-0003-0405-060708090a0b}");
}

TEST_F(DescribeAttributes, TellsAnAudioType) {
    constexpr std::array<BYTE, 2> userData{0x12, 0x10};
    type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Audio);
    type->SetUINT32(MF_MT_AUDIO_NUM_CHANNELS, 2);
    type->SetUINT32(MF_MT_AUDIO_CHANNEL_MASK, 3);
    type->SetUINT32(MF_MT_AUDIO_SAMPLES_PER_SECOND, 44100);
    type->SetUINT32(MF_MT_AUDIO_AVG_BYTES_PER_SECOND, 64);
    type->SetBlob(MF_MT_USER_DATA, userData.data(), userData.size());
    EXPECT_THAT(facts(), testing::UnorderedElementsAre(
                             AttributeFacts{"MF_MT_MAJOR_TYPE", "kind", "audio"},
                             AttributeFacts{"MF_MT_AUDIO_NUM_CHANNELS", "channels", "2"},
                             AttributeFacts{"MF_MT_AUDIO_CHANNEL_MASK", "speakers", "front left, front right (0x3)"},
                             AttributeFacts{"MF_MT_AUDIO_SAMPLES_PER_SECOND", "sampling rate", "44100 Hz"},
                             AttributeFacts{"MF_MT_AUDIO_AVG_BYTES_PER_SECOND", "average rate", "64 bytes a second"},
                             AttributeFacts{"MF_MT_USER_DATA", "format data", "12 10"}));
}

TEST_F(DescribeAttributes, TellsAVideoType) {
    type->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_H264);
    MFSetAttributeSize(type.Get(), MF_MT_FRAME_SIZE, 1280, 720);
    MFSetAttributeRatio(type.Get(), MF_MT_FRAME_RATE, 29970, 1000);
    type->SetUINT32(MF_MT_MPEG2_PROFILE, 100);
    type->SetUINT32(MF_MT_INTERLACE_MODE, MFVideoInterlace_MixedInterlaceOrProgressive);
    EXPECT_THAT(facts(), testing::UnorderedElementsAre(
                             AttributeFacts{"MF_MT_SUBTYPE", "format", "H.264"},
                             AttributeFacts{"MF_MT_FRAME_SIZE", "frame size", "1280 x 720"},
                             AttributeFacts{"MF_MT_FRAME_RATE", "frame rate", "29.97 frames a second (29970/1000)"},
                             AttributeFacts{"MF_MT_MPEG2_PROFILE", "profile", "H.264 high (100)"},
                             AttributeFacts{"MF_MT_INTERLACE_MODE", "interlacing",
                                            "interlaced or progressive, as each frame says (7)"}));
}

TEST_F(DescribeAttributes, TellsAValueOfAnUnusualTypePlainly) {
    type->SetUINT32(MF_MT_PIXEL_ASPECT_RATIO, 1);
    EXPECT_THAT(facts(), testing::ElementsAre(AttributeFacts{"MF_MT_PIXEL_ASPECT_RATIO", "pixel aspect ratio", "1"}));
}

TEST_F(DescribeAttributes, SurvivesAFrameRateOverNothing) {
    MFSetAttributeRatio(type.Get(), MF_MT_FRAME_RATE, 25, 0);
    EXPECT_THAT(facts(), testing::ElementsAre(AttributeFacts{"MF_MT_FRAME_RATE", "frame rate", "25:0"}));
}

TEST_F(DescribeAttributes, NamesAnUnknownAttributeByItsIdentifier) {
    constexpr GUID unknown{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    type->SetString(unknown, L"\u20ac");
    const std::string name = "{00000001-0002-0003-0405-060708090a0b}";
    EXPECT_THAT(facts(), testing::ElementsAre(AttributeFacts{name, name, "\xE2\x82\xAC"}));
}

} // namespace
} // namespace JY::Tools
