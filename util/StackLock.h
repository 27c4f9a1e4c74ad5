#pragma once

#include <windows.h>

#include <atomic>

namespace JY {

/// A lock for static storage that needs no static initialiser, so that an exception thrown by one is already safe.
/// The first thread to come makes the critical section; the others wait until it is there. Constant-initialised;
/// satisfies BasicLockable.
class StackLock {
public:
    constexpr StackLock() = default;
    void lock();
    void unlock() { LeaveCriticalSection(&section_); }

private:
    void makeReady();

    static constexpr long readyMark = 1000;
    static constexpr long readyValue = 1100;
    std::atomic<long> state_{0};
    CRITICAL_SECTION section_{};
};

} // namespace JY
