#pragma once

#include "streams/AudioDataHandler.h"

#include <cstdint>
#include <memory>

namespace JY::Pictaro::Fs {

/// Knows the audio codecs that the module supports.
class AudioDataHandlerFactory {
public:
    /// A new handler for tags with this SoundFormat. Throws ApiErrorException "createAudioDataHandler" with
    /// MF_E_UNSUPPORTED_FORMAT.
    static std::unique_ptr<AudioDataHandler> createAudioDataHandler(std::uint8_t codecId);
};

} // namespace JY::Pictaro::Fs
