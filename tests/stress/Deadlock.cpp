#include "tests/stress/Deadlock.h"

#include "util/Lock.h"

#include <atomic>
#include <cstdio>
#include <mutex>
#include <thread>

namespace JY::Test {

namespace {

std::atomic<unsigned> holding{0};

/// Takes the second lock when both threads have their first.
[[gnu::noinline]] void takeBothLocks(LockImpl& first, LockImpl& second) {
    const std::lock_guard firstGuard(first);
    ++holding;
    while (holding != 2) {
        Sleep(1);
    }
    const std::lock_guard secondGuard(second);
}

} // namespace

void standStill(Watchdog& watchdog) {
    LockImpl left;
    LockImpl right;
    const auto take = [&](const char* name, LockImpl& first, LockImpl& second) {
        const Watchdog::Watch watch(watchdog, name);
        std::printf("%s is thread %lu\n", name, GetCurrentThreadId());
        std::fflush(stdout);
        takeBothLocks(first, second);
    };
    std::jthread one([&] { take("one", left, right); });
    std::jthread other([&] { take("other", right, left); });
    for (;;) {
        Sleep(1000);
    }
}

} // namespace JY::Test
