#pragma once

#include <windows.h>

namespace JY {

/// A slim reader-writer lock; works with std::shared_lock and std::lock_guard. Needs no destruction.
class SharedLock {
public:
    void lock() { AcquireSRWLockExclusive(&lock_); }
    void unlock() { ReleaseSRWLockExclusive(&lock_); }
    void lock_shared() { AcquireSRWLockShared(&lock_); }
    void unlock_shared() { ReleaseSRWLockShared(&lock_); }

private:
    SRWLOCK lock_ = SRWLOCK_INIT;
};

} // namespace JY
