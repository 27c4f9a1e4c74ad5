#pragma once

#include "source/FlvSource.h"
#include "streams/FlvStream.h"
#include "streams/StreamSource.h"

#include <windows.h>
#include <wrl/client.h>

#include <vector>

namespace JY::Pictaro::Fs {

using StreamList = std::vector<Microsoft::WRL::ComPtr<FlvStream>>;

/// What a media source does in one of its states. Every operation sends the transition's events on the source and on
/// each selected stream, and returns the state that the source is in afterwards. One that throws leaves the source in
/// its state, after the events sent so far. States have no data: each is one object for the whole process. Called under
/// the source lock.
class SourceState {
public:
    SourceState(const SourceState&) = delete;
    SourceState& operator=(const SourceState&) = delete;

    /// `startPosition` in 100 ns (VT_I8); null or VT_EMPTY for the current position. Throws ApiErrorException "start"
    /// with MF_E_UNSUPPORTED_TIME_FORMAT for any other type, before anything happens.
    virtual SourceState& start(FlvSource& source, const StreamList& selectedStreams,
                               const PROPVARIANT* startPosition) = 0;
    /// Throws ApiErrorException "pause" with MF_E_INVALID_STATE_TRANSITION unless the source is started.
    virtual SourceState& pause(FlvSource& source, const StreamList& selectedStreams) = 0;
    virtual SourceState& stop(FlvSource& source, const StreamList& selectedStreams) = 0;
    virtual SourceStateId getStateId() const = 0;

protected:
    SourceState() = default;
    ~SourceState() = default;
};

} // namespace JY::Pictaro::Fs
