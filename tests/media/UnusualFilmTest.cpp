// Real films that lack something, or bring it late: what can be had of them, and what cannot.

#include "tests/media/CheckedPlayback.h"
#include "tests/media/ProbedAccount.h"
#include "tests/support/ModuleSetting.h"
#include "tests/support/TempFile.h"
#include "tests/tools/TestFilm.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace JY::Test {
namespace {

using Tools::TestFilm;

constexpr DWORD audio = ExpectedSource::audio;
constexpr DWORD video = ExpectedSource::video;
using Streams = std::vector<DWORD>;

struct UnusualFilm : testing::Test {
    LoadedSession loaded;

    /// A playback of a film that stands in a file.
    CheckedPlayback play(const TestFilm& film) const {
        return CheckedPlayback(loaded.module, film.path(), ExpectedSource(film.bytes()));
    }
};

/// A film in which a key of the script data has another name.
Bytes renamed(const TestFilm& film, const std::string& key) {
    Bytes file = film.bytes();
    const Bytes name = join({bigEndian(key.size(), 2), characters(key)});
    const auto found = std::ranges::search(file, name);
    EXPECT_FALSE(found.empty());
    found.back() ^= 1;
    return file;
}

/// The description of the pictures, which comes first, cannot be used; that ends the search for the sound's, too.
TEST_F(UnusualFilm, WithoutScriptDataGivesNoPicturesAndNoSoundBehindTheirDescription) {
    const CheckedPlayback playback = play(TestFilm("nometadata"));
    EXPECT_EQ(playback.expected().opening(), Opening::fails);
    EXPECT_FALSE(playback.isOpen());
}

TEST_F(UnusualFilm, WithoutScriptDataGivesTheSoundAloneWhenItsDescriptionComesFirst) {
    CheckedPlayback playback = play(TestFilm("nometadatasound"));
    ASSERT_TRUE(playback.isOpen());
    EXPECT_EQ(playback.expected().streams(), Streams{audio});
    EXPECT_FALSE(playback.expected().isDescribed());
    EXPECT_TRUE(playback.expected().isStartRefused());
    playback.start(0);
}

struct ScriptKey : UnusualFilm, testing::WithParamInterface<const char*> {};

TEST_P(ScriptKey, IsNeededForPictures) {
    const Bytes file = renamed(TestFilm("main25"), GetParam());
    const TempFile film(file);
    const CheckedPlayback playback(loaded.module, film.path(), ExpectedSource(file));
    EXPECT_EQ(playback.expected().opening(), Opening::fails);
}

INSTANTIATE_TEST_SUITE_P(Keys, ScriptKey, testing::Values("framerate", "width", "height", "onMetaData"),
                         [](const auto& key) { return key.param; });

TEST_F(UnusualFilm, WithoutADurationIsNotDescribedButPlays) {
    const TestFilm original("main25");
    const Bytes file = renamed(original, "duration");
    const TempFile film(file);
    CheckedPlayback playback(loaded.module, film.path(), ExpectedSource(file));
    ASSERT_TRUE(playback.isOpen());
    EXPECT_FALSE(playback.expected().isDescribed());
    EXPECT_EQ(playback.expected().streams(), (Streams{audio, video}));
    playback.start(0);
    playback.playToEnd(2);
    EXPECT_GE(playback.played(video).size(), original.videoPackets().size());
}

/// Playing begins with the very first frame of sound, which an index leaves out.
TEST_F(UnusualFilm, WithoutAnIndexPlaysFromItsFirstTagOn) {
    const TestFilm original("main25");
    const Bytes file = renamed(original, "keyframes");
    const TempFile film(file);
    CheckedPlayback playback(loaded.module, film.path(), ExpectedSource(file));
    ASSERT_TRUE(playback.isOpen());
    EXPECT_TRUE(playback.expected().script().index.empty());
    playback.start(0);
    playback.playToEnd(2);
    ProbedAccount account(original, original.bytes());
    for (const DWORD stream : {audio, video}) {
        ASSERT_GE(playback.played(stream).size(), account.samples(stream).size());
        EXPECT_TRUE(std::ranges::equal(account.samples(stream),
                                       std::span(playback.played(stream)).first(account.samples(stream).size())));
    }
}

TEST_F(UnusualFilm, WhoseSoundComesLateIsNotStarted) {
    CheckedPlayback playback = play(TestFilm("mp3late"));
    ASSERT_TRUE(playback.isOpen());
    EXPECT_EQ(playback.expected().streams(), Streams{video});
    EXPECT_TRUE(playback.expected().isStartRefused());
    playback.start(0);
}

/// The pictures of its first second, read in search of the sound, come twice.
TEST_F(UnusualFilm, WhoseSoundComesLateGivesItsPicturesWhenTheyMayComeAlone) {
    const ModuleSetting allowed(L"EnableSingleStream", 1);
    const TestFilm film("mp3late");
    ExpectedSource expected(film.bytes());
    expected.allowSingleStream();
    CheckedPlayback playback(loaded.module, film.path(), expected);
    ASSERT_TRUE(playback.isOpen());
    playback.start(0);
    playback.playToEnd(2);
    const auto whole = ProbedAccount(film, film.bytes()).samples(video);
    const auto second =
        std::ranges::find_if(whole, [](const PlayedSample& sample) { return sample.time > 10'000'000; });
    ASSERT_NE(second, whole.end());
    const auto twice = second - whole.begin() + 1;
    const auto& played = playback.played(video);
    ASSERT_GE(played.size(), whole.size() + static_cast<std::size_t>(twice));
    EXPECT_TRUE(std::equal(whole.begin(), whole.begin() + twice, played.begin()));
    const auto bytesAt = [&](std::size_t index) { return played[static_cast<std::size_t>(twice) + index].bytes; };
    for (std::size_t index = 0; index < whole.size(); ++index) {
        EXPECT_EQ(bytesAt(index), whole[index].bytes) << index;
    }
}

/// A NAL unit of 2 bytes behind 4 bytes of its length is refused. Reading goes on behind that length, amid the tag, so
/// that what comes next is whatever these bytes can be taken for.
TEST_F(UnusualFilm, WithAccessUnitDelimitersFailsAtItsPictures) {
    CheckedPlayback playback = play(TestFilm("delimiters"));
    ASSERT_TRUE(playback.isOpen());
    EXPECT_EQ(playback.expected().streams(), (Streams{audio, video}));
    playback.start(0);
    EXPECT_EQ(playback.request(video), Answer::failure);
    for (unsigned count = 0; count < 100 && !HasFailure(); ++count) {
        playback.request(audio);
        playback.request(video);
    }
}

} // namespace
} // namespace JY::Test
