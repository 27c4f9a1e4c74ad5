#include "streams/AudioDataHandler.h"

#include "log/Logger.h"
#include "streams/CutDump.h"
#include "streams/FlvStream.h"
#include "streams/SampleBuffer.h"
#include "streams/StreamSource.h"
#include "util/ErrorException.h"

#include <wrl/client.h>

#include <algorithm>
#include <span>
#include <utility>

namespace JY::Pictaro::Fs {

using Microsoft::WRL::ComPtr;

namespace {

constexpr SourceFile here{"AudioDataHandler"};

/// Fills the memory with the payload. What a file that ends early does not give is zero.
void readPayload(TagPayload& payload, std::span<std::uint8_t> bytes) {
    const std::uint32_t taken = payload.read(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    std::ranges::fill(bytes.subspan(taken), std::uint8_t{0});
}

} // namespace

TagPayload AudioDataHandler::payloadBehind(std::uint32_t size, Stream& reader, const FlvTag& tag) {
    if (tag.getDataSize() < size) {
        throw ErrorException(here(), "Too short.");
    }
    return TagPayload(reader, tag, size);
}

void AudioDataHandler::queueSample(TagPayload& payload, StreamSource& source, FlvStream& stream, const FlvTag& tag,
                                   const Log2::Logger& log) {
    const std::uint32_t size = payload.left();
    SampleBuffer buffer(size);
    readPayload(payload, buffer.bytes());
    log.info(here()) << "AudioData(" << size << ")=" << cutDump(buffer.bytes(), source.getNumDumpBin());
    ComPtr<IMFSample> sample = buffer.toSample();
    clock_.stamp(*sample.Get(), tag.getTimePosition());
    stream.queueSample(std::move(sample), 0);
}

} // namespace JY::Pictaro::Fs
