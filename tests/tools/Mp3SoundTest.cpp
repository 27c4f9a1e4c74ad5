// MP3 through Media Foundation, by the sound that ffmpeg has encoded. The frames of each sound stand one behind the
// other beside the films; make-media.sh has seen that they decode to what the film decodes to.

#include "tests/support/FlvBuilder.h"
#include "tests/support/TempFile.h"
#include "tests/tools/PlayedStream.h"
#include "tests/tools/SampleBytes.h"
#include "tests/tools/TestFilm.h"
#include "tools/Failure.h"
#include "tools/Session.h"

#include <mfapi.h>

#include <gtest/gtest.h>
#include <ostream>
#include <stdexcept>

using Microsoft::WRL::ComPtr;

namespace JY::Tools {
namespace {

using Test::Bytes;
using Test::FlvBuilder;
using Test::join;
using Test::MetaData;
using Test::TempFile;

enum class Packing {
    byFfmpeg,
    frameByFrame, ///< for rates that ffmpeg does not put into this format
    behindJunk
};

/// A sound, and what the headers of its frames say.
struct Sound {
    const char* name;
    Packing packing;
    UINT32 bitRate; ///< kbit/s
    UINT32 samplingRate;
    UINT32 channels;

    friend void PrintTo(const Sound& sound, std::ostream* out) { *out << sound.name; }
};

const Bytes junk = {0x00, 0xFF, 0x1F, 0x49, 0x44, 0x33};

/// The film of a sound's frames, one a tag.
Bytes packed(const Sound& sound, const std::vector<Bytes>& frames, const std::vector<LONGLONG>& times) {
    FlvBuilder film(FlvBuilder::audio);
    film.onMetaData(MetaData().duration(1));
    for (std::size_t index = 0; index < frames.size(); ++index) {
        const Bytes& frame = frames[index];
        film.mp3(static_cast<std::uint32_t>(times[index]),
                 sound.packing == Packing::behindJunk ? join({junk, frame}) : frame);
    }
    return film.build();
}

std::vector<Bytes> framesOf(const TestFilm& film) {
    const Bytes whole = film.soundFrames();
    std::vector<Bytes> frames;
    auto next = whole.begin();
    for (const ProbedPacket& packet : film.audioPackets()) {
        if (packet.bytes > static_cast<std::uint64_t>(whole.end() - next)) {
            throw std::runtime_error("The account tells of more frames than there are.");
        }
        const auto end = next + static_cast<std::ptrdiff_t>(packet.bytes);
        frames.emplace_back(next, end);
        next = end;
    }
    EXPECT_EQ(next, whole.end()) << "frames that the account does not tell of";
    return frames;
}

/// In milliseconds.
std::vector<LONGLONG> frameTimes(std::size_t count, UINT32 samplingRate) {
    const LONGLONG samplesPerFrame = samplingRate >= 32000 ? 1152 : 576; // MPEG-1, or the others
    std::vector<LONGLONG> times;
    for (std::size_t index = 0; index < count; ++index) {
        times.push_back(static_cast<LONGLONG>(index) * samplesPerFrame * 1000 / samplingRate);
    }
    return times;
}

std::vector<LONGLONG> packetTimes(const TestFilm& film) {
    std::vector<LONGLONG> times;
    for (const ProbedPacket& packet : film.audioPackets()) {
        times.push_back(packet.time);
    }
    return times;
}

UINT32 numberOf(IMFMediaType& type, const GUID& key) {
    UINT32 value = 0;
    check(type.GetUINT32(key, &value), "IMFAttributes::GetUINT32");
    return value;
}

/// What Media Foundation gives of a file's sound. Times in milliseconds.
struct PlayedSound {
    Bytes bytes;
    std::vector<LONGLONG> times;
    std::vector<LONGLONG> durations;

    explicit PlayedSound(const std::wstring& path) {
        PlayedStream stream(path, audioStream);
        while (const auto delivered = stream.next()) {
            bytes = join({bytes, bytesOf(*delivered->sample.Get())});
            times.push_back(delivered->facts.time / 10'000);
            durations.push_back(delivered->facts.duration / 10'000);
        }
    }
};

class Mp3Sound : public testing::TestWithParam<Sound> {
protected:
    Mp3Sound() {
        if (GetParam().packing == Packing::byFfmpeg) {
            times = packetTimes(film);
            path = film.path();
        } else {
            const std::vector<Bytes> frames = framesOf(film);
            times = frameTimes(frames.size(), GetParam().samplingRate);
            built.write(packed(GetParam(), frames, times));
            path = built.path();
        }
    }

    Session session;
    TestFilm film{GetParam().name};
    TempFile built;
    std::wstring path;
    std::vector<LONGLONG> times; ///< of the tags
};

TEST_P(Mp3Sound, ComesInTheFramesThatDecodeToIt) {
    Bytes expected = film.soundFrames();
    ASSERT_FALSE(expected.empty());
    if (film.playedAudio().size() > film.audioPackets().size()) {
        expected = join({framesOf(film).front(), expected});
        times.insert(times.begin(), times.front());
    }
    const PlayedSound played(path);
    EXPECT_TRUE(played.bytes == expected) << played.bytes.size() << " bytes for " << expected.size();
    EXPECT_EQ(played.times, times);
    EXPECT_EQ(played.durations, times);
}

TEST_P(Mp3Sound, IsDescribedAsItsFrameHeadersSay) {
    const ComPtr<IMFMediaType> type = PlayedStream(path, audioStream).type();
    GUID format{};
    EXPECT_EQ(type->GetGUID(MF_MT_SUBTYPE, &format), S_OK);
    EXPECT_EQ(format, MFAudioFormat_MP3);
    EXPECT_EQ(numberOf(*type.Get(), MF_MT_AUDIO_AVG_BYTES_PER_SECOND), GetParam().bitRate) << "in kbit/s";
    EXPECT_EQ(numberOf(*type.Get(), MF_MT_AUDIO_SAMPLES_PER_SECOND), GetParam().samplingRate);
    EXPECT_EQ(numberOf(*type.Get(), MF_MT_AUDIO_NUM_CHANNELS), GetParam().channels);
}

std::string nameOf(const testing::TestParamInfo<Sound>& sound) {
    return std::string(sound.param.name) + (sound.param.packing == Packing::behindJunk ? "BehindJunk" : "");
}

INSTANTIATE_TEST_SUITE_P(Mpeg1, Mp3Sound,
                         testing::Values(Sound{"mp3", Packing::byFfmpeg, 128, 44100, 2},
                                         Sound{"mp3at48000", Packing::byFfmpeg, 192, 48000, 2},
                                         Sound{"sound32000", Packing::frameByFrame, 96, 32000, 2}),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Mpeg2, Mp3Sound,
                         testing::Values(Sound{"mp3at22050", Packing::byFfmpeg, 64, 22050, 1},
                                         Sound{"sound24000", Packing::frameByFrame, 64, 24000, 2},
                                         Sound{"sound24000", Packing::behindJunk, 64, 24000, 2},
                                         Sound{"sound16000", Packing::frameByFrame, 24, 16000, 1}),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Mpeg25, Mp3Sound,
                         testing::Values(Sound{"mp3at11025", Packing::byFfmpeg, 32, 11025, 1},
                                         Sound{"sound12000", Packing::frameByFrame, 24, 12000, 2},
                                         Sound{"sound8000", Packing::frameByFrame, 16, 8000, 1}),
                         nameOf);

} // namespace
} // namespace JY::Tools
