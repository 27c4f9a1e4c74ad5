#pragma once

#include "flv/FlvTag.h"
#include "util/Stream.h"

namespace JY::Pictaro::Fs {

/// Receives tags from the parser; implemented by the media streams. Called under the parser's lock.
class FlvTagHandler {
public:
    /// Offered one tag. `stream` stands at the first byte of the tag's body and is fenced to its end. Returns true when
    /// the tag was of this handler's kind and has been consumed; a handler that returns false has left `stream` alone.
    virtual bool handleTag(Stream& stream, const FlvTag& tag) = 0;
    /// Whether playback may start at this tag. `stream` stands at the first byte of the tag's body and is not fenced.
    /// It is not moved back between handlers, so that only one of those registered together may read from it.
    virtual bool isRandomAccessPoint(Stream& stream, const FlvTag& tag) = 0;
    virtual ~FlvTagHandler() = default;
};

} // namespace JY::Pictaro::Fs
