#pragma once

#include "streams/VideoDataHandler.h"

#include <cstdint>
#include <memory>

namespace JY::Pictaro::Fs {

/// Knows the video codecs that the module supports.
class VideoDataHandlerFactory {
public:
    /// A new handler for tags with this CodecID. Throws ApiErrorException "createVideoDataHandler" with
    /// MF_E_UNSUPPORTED_FORMAT.
    static std::unique_ptr<VideoDataHandler> createVideoDataHandler(std::uint8_t codecId);
};

} // namespace JY::Pictaro::Fs
