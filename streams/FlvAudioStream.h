#pragma once

#include "streams/AudioDataHandler.h"
#include "streams/FlvStream.h"

#include <cstdint>
#include <memory>

namespace JY::Pictaro::Fs {

/// The audio stream of a source. Made with `createObject<FlvAudioStream>(...)`.
class FlvAudioStream : public FlvStream {
public:
    static constexpr DWORD defaultStreamId = 1001;

    FlvAudioStream(ModuleUsageCounter& counter, StreamSource& source, FlvFileParser& parser,
                   boost::shared_ptr<Lock> sourceLock, DWORD streamId = defaultStreamId);
    ~FlvAudioStream() override;

    void initialize() override;

    /// Takes audio tags. Throws ErrorException "Too short.", ApiErrorException "createAudioDataHandler" for a codec
    /// that is not supported, and what the codec handler throws.
    bool handleTag(Stream& reader, const FlvTag& tag) override;
    /// Always: audio can start anywhere.
    bool isRandomAccessPoint(Stream& reader, const FlvTag& tag) override;

protected:
    /// A handler for a codec that the current one does not fit.
    virtual std::unique_ptr<AudioDataHandler> createHandler(std::uint8_t codecId) const;

private:
    std::unique_ptr<AudioDataHandler> handler_;
};

} // namespace JY::Pictaro::Fs
