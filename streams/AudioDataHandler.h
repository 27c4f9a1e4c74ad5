#pragma once

#include "streams/DataHandler.h"

namespace JY::Pictaro::Fs {

class FlvAudioTag;

/// Turns the audio tags of one codec into samples; the codec is the header's SoundFormat.
class AudioDataHandler : public DataHandler<FlvAudioTag> {
protected:
    using DataHandler::DataHandler;
};

} // namespace JY::Pictaro::Fs
