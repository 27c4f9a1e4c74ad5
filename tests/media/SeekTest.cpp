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
                         testing::Values(SeekFilm{"film", 150}, SeekFilm{"slices", 150}, SeekFilm{"sparse", 150},
                                         SeekFilm{"video", 150}, SeekFilm{"mp3", 150}, SeekFilm{"main25", 150},
                                         SeekFilm{"high60", 150}, SeekFilm{"wrap32", 150}, SeekFilm{"long", 20}),
                         [](const auto& film) { return film.param.name; });
INSTANTIATE_TEST_SUITE_P(WithoutAnIndex, Seeks,
                         testing::Values(SeekFilm{"noindex", 150}, SeekFilm{"audio", 150}, SeekFilm{"mp3noindex", 150},
                                         SeekFilm{"noduration", 150}, SeekFilm{"earlier", 150},
                                         SeekFilm{"wrap24", 150}),
                         [](const auto& film) { return film.param.name; });

} // namespace
} // namespace JY::Test
