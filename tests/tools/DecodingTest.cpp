// A whole film through Media Foundation's decoder.

#include "tests/tools/PlayedStream.h"
#include "tests/tools/TestFilm.h"
#include "tools/Session.h"
#include "tools/VideoDecoder.h"

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

void addTimes(std::vector<LONGLONG>& times, const std::vector<DecodedFrame>& frames) {
    for (const DecodedFrame& frame : frames) {
        times.push_back(frame.time / 10000);
    }
}

/// The times of the decoded pictures, in milliseconds.
std::vector<LONGLONG> decodedTimes(const TestFilm& film) {
    PlayedStream stream(film.path(), videoStream);
    VideoDecoder decoder(*stream.type().Get());
    std::vector<LONGLONG> times;
    while (const auto delivered = stream.next()) {
        addTimes(times, decoder.decode(*delivered->sample.Get()));
    }
    addTimes(times, decoder.drain());
    return times;
}

struct Decoding : testing::TestWithParam<const char*> {
    Session session;
};

/// A decoder that cannot be drained keeps its last pictures.
constexpr std::size_t delay = 4;

TEST_P(Decoding, GivesEveryPictureInItsOrderButForTheDecodersDelay) {
    const TestFilm film(GetParam());
    std::vector<LONGLONG> expected = film.pictureTimes();
    const std::vector<LONGLONG> times = decodedTimes(film);
    ASSERT_LE(times.size(), expected.size());
    ASSERT_GE(times.size() + delay, expected.size());
    expected.resize(times.size());
    EXPECT_EQ(times, expected);
}

INSTANTIATE_TEST_SUITE_P(Films, Decoding, testing::Values("film", "noindex", "oddsize", "sparse"),
                         [](const auto& film) { return film.param; });

} // namespace
} // namespace JY::Tools
