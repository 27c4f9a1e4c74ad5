// Seeking in real films: after every start, wherever it goes and whatever came before, each stream goes on with the
// samples that the rules give.

#include "tests/media/CheckedPlayback.h"
#include "tests/tools/TestFilm.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <ostream>
#include <random>

namespace JY::Test {
namespace {

using Tools::ProbedPacket;
using Tools::TestFilm;

constexpr DWORD audio = ExpectedSource::audio;
constexpr DWORD video = ExpectedSource::video;
constexpr LONGLONG second = 10'000'000; // 100 ns

struct SeekFilm {
    const char* name;
    unsigned starts; ///< fewer where the walks are long

    friend void PrintTo(const SeekFilm& film, std::ostream* out) { *out << film.name; }
};

/// A client that does what comes to its mind, always the same.
class Wanderer {
public:
    Wanderer(const TestFilm& film, const ExpectedSource& expected) {
        for (const ProbedPacket& packet : film.packets()) {
            last_ = std::max(last_, packet.time * 10'000);
            places_.push_back(packet.decodingTime * 10'000);
        }
        for (const IndexedKeyFrame& keyFrame : expected.script().index) {
            places_.push_back(keyFrame.time * 10);
        }
    }

    unsigned below(unsigned bound) { return static_cast<unsigned>(random_() % bound); }

    SeekSettings settings() {
        static constexpr std::uint32_t thresholds[] = {10000, 0, 500, 2000, 100'000'000, 0xFFFFFFFF};
        return {below(4) != 0, thresholds[below(std::size(thresholds))]};
    }

    std::optional<LONGLONG> place() {
        constexpr LONGLONG wrap = (LONGLONG{1} << 32) * 10;
        switch (below(10)) {
        case 0:
            return std::nullopt;
        case 1:
            return 0;
        case 2:
            return -anywhere();
        case 3:
            return last_ + anywhere();
        case 4:
            return wrap + anywhere();
        case 5:
            return std::numeric_limits<LONGLONG>::max() - below(20);
        case 6:
        case 7:
            return places_[random_() % places_.size()] + static_cast<LONGLONG>(below(21)) - 10;
        default:
            return anywhere();
        }
    }

private:
    LONGLONG anywhere() { return static_cast<LONGLONG>(random_() % static_cast<std::uint64_t>(last_ + second)); }

    std::mt19937_64 random_{42};
    LONGLONG last_ = 0;
    std::vector<LONGLONG> places_; ///< of tags and of the index
};

struct Seeks : testing::TestWithParam<SeekFilm> {};

TEST_P(Seeks, GoOnWithTheSamplesThatTheRulesGive) {
    const LoadedSession loaded;
    const TestFilm film(GetParam().name);
    const ExpectedSource expected(film.bytes());
    CheckedPlayback playback(loaded.module, film.path(), expected);
    ASSERT_TRUE(playback.isOpen());
    Wanderer wanderer(film, expected);
    playback.start(0);
    for (unsigned starts = 0; starts < GetParam().starts && !HasFailure();) {
        switch (wanderer.below(8)) {
        case 0:
            playback.set(wanderer.settings());
            break;
        case 1:
            playback.pause();
            break;
        case 2:
            playback.stop();
            break;
        case 3:
            // Also while it is paused or stopped.
            for (const DWORD stream : expected.streams()) {
                for (unsigned left = wanderer.below(20); left != 0; --left) {
                    playback.request(stream);
                }
            }
            break;
        default:
            playback.start(wanderer.place());
            ++starts;
            for (unsigned left = 1 + wanderer.below(4); left != 0; --left) {
                for (const DWORD stream : expected.streams()) {
                    playback.request(stream);
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(WithAnIndex, Seeks,
                         testing::Values(SeekFilm{"film", 300}, SeekFilm{"slices", 300}, SeekFilm{"sparse", 300},
                                         SeekFilm{"video", 300}, SeekFilm{"mp3", 300}, SeekFilm{"main25", 300},
                                         SeekFilm{"high60", 300}, SeekFilm{"wrap32", 300}, SeekFilm{"long", 60}),
                         [](const auto& film) { return film.param.name; });
INSTANTIATE_TEST_SUITE_P(WithoutAnIndex, Seeks,
                         testing::Values(SeekFilm{"noindex", 300}, SeekFilm{"audio", 300}, SeekFilm{"mp3noindex", 300},
                                         SeekFilm{"noduration", 300}, SeekFilm{"earlier", 300},
                                         SeekFilm{"wrap24", 300}),
                         [](const auto& film) { return film.param.name; });

/// A film of six seconds with a key frame every second, with an index or without. What is expected is told by ffprobe
/// alone.
struct KeyFrames : testing::TestWithParam<const char*> {
    /// Plays a little from there.
    void playFrom(LONGLONG place) {
        playback.start(place);
        for (unsigned left = 10; left != 0; --left) {
            playback.request(video);
            playback.request(audio);
        }
        playback.stop();
    }

    /// From the last key frame at or before it.
    void expectPlaysFrom(LONGLONG target) {
        const std::vector<ProbedPacket> pictures = film.videoPackets();
        const auto key = std::find_if(pictures.rbegin(), pictures.rend(), [&](const ProbedPacket& picture) {
            return picture.key && picture.decodingTime * 10'000 <= target;
        });
        ASSERT_NE(key, pictures.rend());
        const std::vector<ProbedPacket> sounds = film.audioPackets();
        const auto sound =
            std::ranges::find_if(sounds, [&](const ProbedPacket& each) { return each.position > key->position; });
        ASSERT_NE(sound, sounds.end());

        playback.start(target);
        ASSERT_EQ(playback.request(video), Answer::sample);
        EXPECT_EQ(playback.played(video).front().time, key->time * 10'000) << target;
        EXPECT_TRUE(playback.played(video).front().cleanPoint) << target;
        ASSERT_EQ(playback.request(audio), Answer::sample);
        EXPECT_EQ(playback.played(audio).front().time, sound->time * 10'000) << target;
        EXPECT_EQ(playback.played(audio).front().bytes.size(), sound->bytes) << target;
        playback.stop();
    }

    LoadedSession loaded;
    TestFilm film{GetParam()};
    CheckedPlayback playback{loaded.module, film.path(), ExpectedSource(film.bytes())};
};

TEST_P(KeyFrames, AreWherePlayingGoesOnLaterInTheFilm) {
    for (LONGLONG target = second / 2; target < 6 * second; target += second) {
        playFrom(0);
        expectPlaysFrom(target);
    }
}

TEST_P(KeyFrames, AreWherePlayingGoesOnEarlierInTheFilm) {
    for (LONGLONG target = second / 2; target < 5 * second; target += second) {
        playFrom(5 * second + second / 2);
        expectPlaysFrom(target);
    }
}

INSTANTIATE_TEST_SUITE_P(Films, KeyFrames, testing::Values("film", "noindex", "slices"),
                         [](const auto& film) { return film.param; });

} // namespace
} // namespace JY::Test
