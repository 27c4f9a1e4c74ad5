#include "tools/VideoFormat.h"

#include "tools/Failure.h"

#include <mfapi.h>
#include <mferror.h>

#include <array>
#include <optional>

namespace JY::Tools {

namespace {

/// Decoders round sizes up to whole macroblocks of this many pixels.
constexpr unsigned macroblock = 16;
/// Beyond any video, and small enough that sizes in bytes fit 32 bits.
constexpr unsigned largestSide = 16384;

constexpr unsigned firstHighDefinitionWidth = 1280;
constexpr unsigned firstHighDefinitionHeight = 720;

std::optional<MFVideoArea> apertureOf(IMFAttributes& type) {
    for (const GUID* key : {&MF_MT_MINIMUM_DISPLAY_APERTURE, &MF_MT_GEOMETRIC_APERTURE}) {
        MFVideoArea area{};
        UINT32 size = 0;
        if (SUCCEEDED(type.GetBlob(*key, reinterpret_cast<UINT8*>(&area), sizeof area, &size)) && size == sizeof area) {
            return area;
        }
    }
    return std::nullopt;
}

bool isRoundedUp(unsigned coded, unsigned announced) {
    return announced != 0 && announced <= coded && coded - announced < macroblock;
}

bool fits(long offset, long length, unsigned whole) {
    return offset >= 0 && length > 0 && static_cast<unsigned>(offset) + static_cast<unsigned>(length) <= whole;
}

void setVisible(VideoFormat& format, IMFAttributes& type, FrameSize announced) {
    format.visible = format.coded;
    if (const auto area = apertureOf(type)) {
        const long left = area->OffsetX.value;
        const long top = area->OffsetY.value;
        if (fits(left, area->Area.cx, format.coded.width) && fits(top, area->Area.cy, format.coded.height)) {
            format.left = static_cast<unsigned>(left);
            format.top = static_cast<unsigned>(top);
            format.visible = {static_cast<unsigned>(area->Area.cx), static_cast<unsigned>(area->Area.cy)};
        }
    } else if (isRoundedUp(format.coded.width, announced.width) && isRoundedUp(format.coded.height, announced.height)) {
        format.visible = announced;
    }
}

YuvMatrix matrixOf(IMFAttributes& type, FrameSize size) {
    UINT32 matrix = MFVideoTransferMatrix_Unknown;
    type.GetUINT32(MF_MT_YUV_MATRIX, &matrix);
    if (matrix == MFVideoTransferMatrix_BT601 || matrix == MFVideoTransferMatrix_BT709) {
        return matrix == MFVideoTransferMatrix_BT709 ? YuvMatrix::bt709 : YuvMatrix::bt601;
    }
    const bool highDefinition = size.width >= firstHighDefinitionWidth || size.height >= firstHighDefinitionHeight;
    return highDefinition ? YuvMatrix::bt709 : YuvMatrix::bt601;
}

unsigned strideOf(IMFAttributes& type, unsigned width) {
    UINT32 stride = 0;
    type.GetUINT32(MF_MT_DEFAULT_STRIDE, &stride);
    return stride >= width && stride <= largestSide ? stride : width;
}

} // namespace

FrameSize frameSizeOf(IMFAttributes& type) {
    UINT64 packed = 0;
    if (FAILED(type.GetUINT64(MF_MT_FRAME_SIZE, &packed))) {
        return {};
    }
    return {static_cast<unsigned>(packed >> 32U), static_cast<unsigned>(packed & 0xFFFFFFFFU)};
}

VideoFormat VideoFormat::of(IMFMediaType& type, FrameSize announced) {
    VideoFormat format;
    format.coded = frameSizeOf(type);
    if (format.coded.width == 0 || format.coded.height == 0 || format.coded.width > largestSide ||
        format.coded.height > largestSide) {
        throw Failure(MF_E_INVALIDMEDIATYPE, "the size of the decoded pictures");
    }
    format.stride = strideOf(type, format.coded.width);
    setVisible(format, type, announced);
    format.matrix = matrixOf(type, format.visible);
    UINT32 range = MFNominalRange_Unknown;
    type.GetUINT32(MF_MT_VIDEO_NOMINAL_RANGE, &range);
    format.fullRange = range == MFNominalRange_0_255;
    return format;
}

} // namespace JY::Tools
