#include "util/Lock.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using JY::Lock;
using JY::LockImpl;

/// Whether another thread could take the lock now.
bool isFree(LockImpl& lock) {
    bool taken = false;
    std::jthread([&] {
        taken = lock.tryLock();
        if (taken) {
            lock.unlock();
        }
    }).join();
    return taken;
}

} // namespace

TEST(Lock, IsTakenByOneThreadAsOftenAsItLikes) {
    LockImpl lock;
    Lock& interface = lock;
    interface.lock();
    interface.lock();
    EXPECT_FALSE(isFree(lock));
    interface.unlock();
    EXPECT_FALSE(isFree(lock)); // once for each time that it was taken
    interface.unlock();
    EXPECT_TRUE(isFree(lock));
}

TEST(Lock, MakesAnotherThreadWait) {
    LockImpl lock;
    std::atomic<bool> entered = false;
    std::unique_lock held(lock);
    std::jthread other([&] {
        const std::lock_guard guard(lock);
        entered = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(entered);
    held.unlock();
    other.join();
    EXPECT_TRUE(entered);
}

TEST(Lock, KeepsThreadsApart) {
    LockImpl lock;
    int count = 0;
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 8; ++thread) {
            threads.emplace_back([&] {
                for (int round = 0; round < 1000; ++round) {
                    const std::lock_guard guard(lock);
                    ++count;
                }
            });
        }
    }
    EXPECT_EQ(count, 8000);
}
