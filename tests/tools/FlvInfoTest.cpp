// flvinfo on real films, by the accounts that ffprobe gives of them.

#include "tests/support/ProgramRun.h"
#include "tests/tools/JsonReader.h"
#include "tests/tools/TestFilm.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

using Test::ProgramRun;
using Test::runProgramBeside;

constexpr double audioStream = 1001;
constexpr double videoStream = 1002;

ProgramRun flvinfo(std::vector<std::wstring> arguments) {
    return runProgramBeside(L"flvinfo.exe", arguments);
}

/// What flvinfo tells of a film in JSON.
Json told(const TestFilm& film) {
    const ProgramRun run = flvinfo({film.path(), L"--json", L"--samples"});
    EXPECT_EQ(run.status, 0U);
    EXPECT_EQ(run.errors, "");
    return readJson(run.output);
}

/// A sample as flvinfo tells it.
struct ToldSample {
    LONGLONG time;
    std::uint64_t bytes;
    std::uint32_t crc;
    bool key;
};

std::vector<ToldSample> samplesOf(const Json& document, double stream) {
    std::vector<ToldSample> samples;
    for (const Json& sample : document["samples"].items) {
        if (sample["stream"].number == stream) {
            samples.push_back(
                {std::llround(sample["time"].number * 1000), static_cast<std::uint64_t>(sample["bytes"].number),
                 static_cast<std::uint32_t>(std::stoul(sample["crc32"].text, nullptr, 16)), sample["key"].yes});
        }
    }
    return samples;
}

/// Without those that playing has given before it went back to the beginning: from where the first one comes again.
std::vector<ToldSample> playedToTheEnd(std::vector<ToldSample> samples) {
    const auto again = [&] {
        return std::find_if(samples.begin() + 1, samples.end(), [&](const ToldSample& sample) {
            return sample.time == samples.front().time && sample.crc == samples.front().crc;
        });
    };
    if (!samples.empty() && again() != samples.end()) {
        samples.erase(samples.begin(), again());
    }
    return samples;
}

const Json& totalOf(const Json& document, double stream) {
    const auto& totals = document["totals"].items;
    const auto found =
        std::ranges::find_if(totals, [&](const Json& total) { return total["stream"].number == stream; });
    if (found == totals.end()) {
        throw std::runtime_error("no totals of the stream");
    }
    return *found;
}

std::string attributeOf(const Json& document, double stream, const std::string& name) {
    for (const Json& each : document["streams"].items) {
        for (const Json& attribute : each["attributes"].items) {
            if (each["id"].number == stream && attribute["name"].text == name) {
                return attribute["value"].text;
            }
        }
    }
    return "missing";
}

struct FlvInfoOnFilms : testing::TestWithParam<const char*> {
    TestFilm film{GetParam()};
    Json document = told(film);
};

TEST_P(FlvInfoOnFilms, TellsEveryPieceOfSoundAsFfprobeDoes) {
    const auto packets = film.playedAudio();
    const auto samples = samplesOf(document, audioStream);
    ASSERT_EQ(samples.size(), packets.size());
    for (std::size_t index = 0; index < packets.size(); ++index) {
        EXPECT_EQ(samples[index].time, packets[index].time) << index;
        EXPECT_EQ(samples[index].bytes, packets[index].bytes) << index;
        EXPECT_EQ(samples[index].crc, packets[index].crc) << index;
    }
}

TEST_P(FlvInfoOnFilms, TellsThePicturesTimesAndKeyFramesAsFfprobeDoes) {
    const auto packets = film.videoPackets();
    const auto samples = playedToTheEnd(samplesOf(document, videoStream));
    std::size_t next = 0;
    for (const ProbedPacket& packet : packets) {
        ASSERT_LT(next, samples.size());
        for (; next < samples.size() && samples[next].time == packet.time; ++next) {
            EXPECT_EQ(samples[next].key, packet.key) << packet.time;
        }
    }
    EXPECT_EQ(next, samples.size());
    if (!packets.empty()) {
        const Json& total = totalOf(document, videoStream);
        const auto played = film.playedVideo();
        EXPECT_EQ(total["frames"].number, static_cast<double>(played.size()));
        EXPECT_EQ(total["keyFrames"].number, static_cast<double>(std::ranges::count(played, true, &ProbedPacket::key)));
        EXPECT_EQ(total["samples"].number, static_cast<double>(samplesOf(document, videoStream).size()));
    }
}

/// A packet's pieces have length prefixes of 4 bytes, where a sample has a start code of 3; the samples of a key frame
/// have the parameter sets in front, too, which are the same throughout.
TEST_P(FlvInfoOnFilms, TellsThePicturesSizesAsFfprobeDoes) {
    const auto samples = playedToTheEnd(samplesOf(document, videoStream));
    std::size_t next = 0;
    std::uint64_t parameterSets = 0;
    for (const ProbedPacket& packet : film.videoPackets()) {
        std::uint64_t pieces = 0;
        std::uint64_t bytes = 0;
        for (; next < samples.size() && samples[next].time == packet.time; ++next) {
            ++pieces;
            bytes += samples[next].bytes;
        }
        const std::uint64_t payload = packet.bytes - pieces;
        if (packet.key && parameterSets == 0) {
            parameterSets = (bytes - payload) / pieces;
            EXPECT_GT(parameterSets, 0U);
        }
        EXPECT_EQ(bytes, payload + (packet.key ? pieces * parameterSets : 0)) << packet.time;
    }
}

