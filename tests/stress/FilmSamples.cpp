#include "tests/stress/FilmSamples.h"

#include <algorithm>
#include <utility>

namespace JY::Test {

namespace {

using View = std::span<const std::uint8_t>;

constexpr std::size_t fileHeader = 9;
constexpr std::size_t recordHeader = 15;
const Bytes startCode{0, 0, 1};

std::uint32_t number(View bytes, std::size_t at, std::size_t size) {
    std::uint32_t value = 0;
    for (std::size_t index = 0; index < size; ++index) {
        value = value << 8 | bytes[at + index];
    }
    return value;
}

void append(Bytes& bytes, View more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

/// From the first MPEG audio frame on.
View fromFrameSync(View bytes) {
    while (bytes.size() > 1 && !(bytes[0] == 0xFF && bytes[1] >= 0xE0)) {
        bytes = bytes.subspan(1);
    }
    return bytes;
}

} // namespace

FilmSamples::FilmSamples(View file) {
    for (std::size_t at = fileHeader; at + recordHeader <= file.size();) {
        const std::uint32_t size = number(file, at + 5, 3);
        const std::uint32_t milliseconds = number(file, at + 11, 1) << 24 | number(file, at + 8, 3);
        const View body = file.subspan(at + recordHeader, size);
        if (file[at + 4] == 8) {
            addAudio(milliseconds, body);
        } else if (file[at + 4] == 9) {
            addVideo(milliseconds, body);
        }
        at += recordHeader + size;
    }
}

bool FilmSamples::contains(DWORD stream, LONGLONG time, View bytes) const {
    const auto [first, last] = samples_.equal_range({stream, time});
    return std::any_of(first, last, [&](const auto& sample) { return std::ranges::equal(sample.second, bytes); });
}

std::vector<std::size_t> FilmSamples::sizesAt(DWORD stream, LONGLONG time) const {
    std::vector<std::size_t> sizes;
    const auto [first, last] = samples_.equal_range({stream, time});
    for (auto sample = first; sample != last; ++sample) {
        sizes.push_back(sample->second.size());
    }
    return sizes;
}

std::size_t FilmSamples::count(DWORD stream) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(samples_, [&](const auto& sample) { return sample.first.stream == stream; }));
}

void FilmSamples::addAudio(std::uint32_t milliseconds, View body) {
    const bool isAac = body[0] >> 4 == 10;
    if (isAac && body[1] == 0) {
        return; // how to decode the others
    }
    const View frame = isAac ? body.subspan(2) : fromFrameSync(body.subspan(1));
    add(audioStream, milliseconds, Bytes(frame.begin(), frame.end()));
}

void FilmSamples::addVideo(std::uint32_t milliseconds, View body) {
    if (body[1] == 0) {
        readParameterSets(body.subspan(5));
    } else if (body[1] == 1) {
        addPictures(milliseconds + number(body, 2, 3), body[0] >> 4 == 1, body.subspan(5));
    }
}

void FilmSamples::readParameterSets(View configuration) {
    parameterSets_.clear();
    std::size_t at = 5;
    for (const unsigned mask : {0x1FU, 0xFFU}) {
        for (unsigned count = configuration[at++] & mask; count != 0; --count) {
            const std::uint32_t size = number(configuration, at, 2);
            append(parameterSets_, startCode);
            append(parameterSets_, configuration.subspan(at + 2, size));
            at += 2 + size;
        }
    }
}

/// Of films whose units have lengths of four bytes.
void FilmSamples::addPictures(std::uint32_t milliseconds, bool isKeyFrame, View units) {
    while (units.size() > 4) {
        const std::uint32_t size = number(units, 0, 4);
        Bytes sample = isKeyFrame ? parameterSets_ : Bytes{};
        append(sample, startCode);
        append(sample, units.subspan(4, size));
        add(videoStream, milliseconds, std::move(sample));
        units = units.subspan(4 + std::size_t{size});
    }
}

void FilmSamples::add(DWORD stream, std::uint32_t milliseconds, Bytes sample) {
    const LONGLONG time = LONGLONG{milliseconds} * 10'000;
    lastTime_ = std::max(lastTime_, time);
    samples_.emplace(Place{stream, time}, std::move(sample));
}

} // namespace JY::Test
