#pragma once

#include "tools/Picture.h"

#include <windows.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace JY::Tools {

/// What ffprobe tells of one packet of a film.
struct ProbedPacket {
    bool video = false;
    /// Presentation time in milliseconds.
    LONGLONG time = 0;
    LONGLONG decodingTime = 0;
    std::uint64_t bytes = 0;
    /// Where its tag starts in the file.
    std::uint64_t position = 0;
    bool key = false;
    std::uint32_t crc = 0;
};

/// One of the films that the test data are made of, and what stands beside it. The folder is given by the environment
/// variable JY_MEDIA_DIR.
class TestFilm {
public:
    explicit TestFilm(const std::string& name);

    std::wstring path() const { return file(".flv").wstring(); }
    /// The whole file.
    std::vector<std::uint8_t> bytes() const;
    /// What a film of the matrix tells the decoder of "audio" or "video"; nothing when it tells nothing.
    std::vector<std::uint8_t> parameters(const std::string& stream) const;
    /// The frames of its MP3 sound, one behind the other.
    std::vector<std::uint8_t> soundFrames() const;
    /// In the order of the file.
    std::vector<ProbedPacket> packets() const;
    std::vector<ProbedPacket> audioPackets() const;
    std::vector<ProbedPacket> videoPackets() const;
    /// The packets as they are played. MP3 has no header of its own: the first frame, and what comes before it, is
    /// read, and kept, to describe the sound, and read again when playing goes back to the first key frame for the
    /// pictures.
    std::vector<ProbedPacket> playedAudio() const;
    std::vector<ProbedPacket> playedVideo() const;
    /// The times of all pictures in their order, in milliseconds.
    std::vector<LONGLONG> pictureTimes() const;
    /// The picture to be seen at a time, "2.000" seconds. Its size is not in the file.
    Picture pictureAt(const std::string& seconds, unsigned width, unsigned height) const;

private:
    std::vector<ProbedPacket> playedPackets() const;
    std::filesystem::path file(const std::string& ending) const;

    std::string name_;
};

} // namespace JY::Tools
