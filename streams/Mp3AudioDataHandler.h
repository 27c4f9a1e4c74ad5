#pragma once

#include "streams/AudioDataHandler.h"

#include <mfobjects.h>
#include <wrl/client.h>

#include <cstdint>

namespace JY::Pictaro::Fs {

/// MP3 audio. The header of a tag's first frame becomes the media type, unless the stream has one; each tag becomes one
/// sample, from its first frame sync onward.
///
/// The handler carries the codec identifier of AAC, so that a stream makes a new one for every tag: the duration of
/// each sample is its time.
class Mp3AudioDataHandler : public AudioDataHandler {
public:
    static constexpr std::uint8_t codec = 10;

    Mp3AudioDataHandler() : AudioDataHandler(codec) {}

    /// Throws ErrorException "Parse error.", "Unsupported layer." and the like for bad data.
    void handle(Stream& reader, StreamSource& source, FlvStream& stream, const FlvTag& tag,
                const FlvAudioTag& header) override;

private:
    static Microsoft::WRL::ComPtr<IMFMediaType> createMediaType(Stream& reader, const Log2::Logger& log);
};

} // namespace JY::Pictaro::Fs
