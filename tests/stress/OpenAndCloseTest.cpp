#include "tests/stress/Control.h"
#include "tests/stress/ModuleClient.h"
#include "tests/stress/ProcessUse.h"
#include "tests/stress/TestWatchdog.h"
#include "tests/stress/WorkItems.h"
#include "tests/support/TempFile.h"

#include <chrono>
#include <cstdio>
#include <gtest/gtest.h>

namespace {

using namespace JY::Test;

constexpr unsigned cycles = 10'000;
constexpr unsigned warmUp = 500;

/// Every other source goes without a Shutdown.
void openAndClose(const ModuleClient& client, const std::wstring& path, unsigned count) {
    for (unsigned cycle = 0; cycle < count; ++cycle) {
        const auto source = client.open(path);
        ASSERT_NE(source, nullptr);
        if (cycle % 2 == 0) {
            EXPECT_EQ(source->Shutdown(), S_OK);
        }
        beatTestWatchdog();
    }
}

TEST(OpenAndClose, TenThousandTimesLeavesNothingBehind) {
    const TempFile film(secondsFilm());
    const ModuleClient client;
    openAndClose(client, film.path(), warmUp);
    const ProcessUse before = measureAtRest();
    beatTestWatchdog();
    const std::uint64_t itemsBefore = workItems;
    const auto start = std::chrono::steady_clock::now();
    openAndClose(client, film.path(), cycles);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    EXPECT_TRUE(client.becomesUnused());
    const ProcessUse after = measureAtRest();
    const double lostWithEach = bytesLostWithAWorkItem();
    const auto lostBySystem = static_cast<std::size_t>(lostWithEach * static_cast<double>(workItems - itemsBefore));
    std::printf("%u times in %.1f s; before: %s; after: %s; %.1f bytes lost with a work item\n", cycles,
                seconds.count(), before.text().c_str(), after.text().c_str(), lostWithEach);
    EXPECT_EQ(lossBetween(before, after, lostBySystem), "");
}

} // namespace
