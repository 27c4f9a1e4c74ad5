#pragma once

#include "util/Stream.h"

#include <cstdint>

namespace JY::Pictaro::Fs {

/// The media header at the start of an audio tag's body. All zero until it is read.
class FlvAudioTag {
public:
    static constexpr std::uint8_t mp3 = 2;  ///< a SoundFormat
    static constexpr std::uint8_t aac = 10; ///< a SoundFormat

    /// Reads the header and leaves `stream` at the payload. Throws ErrorException "Too short.".
    void read(Stream& stream);

    /// The codec.
    std::uint8_t getSoundFormat() const { return static_cast<std::uint8_t>(header_ >> 4); }
    /// 0 to 3: 5.5, 11, 22 and 44 kHz.
    std::uint8_t getSoundRate() const { return (header_ >> 2) & 3; }
    /// 1 for 16-bit samples.
    std::uint8_t getSoundSize() const { return (header_ >> 1) & 1; }
    /// 1 for stereo.
    std::uint8_t getSoundType() const { return header_ & 1; }
    /// With AAC only: 0 for a sequence header, 1 for a frame.
    std::uint8_t getAacPacketType() const { return aacPacketType_; }

private:
    std::uint8_t header_ = 0;
    std::uint8_t aacPacketType_ = 0;
};

} // namespace JY::Pictaro::Fs
