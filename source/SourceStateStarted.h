#pragma once

#include "source/SourceState.h"

namespace JY::Pictaro::Fs {

/// Samples are delivered. A start with a position seeks, one without only tells the position again.
class SourceStateStarted final : public SourceState {
public:
    static SourceStateStarted& instance();

    SourceState& start(FlvSource& source, const StreamList& selectedStreams, const PROPVARIANT* startPosition) override;
    SourceState& pause(FlvSource& source, const StreamList& selectedStreams) override;
    SourceState& stop(FlvSource& source, const StreamList& selectedStreams) override;
    SourceStateId getStateId() const override { return SourceStateId::started; }

private:
    SourceStateStarted() = default;
};

} // namespace JY::Pictaro::Fs
