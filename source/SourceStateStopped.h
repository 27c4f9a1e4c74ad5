#pragma once

#include "source/SourceState.h"

namespace JY::Pictaro::Fs {

/// Before the first start and after a stop. A start begins at the requested position, 0 if none, and announces the
/// streams; a stop sends nothing.
class SourceStateStopped final : public SourceState {
public:
    static SourceStateStopped& instance();

    SourceState& start(FlvSource& source, const StreamList& selectedStreams, const PROPVARIANT* startPosition) override;
    SourceState& pause(FlvSource& source, const StreamList& selectedStreams) override;
    SourceState& stop(FlvSource& source, const StreamList& selectedStreams) override;
    SourceStateId getStateId() const override { return SourceStateId::stopped; }

private:
    SourceStateStopped() = default;
};

} // namespace JY::Pictaro::Fs
