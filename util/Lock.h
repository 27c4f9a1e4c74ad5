#pragma once

#include <windows.h>

namespace JY {

/// A mutual-exclusion lock that one thread may take more than once. Works with std::lock_guard.
class Lock {
public:
    virtual void lock() = 0;
    virtual void unlock() = 0;
    virtual ~Lock() = default;
};

/// A lock over a critical section.
class LockImpl final : public Lock {
public:
    LockImpl() { InitializeCriticalSection(&section_); }
    ~LockImpl() override { DeleteCriticalSection(&section_); }
    LockImpl(const LockImpl&) = delete;
    LockImpl& operator=(const LockImpl&) = delete;

    void lock() override { EnterCriticalSection(&section_); }
    /// Takes the lock when no other thread holds it, and tells whether it did.
    bool tryLock() { return TryEnterCriticalSection(&section_) != FALSE; }
    void unlock() override { LeaveCriticalSection(&section_); }

private:
    CRITICAL_SECTION section_;
};

} // namespace JY
