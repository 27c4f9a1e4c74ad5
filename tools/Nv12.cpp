#include "tools/Nv12.h"

#include "tools/Failure.h"

#include <mferror.h>

#include <algorithm>
#include <cmath>

namespace JY::Tools {

namespace {

/// The shares of red and blue in luma.
struct LumaShares {
    double red;
    double blue;
};

constexpr LumaShares lumaShares(YuvMatrix matrix) {
    return matrix == YuvMatrix::bt709 ? LumaShares{0.2126, 0.0722} : LumaShares{0.299, 0.114};
}

constexpr double differenceZero = 128;

std::uint8_t toByte(double value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

} // namespace

YuvConversion::YuvConversion(YuvMatrix matrix, bool fullRange)
    : lumaBlack_(fullRange ? 0 : 16), lumaScale_(fullRange ? 1.0 : 255.0 / 219) {
    const auto [red, blue] = lumaShares(matrix);
    const double green = 1 - red - blue;
    const double differenceScale = fullRange ? 1.0 : 255.0 / 224;
    redFromRed_ = 2 * (1 - red) * differenceScale;
    blueFromBlue_ = 2 * (1 - blue) * differenceScale;
    greenFromRed_ = redFromRed_ * red / green;
    greenFromBlue_ = blueFromBlue_ * blue / green;
}

Bgra YuvConversion::operator()(std::uint8_t luma, std::uint8_t blueDifference, std::uint8_t redDifference) const {
    const double brightness = (luma - lumaBlack_) * lumaScale_;
    const double blue = blueDifference - differenceZero;
    const double red = redDifference - differenceZero;
    return {toByte(brightness + blueFromBlue_ * blue), toByte(brightness - greenFromBlue_ * blue - greenFromRed_ * red),
            toByte(brightness + redFromRed_ * red)};
}

Picture pictureFromNv12(std::span<const std::uint8_t> buffer, const VideoFormat& format) {
    const std::size_t stride = format.stride;
    const std::size_t lumaSize = stride * format.coded.height;
    const std::size_t differenceRows = (std::size_t{format.coded.height} + 1) / 2;
    if (buffer.size() < lumaSize + stride * differenceRows) {
        throw Failure(MF_E_BUFFERTOOSMALL, "the size of a decoded picture");
    }
    const YuvConversion convert(format.matrix, format.fullRange);
    Picture picture(format.visible.width, format.visible.height);
    for (unsigned y = 0; y < picture.height(); ++y) {
        const std::size_t row = std::size_t{format.top} + y;
        const auto luma = buffer.subspan(row * stride, stride);
        const auto differences = buffer.subspan(lumaSize + row / 2 * stride, stride);
        for (unsigned x = 0; x < picture.width(); ++x) {
            const std::size_t column = std::size_t{format.left} + x;
            const std::size_t pair = column / 2 * 2;
            picture.at(x, y) = convert(luma[column], differences[pair], differences[pair + 1]);
        }
    }
    return picture;
}

} // namespace JY::Tools
