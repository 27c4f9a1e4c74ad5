#include "tests/stress/ModuleClient.h"
#include "tests/stress/TestWatchdog.h"
#include "tests/support/OpenHandles.h"
#include "tests/support/PrivateMemory.h"
#include "tests/support/TempFile.h"

#include <chrono>
#include <cstdio>
#include <gtest/gtest.h>
#include <vector>

namespace {

using namespace JY::Test;

constexpr std::size_t many = 1000;
constexpr std::size_t mostBytesForASource = 40'000;
constexpr std::size_t threadHandles = 8; // of the work queue, which keeps a thread or two more under load

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TEST(ManySources, AreOpenAtOnceAndEachDelivers) {
    const TempFile film(secondsFilm());
    const ModuleClient client;
    client.play(film.path()).source->Shutdown(); // what is made once is there
    const std::size_t handles = countOpenHandles();
    const std::size_t memory = privateBytes();
    const auto start = std::chrono::steady_clock::now();
    std::vector<PlayedSource> sources;
    while (sources.size() < many) {
        sources.push_back(client.play(film.path()));
        beatTestWatchdog();
    }
    const double openSeconds = secondsSince(start);
    for (PlayedSource& played : sources) {
        ASSERT_EQ(takeSampleTime(*played.video.Get()), 0);
        ASSERT_EQ(takeSampleTime(*played.audio.Get()), 0);
        beatTestWatchdog();
    }
    const std::size_t bytes = (privateBytes() - memory) / many;
    EXPECT_LT(bytes, mostBytesForASource);
    const auto end = std::chrono::steady_clock::now();
    for (const PlayedSource& played : sources) {
        EXPECT_EQ(played.source->Shutdown(), S_OK);
    }
    sources.clear();
    EXPECT_TRUE(client.becomesUnused());
    EXPECT_TRUE(becomesTrue([&] { return countOpenHandles() <= handles + threadHandles; }))
        << countOpenHandles() << " " << handles;
    std::printf("%zu sources: opened in %.1f s, ended in %.1f s, %zu bytes each\n", many, openSeconds,
                secondsSince(end), bytes);
}

} // namespace
