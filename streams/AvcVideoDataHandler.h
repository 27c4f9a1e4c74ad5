#pragma once

#include "flv/FlvVideoTag.h"
#include "log/Logger.h"
#include "streams/SampleClock.h"
#include "streams/TagPayload.h"
#include "streams/VideoDataHandler.h"

#include <mfidl.h>
#include <wrl/client.h>

#include <cstdint>
#include <span>
#include <vector>

namespace JY::Pictaro::Fs {

/// H.264 video. The sequence header, an AVCDecoderConfigurationRecord, becomes the media type; each NAL unit becomes
/// one sample of its own in the form of Annex B: a start code in place of the length, and on key frames the parameter
/// sets in front. All samples of a tag have the same time.
class AvcVideoDataHandler : public VideoDataHandler {
public:
    static constexpr std::uint8_t codec = FlvVideoTag::avc;

    AvcVideoDataHandler() : VideoDataHandler(codec) {}

    /// Throws ErrorException "Unknown packet type.=" or "Parse error." for bad data, and what the source's getMetaDatum
    /// and the stream's requireRoom throw. After a failure the parameter sets may be incomplete until the next sequence
    /// header.
    void handle(Stream& reader, StreamSource& source, FlvStream& stream, const FlvTag& tag,
                const FlvVideoTag& header) override;
    TimePosition getLastTimePosition() const override { return clock_.last(); }

private:
    void readSequenceHeader(TagPayload& payload, StreamSource& source, FlvStream& stream);
    void readConfiguration(TagPayload& payload, const Log2::Logger& log);
    void readAllParameterSets(TagPayload& payload, const Log2::Logger& log);
    void readParameterSets(TagPayload& payload, unsigned count);
    void readParameterSet(TagPayload& payload);
    Microsoft::WRL::ComPtr<IMFMediaType> createAvcMediaType(const StreamSource& source) const;
    void readNalus(TagPayload& payload, StreamSource& source, FlvStream& stream, const FlvTag& tag,
                   const FlvVideoTag& header);
    Microsoft::WRL::ComPtr<IMFSample> readNalu(TagPayload& payload, std::uint32_t length,
                                               std::span<const std::uint8_t> parameterSets, StreamSource& source,
                                               const Log2::Logger& log) const;

    std::uint8_t naluSizeUnit_ = 0; ///< bytes of each NAL unit's length; 0 before the first sequence header
    std::uint8_t avcProfileIndication_ = 0;
    std::uint8_t avcLevelIndication_ = 0;
    std::vector<std::uint8_t> parameterByteStream_; ///< all parameter sets, a start code in front of each
    SampleClock clock_;
};

} // namespace JY::Pictaro::Fs
