#pragma once

#include "tests/support/Bytes.h"

#include <windows.h>

#include <cstdint>
#include <map>
#include <span>
#include <vector>

namespace JY::Test {

/// Every sample that a film can give, by the film's own bytes.
class FilmSamples {
public:
    static constexpr DWORD audioStream = 1001;
    static constexpr DWORD videoStream = 1002;

    /// @param file a whole FLV file with AAC or MP3 sound, H.264 pictures, or both
    explicit FilmSamples(std::span<const std::uint8_t> file);

    /// Whether the stream has a sample of this time (100 ns) with these bytes.
    bool contains(DWORD stream, LONGLONG time, std::span<const std::uint8_t> bytes) const;
    /// The sizes of the stream's samples of this time.
    std::vector<std::size_t> sizesAt(DWORD stream, LONGLONG time) const;
    std::size_t count(DWORD stream) const;
    /// The time of the last sample, in 100 ns.
    LONGLONG lastTime() const { return lastTime_; }

private:
    void addAudio(std::uint32_t milliseconds, std::span<const std::uint8_t> body);
    void addVideo(std::uint32_t milliseconds, std::span<const std::uint8_t> body);
    void readParameterSets(std::span<const std::uint8_t> configuration);
    void addPictures(std::uint32_t milliseconds, bool isKeyFrame, std::span<const std::uint8_t> units);
    void add(DWORD stream, std::uint32_t milliseconds, Bytes sample);

    struct Place {
        DWORD stream;
        LONGLONG time;
        auto operator<=>(const Place&) const = default;
    };
    std::multimap<Place, Bytes> samples_;
    Bytes parameterSets_; ///< as they go before a key frame
    LONGLONG lastTime_ = 0;
};

} // namespace JY::Test
