#pragma once

#include "flv/FlvTagHandler.h"
#include "flv/FlvVideoTag.h"
#include "tests/support/Bytes.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace JY::Test {

/// Takes the tags of one type and keeps what it was given.
class RecordingHandler : public Pictaro::Fs::FlvTagHandler {
public:
    explicit RecordingHandler(std::uint8_t type) : type_(type) {}

    struct Taken {
        std::uint32_t milliseconds;
        Bytes body;
    };

    bool handleTag(Stream& stream, const Pictaro::Fs::FlvTag& tag) override {
        ++offered;
        if (tag.getTagType() != type_) {
            return false;
        }
        if (onHandle) {
            onHandle(stream);
        }
        Bytes body(tag.getDataSize());
        body.resize(stream.read(body.data(), tag.getDataSize()));
        taken.push_back({tag.getTimestamp(), body});
        return true;
    }
    bool isRandomAccessPoint(Stream& stream, const Pictaro::Fs::FlvTag& tag) override {
        return isSeekPoint(stream, tag);
    }

    std::vector<std::uint32_t> times() const {
        std::vector<std::uint32_t> result;
        for (const Taken& one : taken) {
            result.push_back(one.milliseconds);
        }
        return result;
    }

    std::vector<Taken> taken;
    unsigned offered = 0;
    std::function<void(Stream&)> onHandle;
    std::function<bool(Stream&, const Pictaro::Fs::FlvTag&)> isSeekPoint = [](auto&, auto&) { return true; };

private:
    std::uint8_t type_;
};

/// Starts playback at every tag.
class AudioHandler : public RecordingHandler {
public:
    AudioHandler() : RecordingHandler(Pictaro::Fs::TagType::audio) {}
};

/// Starts playback at key frames.
class VideoHandler : public RecordingHandler {
public:
    VideoHandler() : RecordingHandler(Pictaro::Fs::TagType::video) {
        isSeekPoint = [](Stream& stream, const Pictaro::Fs::FlvTag& tag) {
            if (tag.getTagType() != Pictaro::Fs::TagType::video) {
                return false;
            }
            Pictaro::Fs::FlvVideoTag video;
            video.read(stream);
            return video.isKeyFrame();
        };
    }
};

} // namespace JY::Test
