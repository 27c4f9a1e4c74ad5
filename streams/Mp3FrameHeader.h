#pragma once

#include "log/Logger.h"
#include "util/Stream.h"

#include <cstdint>

namespace JY::Pictaro::Fs {

/// The fields of an MPEG audio frame header, Layer III, that describe the sound.
struct Mp3FrameHeader {
    std::uint32_t bitRate;      ///< kbit/s
    std::uint32_t samplingRate; ///< Hz
    std::uint32_t channels;

    /// Reads the header of the frame at which `reader` stands, and records each field at "info". Throws ErrorException
    /// "Parse error.", "Invalid version.", "Unsupported layer." and those below; the reader then stands behind the byte
    /// that was wrong.
    static Mp3FrameHeader read(Stream& reader, const Log2::Logger& log);
};

// `version` and `index` are the header's fields, at most 3 and 15 or 3. Version 3 is MPEG-1, 2 MPEG-2 and 0 MPEG-2.5.

/// In kbit/s. Throws ErrorException "Invalid bitrate lookup. version=" for an index without a bit rate.
std::uint32_t mp3BitRate(std::uint8_t version, std::uint8_t index);
/// In Hz. Throws ErrorException "Invalid sampling freq lookup. version" for an index without a rate, "Invalid
/// version.=" for a version without rates.
std::uint32_t mp3SamplingRate(std::uint8_t version, std::uint8_t index);

} // namespace JY::Pictaro::Fs
