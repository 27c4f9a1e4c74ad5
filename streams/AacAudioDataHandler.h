#pragma once

#include "flv/FlvAudioTag.h"
#include "streams/AudioDataHandler.h"

#include <mfidl.h>
#include <wrl/client.h>

#include <array>
#include <cstdint>

namespace JY::Pictaro::Fs {

/// AAC audio. The sequence header, an AudioSpecificConfig, becomes the media type; each raw frame becomes one sample,
/// without an ADTS header.
class AacAudioDataHandler : public AudioDataHandler {
public:
    static constexpr std::uint8_t codec = FlvAudioTag::aac;

    AacAudioDataHandler() : AudioDataHandler(codec) {}

    /// Throws ErrorException "Unknown AACPacketType=", "Parse error.", "Out of range." and the like for bad data.
    void handle(Stream& reader, StreamSource& source, FlvStream& stream, const FlvTag& tag,
                const FlvAudioTag& header) override;

private:
    void readAacSequenceHeader(Stream& reader, StreamSource& source, FlvStream& stream, const FlvTag& tag,
                               const FlvAudioTag& header);
    void parseAudioSpecificConfig(Stream& reader, const FlvTag& tag);
    Microsoft::WRL::ComPtr<IMFMediaType> createAacMediaType(StreamSource& source, const FlvAudioTag& header) const;
    void readAacRawData(Stream& reader, StreamSource& source, FlvStream& stream, const FlvTag& tag);

    std::uint8_t channelConfiguration_ = 0;
    std::uint8_t samplingFrequencyIndex_ = 0;
    std::array<std::uint8_t, 2> aacHeader_{}; ///< the AudioSpecificConfig's first bytes
};

} // namespace JY::Pictaro::Fs
