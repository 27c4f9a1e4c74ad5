#pragma once

#include "tools/Picture.h"
#include "tools/VideoFormat.h"

#include <cstdint>
#include <span>

namespace JY::Tools {

/// Turns luma and colour differences into red, green and blue, all of 8 bits.
class YuvConversion {
public:
    YuvConversion(YuvMatrix matrix, bool fullRange);

    Bgra operator()(std::uint8_t luma, std::uint8_t blueDifference, std::uint8_t redDifference) const;

private:
    double lumaBlack_;
    double lumaScale_;
    double redFromRed_;
    double greenFromBlue_;
    double greenFromRed_;
    double blueFromBlue_;
};

/// The visible part of a decoded picture in NV12: a plane of luma, then one of pairs of colour differences with half
/// as many rows.
/// @throws Failure when the buffer is too small for its format.
Picture pictureFromNv12(std::span<const std::uint8_t> buffer, const VideoFormat& format);

} // namespace JY::Tools
