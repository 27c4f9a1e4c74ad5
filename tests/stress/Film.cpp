#include "tests/stress/Film.h"

#include "tests/support/FlvBuilder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace JY::Test {

namespace {

const Bytes picture{0x65, 0x88, 0x80, 0x10, 0x00};

FlvBuilder pictures(const MetaData& metaData, std::uint8_t flags) {
    FlvBuilder film(flags);
    film.onMetaData(metaData).avcSequenceHeader(0);
    if ((flags & FlvBuilder::audio) != 0) {
        film.aacSequenceHeader(0);
    }
    for (std::uint32_t time = 0; time < 10'000; time += 200) {
        const bool isKeyFrame = time % 1000 == 0;
        Bytes unit = picture;
        unit.push_back(static_cast<std::uint8_t>(time / 200));
        film.avcNalus(time, isKeyFrame ? FlvBuilder::key : FlvBuilder::inter, {unit, picture});
        if ((flags & FlvBuilder::audio) != 0) {
            film.aacRaw(time, {0x21, 0x10, static_cast<std::uint8_t>(time / 200)});
            film.aacRaw(time + 100, {0x21, 0x11, static_cast<std::uint8_t>(time / 200)});
        }
    }
    return film;
}

Bytes mp3Sound() {
    FlvBuilder film(FlvBuilder::audio);
    film.onMetaData(MetaData().duration(2));
    for (std::uint32_t time = 0; time < 2'000; time += 26) {
        Bytes frame = Mp3Header().bytes();
        frame.resize(417, static_cast<std::uint8_t>(time / 26));
        film.mp3(time, frame);
    }
    return film.build();
}

Bytes read(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("missing: " + path.string());
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

Films::Films() {
    addBuilt(pictures(MetaData::typical(), FlvBuilder::audioAndVideo).build());
    addBuilt(pictures(MetaData::typical().indexKeyFrames(), FlvBuilder::audioAndVideo).build());
    addBuilt(pictures(MetaData::typical(), FlvBuilder::video).build());
    addBuilt(mp3Sound());
    if (const char* const folder = std::getenv("JY_MEDIA_DIR")) {
        for (const char* const name :
             {"film.flv", "noindex.flv", "slices.flv", "mp3.flv", "audio.flv", "video.flv", "sparse.flv"}) {
            addReal(std::filesystem::absolute(std::filesystem::path(folder) / name).wstring());
        }
    }
    badUrls_.push_back(L"file://" + files_.emplace_back(Bytes(100, 'x')).path());
    badUrls_.push_back(L"file://" + files_.emplace_back(Bytes{'F', 'L', 'V', 1}).path());
}

void Films::addBuilt(const Bytes& file) {
    good_.push_back({files_.emplace_back(file).path(), FilmSamples(file)});
}

void Films::addReal(const std::wstring& path) {
    good_.push_back({path, FilmSamples(read(path))});
}

} // namespace JY::Test
