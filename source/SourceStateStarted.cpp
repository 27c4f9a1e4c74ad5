#include "source/SourceStateStarted.h"

#include "log/Core.h"
#include "source/SourceStatePaused.h"
#include "source/SourceStateSteps.h"

#include <typeinfo>

namespace JY::Pictaro::Fs {

using namespace SourceStateSteps;

namespace {

constexpr SourceFile here{"SourceStateStarted"};

/// Tells of a seek. The streams keep their samples, and one that cannot be told does not stop the seek.
void seekWhilePlaying(FlvSource& source, const StreamList& selectedStreams, LONGLONG position) {
    seek(source, position);
    for (const auto& stream : selectedStreams) {
        source.queueEvent(MEUpdatedStream, stream.Get());
        stream->queueEvent(MEStreamSeeked, position);
    }
    sendEvent(source, MESourceSeeked, position, here());
}

} // namespace

SourceStateStarted& SourceStateStarted::instance() {
    static SourceStateStarted state;
    return state;
}

SourceState& SourceStateStarted::start(FlvSource& source, const StreamList& selectedStreams,
                                       const PROPVARIANT* startPosition) {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "start");
    if (const auto position = requestedPosition(startPosition, here())) {
        log.info(here()) << "StartPosition[100ns]=" << *position;
        seekWhilePlaying(source, selectedStreams, *position);
    } else {
        log.info(here()) << "StartPosition was not assigned.";
        sendActualStart(source, "SetUINT32(MF_EVENT_SOURCE_ACTUAL_START)", here());
    }
    return *this;
}

SourceState& SourceStateStarted::pause(FlvSource& source, const StreamList& selectedStreams) {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "pause");
    for (const auto& stream : selectedStreams) {
        sendEvent(*stream.Get(), MEStreamPaused, here());
    }
    sendEvent(source, MESourcePaused, here());
    return SourceStatePaused::instance();
}

SourceState& SourceStateStarted::stop(FlvSource& source, const StreamList& selectedStreams) {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "stop");
    return stopPlaying(source, selectedStreams, here());
}

} // namespace JY::Pictaro::Fs
