#include "tools/VideoFormat.h"

#include "tools/Failure.h"

#include <mfapi.h>
#include <wrl/client.h>

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

struct VideoFormatOf : testing::Test {
    Microsoft::WRL::ComPtr<IMFMediaType> type;

    VideoFormatOf() {
        MFCreateMediaType(type.GetAddressOf());
        setSize(1920, 1088);
    }

    void setSize(UINT32 width, UINT32 height) { MFSetAttributeSize(type.Get(), MF_MT_FRAME_SIZE, width, height); }

    void setAperture(const GUID& key, short left, short top, long width, long height) {
        MFVideoArea area{};
        area.OffsetX.value = left;
        area.OffsetY.value = top;
        area.Area = {width, height};
        type->SetBlob(key, reinterpret_cast<const UINT8*>(&area), sizeof area);
    }

    VideoFormat format(FrameSize announced = {}) { return VideoFormat::of(*type.Get(), announced); }
};

TEST_F(VideoFormatOf, ShowsTheWholePictureWithoutMoreWord) {
    EXPECT_EQ(format().coded, (FrameSize{1920, 1088}));
    EXPECT_EQ(format().visible, (FrameSize{1920, 1088}));
    EXPECT_EQ(format().stride, 1920U);
}

TEST_F(VideoFormatOf, ShowsTheDecodersAperture) {
    setAperture(MF_MT_MINIMUM_DISPLAY_APERTURE, 2, 4, 1916, 1080);
    EXPECT_EQ(format().visible, (FrameSize{1916, 1080}));
    EXPECT_EQ(format().left, 2U);
    EXPECT_EQ(format().top, 4U);
}

TEST_F(VideoFormatOf, PrefersTheDisplayApertureToTheGeometricOne) {
    setAperture(MF_MT_GEOMETRIC_APERTURE, 0, 0, 1920, 1086);
    EXPECT_EQ(format().visible, (FrameSize{1920, 1086}));
    setAperture(MF_MT_MINIMUM_DISPLAY_APERTURE, 0, 0, 1920, 1080);
    EXPECT_EQ(format().visible, (FrameSize{1920, 1080}));
}

TEST_F(VideoFormatOf, DoesNotBelieveAnApertureBeyondThePicture) {
    setAperture(MF_MT_MINIMUM_DISPLAY_APERTURE, 8, 0, 1920, 1080);
    EXPECT_EQ(format().visible, (FrameSize{1920, 1088}));
    EXPECT_EQ(format().left, 0U);
}

TEST_F(VideoFormatOf, ShowsTheAnnouncedSizeThatTheDecoderHasRoundedUp) {
    EXPECT_EQ(format({1920, 1080}).visible, (FrameSize{1920, 1080}));
}

TEST_F(VideoFormatOf, DoesNotBelieveAnAnnouncedSizeThatIsAnother) {
    EXPECT_EQ(format({1280, 720}).visible, (FrameSize{1920, 1088}));
    EXPECT_EQ(format({1920, 1089}).visible, (FrameSize{1920, 1088}));
}

TEST_F(VideoFormatOf, TakesTheStrideOfTheType) {
    type->SetUINT32(MF_MT_DEFAULT_STRIDE, 2048);
    EXPECT_EQ(format().stride, 2048U);
}

TEST_F(VideoFormatOf, DoesNotBelieveAStrideNarrowerThanThePicture) {
    type->SetUINT32(MF_MT_DEFAULT_STRIDE, 1000);
    EXPECT_EQ(format().stride, 1920U);
}

TEST_F(VideoFormatOf, ChoosesTheMatrixByTheSize) {
    EXPECT_EQ(format().matrix, YuvMatrix::bt709);
    setSize(1280, 544);
    EXPECT_EQ(format().matrix, YuvMatrix::bt709);
    setSize(720, 720);
    EXPECT_EQ(format().matrix, YuvMatrix::bt709);
    setSize(720, 576);
    EXPECT_EQ(format().matrix, YuvMatrix::bt601);
}

TEST_F(VideoFormatOf, TakesTheMatrixAndTheRangeOfTheType) {
    EXPECT_FALSE(format().fullRange);
    type->SetUINT32(MF_MT_YUV_MATRIX, MFVideoTransferMatrix_BT601);
    type->SetUINT32(MF_MT_VIDEO_NOMINAL_RANGE, MFNominalRange_0_255);
    EXPECT_EQ(format().matrix, YuvMatrix::bt601);
    EXPECT_TRUE(format().fullRange);
}

TEST_F(VideoFormatOf, RefusesSizesThatMakeNoSense) {
    setSize(0, 1080);
    EXPECT_THROW(format(), Failure);
    setSize(1920, 0);
    EXPECT_THROW(format(), Failure);
    setSize(0xFFFFFFFF, 2);
    EXPECT_THROW(format(), Failure);
}

} // namespace
} // namespace JY::Tools
