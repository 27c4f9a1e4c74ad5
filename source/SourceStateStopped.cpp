#include "source/SourceStateStopped.h"

#include "log/Core.h"
#include "source/SourceStateStarted.h"
#include "source/SourceStateSteps.h"

#include <typeinfo>

namespace JY::Pictaro::Fs {

using namespace SourceStateSteps;

namespace {
constexpr SourceFile here{"SourceStateStopped"};
}

SourceStateStopped& SourceStateStopped::instance() {
    static SourceStateStopped state;
    return state;
}

SourceState& SourceStateStopped::start(FlvSource& source, const StreamList& selectedStreams,
                                       const PROPVARIANT* startPosition) {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "start");
    const auto requested = requestedPosition(startPosition, here());
    if (!requested) {
        log.info(here()) << "StartPosition was not assigned.";
    }
    const LONGLONG position = requested.value_or(0);
    log.info(here()) << "StartPosition[100ns]=" << position;
    seek(source, position);
    for (const auto& stream : selectedStreams) {
        announce(source, *stream.Get());
        stream->setActivated();
        sendEvent(*stream.Get(), MEStreamStarted, position, here());
    }
    sendEvent(source, MESourceStarted, position, here());
    return SourceStateStarted::instance();
}

SourceState& SourceStateStopped::pause(FlvSource&, const StreamList&) {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "pause");
    refusePause(here());
}

SourceState& SourceStateStopped::stop(FlvSource&, const StreamList&) {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "stop");
    return *this;
}

} // namespace JY::Pictaro::Fs
