#pragma once

#include <mfobjects.h>
#include <windows.h>

#include <string>

namespace JY::Test {

/// The order in which a source all of whose streams are selected may send its events. What one transition sends is
/// never torn apart by another's. Not thread-safe. Every `take` is empty when the event may come now, else says what
/// is wrong, and takes the event as if it were right.
class SourceEventOrder {
public:
    explicit SourceEventOrder(unsigned streams) : streams_(streams) {}

    /// @param hasValue whether the event carries a position as its value
    std::string take(MediaEventType type, bool hasValue);

private:
    enum class State { stopped, started, paused };

    bool takeAnnouncement(MediaEventType type);
    bool takeTransition(MediaEventType type, bool hasValue);
    bool takeStart(bool hasValue);
    bool takeSeek();

    unsigned streams_;
    unsigned known_ = 0;     ///< streams that have been new once
    unsigned announced_ = 0; ///< streams announced since the last transition
    State state_ = State::stopped;
};

/// The same for the events of one of its streams.
class StreamEventOrder {
public:
    std::string take(MediaEventType type);

private:
    enum class State { stopped, started, paused };

    State state_ = State::stopped;
};

} // namespace JY::Test
