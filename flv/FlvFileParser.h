#pragma once

#include "flv/FlvTagHandler.h"
#include "flv/TimePosition.h"

#include <cstdint>

namespace JY::Pictaro::Fs {

/// Walks one FLV file: reads tags one at a time and offers them to its handlers, and moves to where a seek must start.
/// Any thread: all but `getPosition`, `hasAudio` and `hasVideo` take the parser's lock.
class FlvFileParser {
public:
    virtual void clearHandler() = 0;
    /// Appends a handler, which is not owned: it must be cleared before it goes.
    virtual void addHandler(FlvTagHandler& handler) = 0;
    /// Reads the next tag and offers it to the handlers in order until one takes it. False at the end of the file; a
    /// further call then reads the last tag again. Throws what tag reading and the handlers throw.
    virtual bool readOneTag() = 0;
    /// Moves to a byte offset of the file. Throws ApiErrorException "SetFilePointerEx".
    virtual void setFilePosition(std::int64_t bytePosition) = 0;
    /// Moves so that the next tag read is one where playback for `target` may start.
    virtual void seekPosition(TimePosition target) = 0;
    /// The time of the last tag read; 0 before the first.
    virtual TimePosition getPosition() const = 0;
    /// Whether the file's header announces audio, and video.
    virtual bool hasAudio() const = 0;
    virtual bool hasVideo() const = 0;
    virtual ~FlvFileParser() = default;
};

} // namespace JY::Pictaro::Fs
