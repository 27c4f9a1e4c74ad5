#pragma once

#include "streams/DataHandler.h"
#include "streams/SampleClock.h"
#include "streams/TagPayload.h"

#include <cstdint>

namespace JY::Log2 {
class Logger;
}

namespace JY::Pictaro::Fs {

class FlvAudioTag;

/// Turns the audio tags of one codec into samples; the codec is the header's SoundFormat.
class AudioDataHandler : public DataHandler<FlvAudioTag> {
public:
    TimePosition getLastTimePosition() const override { return clock_.last(); }

protected:
    using DataHandler::DataHandler;

    /// What the tag's body holds behind its first `size` bytes, where `reader` stands. Throws ErrorException
    /// "Too short." when the tag claims to be smaller, FatalException "Not read yet.".
    static TagPayload payloadBehind(std::uint32_t size, Stream& reader, const FlvTag& tag);
    /// Queues what the payload has left as the stream's next sample, at the tag's time. What a file that ends early
    /// does not give is zero. Throws ApiErrorException.
    void queueSample(TagPayload& payload, StreamSource& source, FlvStream& stream, const FlvTag& tag,
                     const Log2::Logger& log);

private:
    SampleClock clock_;
};

} // namespace JY::Pictaro::Fs
