#include "source/SourceStateSteps.h"

#include "source/SourceStateStopped.h"
#include "util/ApiErrorException.h"

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>
#include <wrl/client.h>

namespace JY::Pictaro::Fs::SourceStateSteps {

namespace {

constexpr LONGLONG hundredNanosecondsPerMicrosecond = 10;

void sendSourceEvent(FlvSource& source, MediaEventType type, const PROPVARIANT* value, SourcePosition where) {
    throwIfFailed(source.QueueEvent(type, GUID_NULL, S_OK, value), where, "QueueEvent");
}

} // namespace

std::optional<LONGLONG> requestedPosition(const PROPVARIANT* startPosition, SourcePosition where) {
    if (startPosition == nullptr || startPosition->vt == VT_EMPTY) {
        return std::nullopt;
    }
    if (startPosition->vt != VT_I8) {
        throw ApiErrorException(where, "start", static_cast<std::uint32_t>(MF_E_UNSUPPORTED_TIME_FORMAT));
    }
    return startPosition->hVal.QuadPart;
}

void seek(FlvSource& source, LONGLONG position) {
    source.seekPosition(TimePosition(position / hundredNanosecondsPerMicrosecond));
}

void announce(FlvSource& source, FlvStream& stream) {
    source.queueEvent(stream.isActivated() ? MEUpdatedStream : MENewStream, &stream);
}

void sendEvent(FlvStream& stream, MediaEventType type, SourcePosition where) {
    throwIfFailed(stream.queueEvent(type), where, "QueueEvent");
}

void sendEvent(FlvStream& stream, MediaEventType type, LONGLONG time, SourcePosition where) {
    throwIfFailed(stream.queueEvent(type, time), where, "QueueEvent");
}

void sendEvent(FlvSource& source, MediaEventType type, SourcePosition where) {
    sendSourceEvent(source, type, nullptr, where);
}

void sendEvent(FlvSource& source, MediaEventType type, LONGLONG time, SourcePosition where) {
    PROPVARIANT value{};
    value.vt = VT_I8;
    value.hVal.QuadPart = time;
    sendSourceEvent(source, type, &value, where);
}

void sendActualStart(FlvSource& source, std::string_view setter, SourcePosition where) {
    Microsoft::WRL::ComPtr<IMFMediaEvent> event;
    throwIfFailed(MFCreateMediaEvent(MESourceStarted, GUID_NULL, S_OK, nullptr, event.GetAddressOf()), where,
                  "MFCreateMediaEvent");
    const TimePosition position = source.getCurrentPosition();
    position.checkIsValid();
    throwIfFailed(event->SetUINT64(MF_EVENT_SOURCE_ACTUAL_START, static_cast<UINT64>(position.hundredNanoseconds())),
                  where, setter);
    source.queueEvent(event.Get());
}

SourceState& stopPlaying(FlvSource& source, const StreamList& selectedStreams, SourcePosition where) {
    for (const auto& stream : selectedStreams) {
        sendEvent(*stream.Get(), MEStreamStopped, where);
        stream->purgeSamples();
    }
    sendEvent(source, MESourceStopped, where);
    return SourceStateStopped::instance();
}

void refusePause(SourcePosition where) {
    throw ApiErrorException(where, "pause", static_cast<std::uint32_t>(MF_E_INVALID_STATE_TRANSITION));
}

} // namespace JY::Pictaro::Fs::SourceStateSteps
