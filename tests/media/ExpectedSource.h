#pragma once

#include "tests/media/ScriptFacts.h"
#include "tests/support/Bytes.h"

#include <mfobjects.h>
#include <windows.h>

#include <cstdint>
#include <deque>
#include <limits>
#include <map>
#include <optional>
#include <vector>

namespace JY::Test {

/// What a sample must be. Times in 100 ns.
struct ExpectedSample {
    /// As many as the file has. In a film that is cut off, whatever follows them up to `size` is nobody's.
    Bytes bytes;
    std::size_t size = 0;
    LONGLONG time = 0;
    LONGLONG duration = 0;
    bool cleanPoint = false;
};

enum class Opening { succeeds, fails, neverEnds };
enum class Answer { sample, endOfStream, failure, nothing };

/// The events that a call brings.
struct ExpectedEvents {
    std::vector<MediaEventType> ofSource;
    std::vector<MediaEventType> ofEachStream;

    bool operator==(const ExpectedEvents&) const = default;
};

/// The settings that seeking goes by.
struct SeekSettings {
    std::uint32_t seekByMetaData = 1;
    std::uint32_t tagTraverseThreshold = 10000; ///< milliseconds
};

/// What a media source of a film must do: the rules of reading, playing and seeking over the film's bytes, in as few
/// lines as they take, and in none of the module's. Knows pictures in H.264, and sound in AAC and MP3.
class ExpectedSource {
public:
    static constexpr DWORD audio = 1001;
    static constexpr DWORD video = 1002;

    explicit ExpectedSource(Bytes film);

    Opening opening() const { return opening_; }
    const std::vector<DWORD>& streams() const { return streams_; }
    const ScriptFacts& script() const { return script_; }
    /// Without a duration nothing describes the presentation.
    bool isDescribed() const { return script_.numbers.contains("duration"); }
    /// One of two streams that the header announces is not played alone.
    bool isStartRefused() const { return !singleStream_ && streams_.size() == 1 && (film_.at(4) & 5) == 5; }
    void allowSingleStream() { singleStream_ = true; }

    /// Holds from the next start on.
    void set(const SeekSettings& settings) { settings_ = settings; }

    /// None when it cannot be done. The position is in 100 ns.
    ExpectedEvents start(std::optional<LONGLONG> position);
    ExpectedEvents pause();
    ExpectedEvents stop();

    /// `sample` is set when there is one.
    Answer request(DWORD stream, ExpectedSample& sample);

private:
    struct Tag {
        std::int64_t record = 0;
        std::uint32_t previousSize = 0;
        std::uint8_t type = 0;
        std::uint32_t size = 0;
        std::uint32_t time = 0; ///< milliseconds
    };
    enum class State { stopped, started, paused };
    static constexpr std::int64_t noFence = std::numeric_limits<std::int64_t>::max();

    std::int64_t fileSize() const { return static_cast<std::int64_t>(film_.size()); }
    std::uint8_t byte();
    Bytes take(std::int64_t count);
    std::uint32_t number(unsigned bytes);

    Tag readTag();
    bool next(const Tag& tag);
    bool previous(const Tag& tag);
    bool readOneTag();

    Opening open();
    bool readScriptTag();
    void describe(DWORD stream);

    void handleAudio(const Tag& tag);
    void readAacFrame(const Tag& tag);
    void readMp3Frame(const Tag& tag);
    void handleVideo(const Tag& tag);
    void readParameterSets();
    void readNalus(const Tag& tag, std::uint8_t frameType, std::uint32_t compositionTime);
    void queue(DWORD stream, Bytes bytes, std::size_t size, std::uint32_t milliseconds, bool cleanPoint);

    void seek(std::int64_t target);
    void walk(std::int64_t target);
    void walkBack(std::uint32_t milliseconds);
    void walkForward(std::uint32_t milliseconds);
    bool isSeekPoint(const Tag& tag);

    ExpectedEvents announced(MediaEventType ofSource, MediaEventType ofStream) const;

    Bytes film_;
    ScriptFacts script_;
    SeekSettings settings_;
    bool singleStream_ = false;
    bool useIndex_ = true;
    State state_ = State::stopped;
    bool activated_ = false;

    std::int64_t pointer_ = 9; ///< the byte that is read next
    std::int64_t fence_ = noFence;
    std::int64_t position_ = 0; ///< of the last tag, in microseconds

    std::vector<DWORD> handlers_; ///< the streams that tags are offered to
    std::map<DWORD, bool> described_;
    std::map<DWORD, std::deque<ExpectedSample>> queued_;
    std::map<DWORD, std::int64_t> lastTime_; ///< microseconds
    Bytes parameterSets_;
    unsigned lengthSize_ = 0; ///< of a NAL unit's length, in bytes

    std::vector<DWORD> streams_;
    Opening opening_;
};

} // namespace JY::Test
