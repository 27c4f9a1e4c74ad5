#pragma once

#include "flv/FlvTag.h"
#include "flv/TimePosition.h"
#include "util/Stream.h"

#include <cstdint>
#include <memory>

namespace JY::Pictaro::Fs {

class FlvStream;
class StreamSource;

/// Turns the tags of one codec into the stream's media type and samples. `Header` is the media header in front of a
/// tag's payload. Called under the source lock.
template <class Header>
class DataHandler {
public:
    DataHandler(const DataHandler&) = delete;
    DataHandler& operator=(const DataHandler&) = delete;

    /// Whether tags of this codec go on being this handler's.
    bool fits(std::uint8_t codecId) const { return codecId_ == codecId; }

    /// Processes one tag. `reader` stands just behind `header` and is fenced to the end of the tag's body. Throws
    /// ErrorException for bad data, ApiErrorException for a failed call.
    virtual void handle(Stream& reader, StreamSource& source, FlvStream& stream, const FlvTag& tag,
                        const Header& header) = 0;
    /// The time of the last sample made; 0 before the first.
    virtual TimePosition getLastTimePosition() const = 0;
    virtual ~DataHandler() = default;

protected:
    explicit DataHandler(std::uint8_t codecId) : codecId_(codecId) {}

private:
    std::uint8_t codecId_;
};

/// The handler for tags of this codec: the one in `handler`, which `create(codecId)` replaces when it does not fit.
/// What `create` throws leaves it in place.
template <class Handler, class Create>
Handler& fittingHandler(std::unique_ptr<Handler>& handler, std::uint8_t codecId, const Create& create) {
    if (handler == nullptr || !handler->fits(codecId)) {
        handler = create(codecId);
    }
    return *handler;
}

} // namespace JY::Pictaro::Fs