TEST_P(FlvInfoOnFilms, TellsWhatTheSamplesComeTo) {
    for (const Json& total : document["totals"].items) {
        const auto samples = samplesOf(document, total["stream"].number);
        ASSERT_FALSE(samples.empty());
        std::uint64_t bytes = 0;
        for (const ToldSample& sample : samples) {
            bytes += sample.bytes;
        }
        EXPECT_EQ(total["bytes"].number, static_cast<double>(bytes));
        const auto [first, last] = std::ranges::minmax(samples, {}, &ToldSample::time);
        EXPECT_EQ(std::llround(total["firstTime"].number * 1000), first.time);
        EXPECT_EQ(std::llround(total["lastTime"].number * 1000), last.time);
        EXPECT_FALSE(total.has("failure"));
    }
}

INSTANTIATE_TEST_SUITE_P(Films, FlvInfoOnFilms,
                         testing::Values("film", "noindex", "slices", "mono", "mp3", "audio", "video", "sparse"),
                         [](const auto& film) { return film.param; });

TEST(FlvInfo, TellsAFilmsStreamsInWords) {
    const Json document = told(TestFilm("film"));
    EXPECT_NEAR(document["duration"].number, 6.08, 0.05);
    EXPECT_TRUE(document["seekable"].yes);
    EXPECT_TRUE(document["pausable"].yes);
    EXPECT_FALSE(document["live"].yes);
    ASSERT_EQ(document["streams"].items.size(), 2U);
    EXPECT_EQ(attributeOf(document, audioStream, "MF_MT_SUBTYPE"), "raw AAC");
    EXPECT_EQ(attributeOf(document, audioStream, "MF_MT_AUDIO_SAMPLES_PER_SECOND"), "44100 Hz");
    EXPECT_EQ(attributeOf(document, audioStream, "MF_MT_AUDIO_CHANNEL_MASK"), "front left, front right (0x3)");
    EXPECT_EQ(attributeOf(document, videoStream, "MF_MT_SUBTYPE"), "H.264");
    EXPECT_EQ(attributeOf(document, videoStream, "MF_MT_FRAME_SIZE"), "320 x 180");
    EXPECT_EQ(attributeOf(document, videoStream, "MF_MT_FRAME_RATE"), "25 frames a second (25000/1000)");
}

TEST(FlvInfo, TellsOneChannelFromTwo) {
    const Json document = told(TestFilm("mono"));
    EXPECT_EQ(attributeOf(document, audioStream, "MF_MT_AUDIO_NUM_CHANNELS"), "1");
    EXPECT_EQ(attributeOf(document, audioStream, "MF_MT_AUDIO_SAMPLES_PER_SECOND"), "22050 Hz");
}

TEST(FlvInfo, TellsMp3FromAac) {
    const Json document = told(TestFilm("mp3"));
    EXPECT_EQ(attributeOf(document, audioStream, "MF_MT_SUBTYPE"), "MP3");
    EXPECT_EQ(attributeOf(document, audioStream, "MF_MT_AUDIO_SAMPLES_PER_SECOND"), "44100 Hz");
    EXPECT_EQ(attributeOf(document, audioStream, "MF_MT_AUDIO_NUM_CHANNELS"), "2");
}

TEST(FlvInfo, TellsTheSameInText) {
    const ProgramRun run = flvinfo({TestFilm("film").path()});
    EXPECT_EQ(run.status, 0U);
    EXPECT_THAT(run.output, testing::HasSubstr("\nStream 1001, audio\n"));
    EXPECT_THAT(run.output, testing::HasSubstr("\nStream 1002, video\n"));
    EXPECT_THAT(run.output, testing::HasSubstr("\nSamples of stream 1001\n  samples                    260\n"));
    EXPECT_EQ(run.errors, "");
}

TEST(FlvInfo, SaysWhyAFileCannotBeOpened) {
    const ProgramRun missing = flvinfo({L"C:\\no such film.flv"});
    EXPECT_EQ(missing.status, 1U);
    EXPECT_EQ(missing.output, "");
    EXPECT_EQ(missing.errors, "flvinfo: opening the file: ERROR_FILE_NOT_FOUND (0x80070002): there is no such file\n");
}

TEST(FlvInfo, SaysThatAFileIsNoFilm) {
    const auto path = std::filesystem::temp_directory_path() / "no film.flv";
    std::ofstream(path) << "This is no film.";
    const ProgramRun run = flvinfo({path.wstring()});
    std::filesystem::remove(path);
    EXPECT_EQ(run.status, 1U);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, testing::StartsWith("flvinfo: opening the file: "));
}

TEST(FlvInfo, ShowsItsUsageWhenItIsCalledWrongly) {
    for (const auto& arguments : {std::vector<std::wstring>{}, {L"a.flv", L"--frames"}, {L"a.flv", L"b.flv"}}) {
        const ProgramRun run = flvinfo(arguments);
        EXPECT_EQ(run.status, 2U);
        EXPECT_EQ(run.output, "");
        EXPECT_THAT(run.errors, testing::HasSubstr("usage: flvinfo FILE [--samples] [--json]\n"));
    }
}

} // namespace
} // namespace JY::Tools
