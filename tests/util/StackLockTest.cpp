#include "util/StackLock.h"

#include "tests/support/ImportPatch.h"

#include <atomic>
#include <gtest/gtest.h>
#include <mutex>
#include <thread>

namespace {

using JY::StackLock;
using JY::Test::ImportPatch;

std::atomic<bool> isBeingMade{false};
std::atomic<bool> isWaitedFor{false};
std::atomic<DWORD> waitingThread{0};

/// Takes until another thread waits for what it makes.
BOOL WINAPI makeSlowly(CRITICAL_SECTION* section, DWORD, DWORD) {
    isBeingMade = true;
    for (int wait = 0; wait < 5000 && !isWaitedFor; ++wait) {
        SleepEx(1, FALSE);
    }
    InitializeCriticalSection(section);
    return TRUE;
}

void WINAPI noteWaiting(DWORD milliseconds) {
    if (GetCurrentThreadId() == waitingThread) {
        isWaitedFor = true;
    }
    SleepEx(milliseconds, FALSE);
}

TEST(StackLock, IsWaitedForWhileAnotherThreadMakesIt) {
    static StackLock lock;
    const ImportPatch<decltype(&InitializeCriticalSectionEx)> making("InitializeCriticalSectionEx", &makeSlowly);
    const ImportPatch<decltype(&Sleep)> waiting("Sleep", &noteWaiting);
    int count = 0;
    std::jthread maker([&count] {
        const std::lock_guard guard(lock);
        ++count;
    });
    while (!isBeingMade) {
        SleepEx(1, FALSE);
    }
    waitingThread = GetCurrentThreadId();
    {
        const std::lock_guard guard(lock);
        ++count;
    }
    maker.join();
    EXPECT_TRUE(isWaitedFor);
    EXPECT_EQ(count, 2);
}

} // namespace
