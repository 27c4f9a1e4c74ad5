#include "tests/stress/EventOrder.h"

namespace JY::Test {

namespace {

std::string finding(const char* who, MediaEventType type, int state, unsigned announced) {
    return std::string(who) + " sent event " + std::to_string(type) + " in state " + std::to_string(state) +
           " behind " + std::to_string(announced) + " announcements";
}

} // namespace

std::string SourceEventOrder::take(MediaEventType type, bool hasValue) {
    const State before = state_;
    const unsigned announced = announced_;
    const bool isAnnouncement = type == MENewStream || type == MEUpdatedStream;
    const bool isRight = isAnnouncement ? takeAnnouncement(type) : takeTransition(type, hasValue);
    if (!isAnnouncement) {
        announced_ = 0;
    }
    return isRight ? std::string() : finding("the source", type, static_cast<int>(before), announced);
}

/// A stream is new when the source starts from the stopped state for the first time, and only then.
bool SourceEventOrder::takeAnnouncement(MediaEventType type) {
    ++announced_;
    const bool isNew = type == MENewStream;
    known_ += isNew ? 1 : 0;
    const bool isRightKind = isNew ? state_ == State::stopped && known_ == announced_ : known_ == streams_;
    return isRightKind && announced_ <= streams_;
}

bool SourceEventOrder::takeTransition(MediaEventType type, bool hasValue) {
    switch (type) {
    case MESourceStarted:
        return takeStart(hasValue);
    case MESourceSeeked:
        return takeSeek();
    case MESourcePaused: {
        const bool isRight = state_ == State::started && announced_ == 0;
        state_ = State::paused;
        return isRight;
    }
    case MESourceStopped: {
        const bool isRight = state_ != State::stopped && announced_ == 0;
        state_ = State::stopped;
        return isRight;
    }
    case MEEndOfPresentation:
        return state_ != State::paused && announced_ == 0;
    case MEExtendedType: // the client's own
        return announced_ == 0;
    default:
        return false;
    }
}

/// From the stopped state with the position asked for as the value; else without, and while started without streams.
bool SourceEventOrder::takeStart(bool hasValue) {
    const State before = state_;
    state_ = State::started;
    switch (before) {
    case State::stopped:
        return hasValue && announced_ == streams_;
    case State::started:
        return !hasValue && announced_ == 0;
    case State::paused:
        return !hasValue && announced_ == streams_;
    }
    return false;
}

bool SourceEventOrder::takeSeek() {
    const bool isRight = state_ != State::stopped && announced_ == streams_;
    state_ = State::started;
    return isRight;
}

std::string StreamEventOrder::take(MediaEventType type) {
    const State before = state_;
    bool isRight = true;
    switch (type) {
    case MEStreamStarted:
        isRight = before != State::started;
        state_ = State::started;
        break;
    case MEStreamSeeked:
        isRight = before != State::stopped;
        state_ = State::started;
        break;
    case MEStreamPaused:
        isRight = before == State::started;
        state_ = State::paused;
        break;
    case MEStreamStopped:
        isRight = before != State::stopped;
        state_ = State::stopped;
        break;
    case MEMediaSample:
    case MEEndOfStream:
        isRight = before != State::paused; // a stopped source serves requests, too
        break;
    case MEExtendedType:
        break;
    default:
        isRight = false;
    }
    return isRight ? std::string() : finding("a stream", type, static_cast<int>(before), 0);
}

} // namespace JY::Test
