#pragma once

#include "streams/FlvStream.h"
#include "streams/VideoDataHandler.h"

#include <cstdint>
#include <memory>

namespace JY::Pictaro::Fs {

/// The video stream of a source. Made with `createObject<FlvVideoStream>(...)`.
class FlvVideoStream : public FlvStream {
public:
    static constexpr DWORD defaultStreamId = 1002;

    FlvVideoStream(ModuleUsageCounter& counter, StreamSource& source, FlvFileParser& parser,
                   boost::shared_ptr<Lock> sourceLock, DWORD streamId = defaultStreamId);
    ~FlvVideoStream() override;

    void initialize() override;

    /// Takes video tags. Throws ErrorException "Too short FlvVideoTag.", ApiErrorException "createVideoDataHandler" for
    /// a codec that is not supported, and what the codec handler throws.
    bool handleTag(Stream& reader, const FlvTag& tag) override;
    /// At key frames only. Throws ErrorException "Too short FlvVideoTag.".
    bool isRandomAccessPoint(Stream& reader, const FlvTag& tag) override;

protected:
    /// A handler for a codec that the current one does not fit.
    virtual std::unique_ptr<VideoDataHandler> createHandler(std::uint8_t codecId) const;

private:
    std::unique_ptr<VideoDataHandler> handler_;
};

} // namespace JY::Pictaro::Fs
