// Real films of many kinds, played by the library: every sample is what ffprobe's account of the film and the written
// rules give, byte for byte.

#include "tests/media/CheckedPlayback.h"
#include "tests/media/ProbedAccount.h"
#include "tests/tools/TestFilm.h"
#include "tools/SourceFacts.h"

#include <mfapi.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>

using Microsoft::WRL::ComPtr;

namespace JY::Test {
namespace {

using Tools::ProbedPacket;
using Tools::TestFilm;

constexpr DWORD audio = ExpectedSource::audio;
constexpr DWORD video = ExpectedSource::video;

std::string nameOf(const testing::TestParamInfo<const char*>& film) {
    std::string name = film.param;
    std::erase_if(name, [](char character) { return !std::isalnum(static_cast<unsigned char>(character)); });
    return name;
}

/// Where playing from time 0 begins: with an index, at the first key frame.
std::uint64_t beginning(const TestFilm& film, const ExpectedSource& expected) {
    return expected.script().index.empty() ? 0 : film.videoPackets().front().position;
}

bool startsWith(const std::vector<PlayedSample>& samples, const std::vector<PlayedSample>& beginning) {
    return samples.size() >= beginning.size() && std::equal(beginning.begin(), beginning.end(), samples.begin());
}

struct Matrix : testing::TestWithParam<const char*> {
    LoadedSession loaded;
    TestFilm film{GetParam()};
    Bytes file = film.bytes();
    ExpectedSource expected{file};
};

TEST_P(Matrix, GivesEverySampleThatFfprobeTellsOf) {
    CheckedPlayback playback(loaded.module, film.path(), expected);
    ASSERT_TRUE(playback.isOpen());
    playback.start(0);
    playback.playToEnd(2);
    ProbedAccount account(film, file, beginning(film, expected));
    for (const DWORD stream : expected.streams()) {
        ASSERT_FALSE(account.samples(stream).empty());
        EXPECT_TRUE(startsWith(playback.played(stream), account.samples(stream)))
            << playback.played(stream).size() << " of " << account.samples(stream).size() << " in stream " << stream;
    }
    EXPECT_EQ(account.samples(audio).empty(), std::ranges::count(expected.streams(), audio) == 0);
    EXPECT_EQ(account.samples(video).empty(), std::ranges::count(expected.streams(), video) == 0);
}

INSTANTIATE_TEST_SUITE_P(Pictures, Matrix,
                         testing::Values("baseline23.976", "main25", "high29.97", "high60", "odd17x33", "uhd3840x2160",
                                         "earlier"),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Sound, Matrix,
                         testing::Values("aac8000mono", "aac8000stereo", "aac11025mono", "aac11025stereo",
                                         "aac12000mono", "aac12000stereo", "aac16000mono", "aac16000stereo",
                                         "aac22050mono", "aac22050stereo", "aac24000mono", "aac24000stereo",
                                         "aac32000mono", "aac32000stereo", "aac44100mono", "aac44100stereo",
                                         "aac48000mono", "aac48000stereo", "mp3noindex"),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Times, Matrix, testing::Values("wrap32", "wrap24", "long"), nameOf);
// Only a client that describes the presentation itself can play these.
INSTANTIATE_TEST_SUITE_P(WithoutDuration, Matrix, testing::Values("noduration", "nometadataaac"), nameOf);

struct IndexedFilms : testing::TestWithParam<const char*> {};

/// The index by the tests' own reading, which the expectations of the other tests rest on.
TEST_P(IndexedFilms, TellOfTheKeyFramesThatFfprobeTellsOf) {
    const TestFilm film(GetParam());
    std::vector<std::int64_t> probed;
    for (const ProbedPacket& packet : film.videoPackets()) {
        if (packet.key) {
            probed.push_back(static_cast<std::int64_t>(packet.position));
        }
    }
    std::vector<std::int64_t> told;
    std::ranges::transform(ExpectedSource(film.bytes()).script().index, std::back_inserter(told),
                           &IndexedKeyFrame::position);
    EXPECT_EQ(told, probed);
}

INSTANTIATE_TEST_SUITE_P(Films, IndexedFilms,
                         testing::Values("main25", "high60", "odd17x33", "wrap32", "short", "long", "film", "sparse"),
                         nameOf);

ComPtr<IMFMediaType> typeOf(IMFMediaSource& source, DWORD identifier) {
    const auto presentation = Tools::createPresentation(source);
    for (DWORD index = 0; index < Tools::streamCount(*presentation.Get()); ++index) {
        const auto stream = Tools::streamAt(*presentation.Get(), index);
        DWORD found = 0;
        ComPtr<IMFMediaType> type;
        if (SUCCEEDED(stream->GetStreamIdentifier(&found)) && found == identifier &&
            SUCCEEDED(Tools::typeHandlerOf(*stream.Get())->GetCurrentMediaType(type.GetAddressOf()))) {
            return type;
        }
    }
    throw std::runtime_error("no such stream");
}

/// What the film's name says of it.
struct PictureFormat {
    const char* film;
    UINT32 width;
    UINT32 height;
    UINT32 thousandFrames; ///< the pictures of 1000 seconds
};

struct MatrixPictures : testing::TestWithParam<PictureFormat> {};

TEST_P(MatrixPictures, AreDescribedAsTheyWereEncoded) {
    const LoadedSession loaded;
    const TestFilm film(GetParam().film);
    HRESULT result = E_UNEXPECTED;
    const auto source = openFilm(loaded.module, film.path(), result);
    ASSERT_EQ(result, S_OK);
    const auto type = typeOf(*source.Get(), video);
    const Bytes record = film.parameters("video");
    UINT32 first = 0;
    UINT32 second = 0;
    EXPECT_EQ(MFGetAttributeSize(type.Get(), MF_MT_FRAME_SIZE, &first, &second), S_OK);
    EXPECT_EQ(std::pair(first, second), std::pair(GetParam().width, GetParam().height));
    EXPECT_EQ(MFGetAttributeRatio(type.Get(), MF_MT_FRAME_RATE, &first, &second), S_OK);
    EXPECT_EQ(std::pair(first, second), std::pair(GetParam().thousandFrames, UINT32{1000}));
    EXPECT_EQ(MFGetAttributeUINT32(type.Get(), MF_MT_MPEG2_PROFILE, 0), record.at(1));
    EXPECT_EQ(MFGetAttributeUINT32(type.Get(), MF_MT_MPEG2_LEVEL, 0), record.at(3));
    EXPECT_EQ(source->Shutdown(), S_OK);
}

INSTANTIATE_TEST_SUITE_P(
    Films, MatrixPictures,
    testing::Values(PictureFormat{"baseline23.976", 64, 64, 23976}, PictureFormat{"main25", 64, 64, 25000},
                    PictureFormat{"high29.97", 64, 64, 29970}, PictureFormat{"high60", 64, 64, 60000},
                    PictureFormat{"odd17x33", 17, 33, 25000}, PictureFormat{"uhd3840x2160", 3840, 2160, 25000}));

struct MatrixSound : testing::TestWithParam<std::tuple<UINT32, UINT32>> {};

TEST_P(MatrixSound, IsDescribedAsItWasEncoded) {
    const auto [samplingRate, channels] = GetParam();
    const LoadedSession loaded;
    const TestFilm film("aac" + std::to_string(samplingRate) + (channels == 1 ? "mono" : "stereo"));
    HRESULT result = E_UNEXPECTED;
    const auto source = openFilm(loaded.module, film.path(), result);
    ASSERT_EQ(result, S_OK);
    const auto type = typeOf(*source.Get(), audio);
    EXPECT_EQ(MFGetAttributeUINT32(type.Get(), MF_MT_AUDIO_SAMPLES_PER_SECOND, 0), samplingRate);
    EXPECT_EQ(MFGetAttributeUINT32(type.Get(), MF_MT_AUDIO_NUM_CHANNELS, 0), channels);
    Bytes userData(2);
    UINT32 size = 0;
    EXPECT_EQ(type->GetBlob(MF_MT_USER_DATA, userData.data(), 2, &size), S_OK);
    EXPECT_EQ(userData, firstBytes(film.parameters("audio"), 2));
    EXPECT_EQ(size, 2U);
    EXPECT_EQ(source->Shutdown(), S_OK);
}

INSTANTIATE_TEST_SUITE_P(Rates, MatrixSound,
                         testing::Combine(testing::Values(8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000),
                                          testing::Values(1, 2)));

} // namespace
} // namespace JY::Test
