#include "source/SourceStatePaused.h"

#include "log/Core.h"
#include "source/SourceStateStarted.h"
#include "source/SourceStateSteps.h"

#include <typeinfo>

namespace JY::Pictaro::Fs {

using namespace SourceStateSteps;

namespace {

constexpr SourceFile here{"SourceStatePaused"};

/// Tells of a seek, for which the streams forget the samples that they have.
void seekFromPause(FlvSource& source, const StreamList& selectedStreams, LONGLONG position) {
    seek(source, position);
    for (const auto& stream : selectedStreams) {
        stream->purgeSamples();
        announce(source, *stream.Get());
        sendEvent(*stream.Get(), MEStreamSeeked, position, here());
    }
    sendEvent(source, MESourceSeeked, position, here());
}

void resume(FlvSource& source, const StreamList& selectedStreams) {
    for (const auto& stream : selectedStreams) {
        announce(source, *stream.Get());
        sendEvent(*stream.Get(), MEStreamStarted, here());
    }
    sendActualStart(source, "SetUINT64(MF_EVENT_SOUECE_ACTUAL_START)", here());
}

} // namespace

SourceStatePaused& SourceStatePaused::instance() {
    static SourceStatePaused state;
    return state;
}

SourceState& SourceStatePaused::start(FlvSource& source, const StreamList& selectedStreams,
                                      const PROPVARIANT* startPosition) {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "start");
    if (const auto position = requestedPosition(startPosition, here())) {
        seekFromPause(source, selectedStreams, *position);
    } else {
        resume(source, selectedStreams);
    }
    return SourceStateStarted::instance();
}

SourceState& SourceStatePaused::pause(FlvSource&, const StreamList&) {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "pause");
    refusePause(here());
}

SourceState& SourceStatePaused::stop(FlvSource& source, const StreamList& selectedStreams) {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "stop");
    return stopPlaying(source, selectedStreams, here());
}

} // namespace JY::Pictaro::Fs
