#pragma once

#include "source/SourceState.h"
#include "util/SourcePosition.h"

#include <mfobjects.h>
#include <windows.h>

#include <optional>
#include <string_view>

/// The steps that transitions are made of. `where` is the transition that takes the step; failures carry it.
namespace JY::Pictaro::Fs::SourceStateSteps {

/// The position asked for (100 ns); nothing for null or VT_EMPTY. Throws ApiErrorException "start" for another type.
std::optional<LONGLONG> requestedPosition(const PROPVARIANT* startPosition, SourcePosition where);

/// Moves the file to a position in 100 ns.
void seek(FlvSource& source, LONGLONG position);

/// Tells the client of a stream: as updated when it has been activated, else as new.
void announce(FlvSource& source, FlvStream& stream);

/// Send an event on a stream or the source, without a value or with a time in 100 ns. Throw ApiErrorException
/// "QueueEvent".
void sendEvent(FlvStream& stream, MediaEventType type, SourcePosition where);
void sendEvent(FlvStream& stream, MediaEventType type, LONGLONG time, SourcePosition where);
void sendEvent(FlvSource& source, MediaEventType type, SourcePosition where);
void sendEvent(FlvSource& source, MediaEventType type, LONGLONG time, SourcePosition where);

/// Sends MESourceStarted with the current position as the actual start. `setter` names the call that sets it, for its
/// failure. Throws ErrorException "Invalid value." when there is no position.
void sendActualStart(FlvSource& source, std::string_view setter, SourcePosition where);

/// Stops the streams, which forget their samples, and the source.
SourceState& stopPlaying(FlvSource& source, const StreamList& selectedStreams, SourcePosition where);

/// Throws ApiErrorException "pause" with MF_E_INVALID_STATE_TRANSITION.
[[noreturn]] void refusePause(SourcePosition where);

} // namespace JY::Pictaro::Fs::SourceStateSteps
