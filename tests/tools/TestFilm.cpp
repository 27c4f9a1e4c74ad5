#include "tests/tools/TestFilm.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace JY::Tools {

namespace {

std::ifstream openFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("missing: " + path.string());
    }
    return file;
}

std::vector<std::uint8_t> contentOf(const std::filesystem::path& path) {
    std::ifstream file = openFile(path);
    std::vector<std::uint8_t> content(static_cast<std::size_t>(std::filesystem::file_size(path)));
    file.read(reinterpret_cast<char*>(content.data()), static_cast<std::streamsize>(content.size()));
    return content;
}

/// "video,80,0,4109,944,K_,CRC32:13a7350c"
ProbedPacket parsePacket(const std::string& row) {
    std::istringstream fields(row);
    std::string kind;
    std::string time;
    std::string decodingTime;
    std::string bytes;
    std::string position;
    std::string flags;
    std::string hash;
    for (std::string* field : {&kind, &time, &decodingTime, &bytes, &position, &flags, &hash}) {
        std::getline(fields, *field, ',');
    }
    ProbedPacket packet;
    packet.video = kind == "video";
    packet.time = std::stoll(time);
    packet.decodingTime = std::stoll(decodingTime);
    packet.bytes = std::stoull(bytes);
    packet.position = std::stoull(position);
    packet.key = flags.starts_with('K');
    packet.crc = static_cast<std::uint32_t>(std::stoul(hash.substr(hash.find(':') + 1), nullptr, 16));
    return packet;
}

std::vector<ProbedPacket> onlyOf(bool video, const std::vector<ProbedPacket>& packets) {
    std::vector<ProbedPacket> result;
    for (const ProbedPacket& packet : packets) {
        if (packet.video == video) {
            result.push_back(packet);
        }
    }
    return result;
}

} // namespace

TestFilm::TestFilm(const std::string& name) : name_(name) {}

std::filesystem::path TestFilm::file(const std::string& ending) const {
    const char* folder = std::getenv("JY_MEDIA_DIR");
    if (folder == nullptr) {
        throw std::runtime_error("JY_MEDIA_DIR is not set");
    }
    return std::filesystem::absolute(std::filesystem::path(folder) / (name_ + ending));
}

std::vector<std::uint8_t> TestFilm::bytes() const {
    return contentOf(file(".flv"));
}

std::vector<std::uint8_t> TestFilm::parameters(const std::string& stream) const {
    std::ifstream rows = openFile(file(".parameters.csv"));
    std::vector<std::uint8_t> result;
    for (std::string row; std::getline(rows, row);) {
        if (row.starts_with(stream + ",")) {
            for (std::size_t digit = stream.size() + 1; digit + 1 < row.size(); digit += 2) {
                result.push_back(static_cast<std::uint8_t>(std::stoul(row.substr(digit, 2), nullptr, 16)));
            }
        }
    }
    return result;
}

std::vector<std::uint8_t> TestFilm::soundFrames() const {
    return contentOf(file(".mp3"));
}

std::vector<ProbedPacket> TestFilm::packets() const {
    std::ifstream rows = openFile(file(".packets.csv"));
    std::vector<ProbedPacket> result;
    for (std::string row; std::getline(rows, row);) {
        result.push_back(parsePacket(row));
    }
    return result;
}

std::vector<ProbedPacket> TestFilm::audioPackets() const {
    return onlyOf(false, packets());
}

std::vector<ProbedPacket> TestFilm::videoPackets() const {
    return onlyOf(true, packets());
}

std::vector<ProbedPacket> TestFilm::playedAudio() const {
    return onlyOf(false, playedPackets());
}

std::vector<ProbedPacket> TestFilm::playedVideo() const {
    return onlyOf(true, playedPackets());
}

std::vector<ProbedPacket> TestFilm::playedPackets() const {
    std::vector<ProbedPacket> result = packets();
    if (std::filesystem::exists(file(".mp3")) && !videoPackets().empty()) {
        const auto firstSound = std::ranges::find(result, false, &ProbedPacket::video);
        const std::vector<ProbedPacket> readTwice(result.begin(), firstSound + 1);
        result.insert(result.begin(), readTwice.begin(), readTwice.end());
    }
    return result;
}

std::vector<LONGLONG> TestFilm::pictureTimes() const {
    std::ifstream rows = openFile(file(".frames.csv"));
    std::vector<LONGLONG> result;
    for (double seconds = 0; rows >> seconds;) {
        result.push_back(std::llround(seconds * 1000));
    }
    return result;
}

Picture TestFilm::pictureAt(const std::string& seconds, unsigned width, unsigned height) const {
    std::ifstream pixels = openFile(file("." + seconds + ".bgra"));
    Picture picture(width, height);
    const auto bytes = static_cast<std::streamsize>(picture.pixels().size() * sizeof(Bgra));
    pixels.read(reinterpret_cast<char*>(&picture.at(0, 0)), bytes);
    if (pixels.gcount() != bytes) {
        throw std::runtime_error("too short: " + name_ + " at " + seconds);
    }
    return picture;
}

} // namespace JY::Tools
