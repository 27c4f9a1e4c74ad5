#include "tests/fuzz/Consumption.h"

#include "tests/fuzz/Finding.h"
#include "util/Handle.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using namespace JY::Fuzz;

TEST(Consumption, IsContentWhenNothingIsTaken) {
    const Progress progress{};
    const Consumption before(progress);
    EXPECT_NO_THROW(before.check());
}

TEST(Consumption, NoticesMemoryThatWasNotGivenBack) {
    const Progress progress{};
    const Consumption before(progress);
    const std::vector<char> kept(std::size_t{64} << 20, 'x');
    EXPECT_THROW(before.check(), Finding);
}

TEST(Consumption, AllowsForWhatWorkItemsLose) {
    Progress progress{};
    const Consumption before(progress);
    const std::vector<char> kept(std::size_t{64} << 20, 'x');
    progress.workItems += (std::size_t{64} << 20) / 256;
    EXPECT_NO_THROW(before.check());
}

TEST(Consumption, NoticesHandlesThatWereNotClosed) {
    const Progress progress{};
    const Consumption before(progress);
    std::vector<JY::Handle> kept;
    for (int count = 0; count < 20; ++count) {
        kept.emplace_back(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    }
    EXPECT_THROW(before.check(), Finding);
}

} // namespace
