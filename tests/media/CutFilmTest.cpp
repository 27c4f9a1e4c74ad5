// A real film cut off at many places, as it is after a broken download or while it is still being written.

#include "tests/media/CheckedPlayback.h"
#include "tests/support/TempFile.h"
#include "tests/tools/TestFilm.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <set>

namespace JY::Test {
namespace {

using Tools::TestFilm;

/// Where each tag's record starts, and where the last one ends.
std::vector<std::size_t> recordsOf(const Bytes& film) {
    std::vector<std::size_t> records;
    std::size_t record = 9;
    for (; record + 15 <= film.size();
         record += 15 + (film[record + 5] << 16U | film[record + 6] << 8U | film[record + 7])) {
        records.push_back(record);
    }
    records.push_back(record);
    return records;
}

/// The end of every tag to the byte, what the film is described by at every byte's end, and places anywhere.
std::set<std::size_t> cutsOf(const Bytes& film) {
    constexpr std::size_t describing = 3; // tags: the script, the pictures' and the sound's
    const std::vector<std::size_t> records = recordsOf(film);
    std::set<std::size_t> cuts;
    for (const std::size_t record : records) {
        for (const std::size_t cut : {record - 1, record, record + 4, record + 15}) {
            cuts.insert(std::min(cut, film.size()));
        }
    }
    for (std::size_t cut = records[1] - 3; cut < records[describing]; ++cut) {
        cuts.insert(cut);
    }
    std::mt19937 random(20110706);
    for (unsigned left = 100; left != 0; --left) {
        cuts.insert(random() % film.size());
    }
    return cuts;
}

TEST(CutFilm, GivesEverySampleThatItStillHolds) {
    const LoadedSession loaded;
    const Bytes whole = TestFilm("short").bytes();
    unsigned opened = 0;
    for (const std::size_t cut : cutsOf(whole)) {
        const Bytes rest = firstBytes(whole, cut);
        const ExpectedSource expected(rest);
        if (expected.opening() == Opening::neverEnds) {
            continue;
        }
        SCOPED_TRACE(cut);
        const TempFile film(rest);
        CheckedPlayback playback(loaded.module, film.path(), expected);
        if (playback.isOpen()) {
            ++opened;
            playback.start(0);
            if (!expected.isStartRefused()) {
                playback.playToEnd(3);
            }
        }
        if (HasFailure()) {
            return;
        }
    }
    EXPECT_GT(opened, 200U);
}

/// The search for a stream's first tag ends with that tag, with one behind the first second, or with a failure, and has
/// none of them where the film's last tag, read again and again, is another. A script tag is passed over unread, so
/// that it need not even be whole.
TEST(CutFilm, IsOpenedWithoutEndOnlyWhereItsLastTagIsReadBeforeTheStreamIsFound) {
    const Bytes whole = TestFilm("short").bytes();
    const auto records = recordsOf(whole);
    std::set<std::size_t> endless;
    std::set<std::size_t> expected;
    for (std::size_t cut = 0; cut <= whole.size(); ++cut) {
        if (ExpectedSource(firstBytes(whole, cut)).opening() == Opening::neverEnds) {
            endless.insert(cut);
        }
    }
    constexpr std::size_t record = 15;
    constexpr std::size_t previousTagSize = 4; // what there is of it behind a tag makes no difference
    for (std::size_t cut = records[0] + record; cut <= records[1] + previousTagSize; ++cut) {
        expected.insert(cut); // the script tag is the last one
    }
    for (std::size_t cut = records[2]; cut <= records[2] + previousTagSize; ++cut) {
        expected.insert(cut); // the description of the pictures is; that of the sound is still sought
    }
    EXPECT_EQ(endless, expected);
}

} // namespace
} // namespace JY::Test
