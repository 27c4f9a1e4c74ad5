#include "tests/media/ExpectedSource.h"

#include <algorithm>

namespace JY::Test {

namespace {

constexpr Bytes::size_type headerSize = 9;
constexpr std::int64_t recordSize = 15;
const Bytes startCode = {0, 0, 1};

/// What is read is not what it must be.
struct Broken {};

/// The same tag is read again and again.
struct Endless {};

std::uint32_t wrapped(std::uint32_t milliseconds) {
    return milliseconds * 1000U;
}

void append(Bytes& bytes, const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

} // namespace

ExpectedSource::ExpectedSource(Bytes film) : film_(std::move(film)), opening_(open()) {}

// Bytes.

std::uint8_t ExpectedSource::byte() {
    if (pointer_ >= std::min(fence_, fileSize())) {
        throw Broken{};
    }
    return film_[static_cast<std::size_t>(pointer_++)];
}

/// Fewer where the film ends, but nothing when they reach behind the tag.
Bytes ExpectedSource::take(std::int64_t count) {
    if (count > fence_ - pointer_) {
        throw Broken{};
    }
    const std::int64_t end = std::max(pointer_, std::min(pointer_ + count, fileSize()));
    Bytes result(film_.begin() + pointer_, film_.begin() + end);
    pointer_ = end;
    return result;
}

std::uint32_t ExpectedSource::number(unsigned bytes) {
    std::uint32_t result = 0;
    for (; bytes != 0; --bytes) {
        result = result << 8 | byte();
    }
    return result;
}

// Tags.

ExpectedSource::Tag ExpectedSource::readTag() {
    fence_ = noFence;
    if (fileSize() - pointer_ < recordSize) {
        throw Broken{};
    }
    Tag tag;
    tag.record = pointer_;
    tag.previousSize = number(4);
    tag.type = byte();
    tag.size = number(3);
    tag.time = number(3);
    tag.time |= static_cast<std::uint32_t>(byte()) << 24;
    number(3);
    return tag;
}

/// False at the last tag; the pointer is then at its record.
bool ExpectedSource::next(const Tag& tag) {
    pointer_ = tag.record;
    if (fileSize() - tag.record <= std::int64_t{tag.size} + recordSize + 4) {
        return false;
    }
    pointer_ += recordSize + tag.size;
    return true;
}

/// False at the first tag.
bool ExpectedSource::previous(const Tag& tag) {
    if (tag.previousSize == 0) {
        return false;
    }
    pointer_ = tag.record;
    if (tag.record < 4 + std::int64_t{tag.previousSize}) {
        throw Broken{};
    }
    pointer_ -= 4 + std::int64_t{tag.previousSize};
    return true;
}

bool ExpectedSource::readOneTag() {
    const Tag tag = readTag();
    fence_ = pointer_ + tag.size;
    if ((tag.type & 0x20) != 0) {
        throw Broken{};
    }
    if (tag.type == 8 && std::ranges::count(handlers_, audio) != 0) {
        handleAudio(tag);
    } else if (tag.type == 9 && std::ranges::count(handlers_, video) != 0) {
        handleVideo(tag);
    }
    position_ = wrapped(tag.time);
    fence_ = noFence;
    return next(tag);
}

// Opening.

Opening ExpectedSource::open() {
    static const Bytes start = {'F', 'L', 'V', 1};
    if (film_.size() < headerSize || !std::equal(start.begin(), start.end(), film_.begin()) || (film_[4] & 0xFA) != 0 ||
        Bytes(film_.begin() + 5, film_.begin() + headerSize) != Bytes{0, 0, 0, 9}) {
        return Opening::fails;
    }
    try {
        try {
            while (!readScriptTag()) {
            }
        } catch (const Broken&) { // is played without
        }
        pointer_ = headerSize;
        handlers_ = {audio, video};
        for (const DWORD stream : {audio, video}) {
            try {
                describe(stream);
                streams_.push_back(stream);
            } catch (const Broken&) {
                std::erase(handlers_, stream);
            }
        }
    } catch (const Endless&) {
        return Opening::neverEnds;
    }
    return streams_.empty() ? Opening::fails : Opening::succeeds;
}

/// Whether the search is at its end.
bool ExpectedSource::readScriptTag() {
    const Tag tag = readTag();
    if (tag.type == 18) {
        const Bytes body = take(tag.size);
        const auto facts = readScript(body);
        if (!facts) {
            throw Broken{};
        }
        script_ = *facts;
        return true;
    }
    if (tag.type != 8 && tag.type != 9) {
        throw Broken{};
    }
    if (tag.time > 1000) {
        return true;
    }
    if (!next(tag)) {
        throw Endless{};
    }
    return false;
}

/// Reads tags until the stream is described.
void ExpectedSource::describe(DWORD stream) {
    if ((film_[4] & (stream == audio ? 4 : 1)) == 0) {
        throw Broken{};
    }
    while (!described_[stream]) {
        if (position_ > 1'000'000) {
            throw Broken{};
        }
        if (!readOneTag() && !described_[stream] && position_ <= 1'000'000) {
            throw Endless{};
        }
    }
}

// Sound.

void ExpectedSource::handleAudio(const Tag& tag) {
    const unsigned format = byte() >> 4U;
    if (format == 2) {
        readMp3Frame(tag);
        return;
    }
    if (format != 10) {
        throw Broken{};
    }
    const unsigned packet = byte();
    if (packet == 0) {
        number(2);
        described_[audio] = true;
    } else if (packet == 1) {
        readAacFrame(tag);
    } else {
        throw Broken{};
    }
}

void ExpectedSource::readAacFrame(const Tag& tag) {
    const std::uint32_t size = tag.size - 2;
    queue(audio, take(size), size, tag.time, false);
}

void ExpectedSource::readMp3Frame(const Tag& tag) {
    const std::int64_t start = pointer_;
    while (byte() != 0xFF || (byte() & 0xE0) != 0xE0) {
    }
    pointer_ -= 2;
    if (!described_[audio]) {
        number(4);
        pointer_ -= 4;
        described_[audio] = true;
    }
    const auto size = static_cast<std::uint32_t>(tag.size - 1 - (pointer_ - start));
    lastTime_[audio] = 0; // each frame is counted from the film's beginning
    queue(audio, take(size), size, tag.time, false);
}

// Pictures.

void ExpectedSource::handleVideo(const Tag& tag) {
    const std::uint8_t header = byte();
    if ((header & 15) != 7) {
        throw Broken{};
    }
    const unsigned packet = byte();
    std::uint32_t compositionTime = 0;
    const Bytes given = take(3);
    if (given.empty()) {
        throw Broken{};
    }
    for (std::size_t index = 0; index < 3; ++index) {
        compositionTime = compositionTime << 8 | (index < given.size() ? given[index] : 0U);
    }
    if (packet == 0) {
        readParameterSets();
    } else if (packet == 1) {
        readNalus(tag, static_cast<std::uint8_t>(header >> 4), compositionTime);
    } else if (packet != 2) {
        throw Broken{};
    }
}

void ExpectedSource::readParameterSets() {
    number(4);
    lengthSize_ = (byte() & 3U) + 1;
    parameterSets_.clear();
    for (const unsigned mask : {0x1FU, 0xFFU}) {
        for (unsigned left = byte() & mask; left != 0; --left) {
            const std::uint32_t length = number(2);
            append(parameterSets_, startCode);
            for (std::uint32_t index = 0; index < length; ++index) {
                parameterSets_.push_back(byte());
            }
        }
    }
    for (const char* const key : {"framerate", "width", "height"}) {
        if (!script_.numbers.contains(key)) {
            throw Broken{};
        }
    }
    described_[video] = true;
}

/// A sample for every one, with the parameter sets in front of each of a key frame.
void ExpectedSource::readNalus(const Tag& tag, std::uint8_t frameType, std::uint32_t compositionTime) {
    const bool key = frameType == 1;
    const std::uint32_t offset =
        (compositionTime & 0x800000) != 0 ? 0x800000 - (compositionTime & 0x7FFFFF) : compositionTime;
    while (std::min(fence_, fileSize()) - pointer_ >= lengthSize_) {
        const std::uint32_t length = number(lengthSize_);
        if (length <= lengthSize_) {
            throw Broken{};
        }
        Bytes bytes = key ? parameterSets_ : Bytes{};
        append(bytes, startCode);
        const Bytes nalu = take(length);
        if (nalu.size() < length) {
            throw Broken{};
        }
        append(bytes, nalu);
        const std::size_t size = bytes.size();
        queue(video, std::move(bytes), size, tag.time + offset, key);
    }
}

void ExpectedSource::queue(DWORD stream, Bytes bytes, std::size_t size, std::uint32_t milliseconds, bool cleanPoint) {
    const std::int64_t time = wrapped(milliseconds);
    const std::int64_t duration = time - lastTime_[stream];
    lastTime_[stream] = time;
    queued_[stream].push_back({std::move(bytes), size, time * 10, duration * 10, cleanPoint});
}

// Seeking.

void ExpectedSource::seek(std::int64_t target) {
    if (settings_.seekByMetaData != 0 && useIndex_) {
        if (script_.index.empty()) {
            useIndex_ = false;
        } else {
            IndexedKeyFrame start = script_.index.front();
            for (const IndexedKeyFrame& keyFrame : script_.index) {
                start = keyFrame.time <= target ? keyFrame : start;
            }
            pointer_ = start.position - 4;
            if (target - start.time < std::int64_t{settings_.tagTraverseThreshold} * 1000) {
                return;
            }
        }
    }
    walk(target);
}

/// Which way depends on the last tag that was read, not on where the pointer is.
void ExpectedSource::walk(std::int64_t target) {
    const std::uint32_t milliseconds = static_cast<std::uint32_t>(target) / 1000U;
    if (target > position_) {
        walkForward(milliseconds);
    } else if (target < position_) {
        walkBack(milliseconds);
    }
}

void ExpectedSource::walkBack(std::uint32_t milliseconds) {
    Tag tag = readTag();
    while (!(tag.time <= milliseconds && isSeekPoint(tag)) && previous(tag)) {
        tag = readTag();
    }
    pointer_ = tag.record;
}

void ExpectedSource::walkForward(std::uint32_t milliseconds) {
    Tag tag = readTag();
    while (!isSeekPoint(tag) && previous(tag)) {
        tag = readTag();
    }
    std::int64_t candidate = tag.record;
    do {
        candidate = isSeekPoint(tag) ? tag.record : candidate;
        if (tag.time >= milliseconds || !next(tag)) {
            break;
        }
        tag = readTag();
    } while (true);
    pointer_ = candidate;
}

/// Where every stream can begin.
bool ExpectedSource::isSeekPoint(const Tag& tag) {
    if (std::ranges::count(handlers_, video) == 0) {
        return true;
    }
    if (tag.type != 9) {
        return false;
    }
    pointer_ = tag.record + recordSize;
    const std::uint8_t header = byte();
    if ((header & 15) == 7) {
        number(2); // with the beginning of the composition time
    }
    return header >> 4 == 1;
}

// Playing.

ExpectedEvents ExpectedSource::start(std::optional<LONGLONG> position) {
    handlers_ = streams_;
    try {
        if (position || state_ == State::stopped) {
            seek(position.value_or(0) / 10);
        }
    } catch (const Broken&) {
        return {};
    }
    const State before = state_;
    state_ = State::started;
    if (before == State::started) {
        return position ? announced(MESourceSeeked, MEStreamSeeked) : ExpectedEvents{{MESourceStarted}, {}};
    }
    if (before == State::paused && position) {
        queued_.clear();
        return announced(MESourceSeeked, MEStreamSeeked);
    }
    const ExpectedEvents events = announced(MESourceStarted, MEStreamStarted);
    activated_ = true;
    return events;
}

/// The streams, new ones or ones that are known, and then what has been done.
ExpectedEvents ExpectedSource::announced(MediaEventType ofSource, MediaEventType ofStream) const {
    ExpectedEvents events;
    events.ofSource.assign(streams_.size(), activated_ ? MEUpdatedStream : MENewStream);
    events.ofEachStream = {ofStream};
    events.ofSource.push_back(ofSource);
    return events;
}

ExpectedEvents ExpectedSource::pause() {
    if (state_ != State::started) {
        return {};
    }
    state_ = State::paused;
    return {{MESourcePaused}, {MEStreamPaused}};
}

ExpectedEvents ExpectedSource::stop() {
    if (state_ == State::stopped) {
        return {};
    }
    state_ = State::stopped;
    queued_.clear();
    return {{MESourceStopped}, {MEStreamStopped}};
}

Answer ExpectedSource::request(DWORD stream, ExpectedSample& sample) {
    if (state_ == State::paused) {
        return Answer::nothing;
    }
    auto& samples = queued_[stream];
    try {
        while (samples.empty()) {
            if (!readOneTag()) {
                return Answer::endOfStream;
            }
        }
    } catch (const Broken&) {
        return Answer::failure;
    }
    sample = std::move(samples.front());
    samples.pop_front();
    return Answer::sample;
}

} // namespace JY::Test
