#pragma once

#include "util/Stream.h"

#include <array>
#include <cstdint>

namespace JY::Pictaro::Fs {

/// The media header at the start of a video tag's body. All zero until it is read.
class FlvVideoTag {
public:
    static constexpr std::uint8_t avc = 7;      ///< a CodecID
    static constexpr std::uint8_t keyFrame = 1; ///< a FrameType

    /// Reads the header and leaves `stream` at the payload. A composition time that the data end in the middle of is
    /// taken as far as it goes. Throws ErrorException "Too short FlvVideoTag.".
    void read(Stream& stream);

    std::uint8_t getFrameType() const { return static_cast<std::uint8_t>(header_ >> 4); }
    bool isKeyFrame() const { return getFrameType() == keyFrame; }
    std::uint8_t getCodecId() const { return header_ & 0x0F; }
    /// With AVC only: 0 for a sequence header, 1 for NAL units, 2 for the end of the sequence.
    std::uint8_t getAvcPacketType() const { return avcPacketType_; }
    /// With AVC only: the 24 bits of a signed number of milliseconds, as they stand in the file.
    std::uint32_t getCompositionTimeBits() const;

private:
    std::uint8_t header_ = 0;
    std::uint8_t avcPacketType_ = 0;
    std::array<std::uint8_t, 3> compositionTime_{};
};

} // namespace JY::Pictaro::Fs
