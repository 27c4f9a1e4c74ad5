#pragma once

#include "source/SourceState.h"

namespace JY::Pictaro::Fs {

/// Sample requests are dropped. A start with a position seeks and forgets the streams' samples, one without goes on.
class SourceStatePaused final : public SourceState {
public:
    static SourceStatePaused& instance();

    SourceState& start(FlvSource& source, const StreamList& selectedStreams, const PROPVARIANT* startPosition) override;
    SourceState& pause(FlvSource& source, const StreamList& selectedStreams) override;
    SourceState& stop(FlvSource& source, const StreamList& selectedStreams) override;
    SourceStateId getStateId() const override { return SourceStateId::paused; }

private:
    SourceStatePaused() = default;
};

} // namespace JY::Pictaro::Fs
