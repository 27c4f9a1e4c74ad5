#pragma once

#include "streams/DataHandler.h"

namespace JY::Pictaro::Fs {

class FlvVideoTag;

/// Turns the video tags of one codec into samples; the codec is the header's CodecID.
class VideoDataHandler : public DataHandler<FlvVideoTag> {
protected:
    using DataHandler::DataHandler;
};

} // namespace JY::Pictaro::Fs
