#pragma once

#include "util/Lock.h"

#include <atomic>
#include <cstdint>

namespace JY::Pictaro {

/// Counts what keeps the module loaded: live COM objects and server locks. The two actions run under the module lock,
/// when the count leaves 0 and when it returns to 0. Any thread.
class ModuleUsageCounter {
public:
    using Action = void (*)();

    /// The module's one counter.
    static ModuleUsageCounter& instance();

    /// Sets the actions; null for none. Process attach only.
    void setActions(Action onFirstObtain, Action onLastRelease);

    /// Counts one user more. What the first-obtain action throws passes through, and nothing is counted then.
    void obtain();
    /// Counts one user less; the counterpart of one `obtain`.
    void release();
    /// The number of users; read without the lock.
    std::uint32_t count() const { return count_; }

private:
    std::atomic<std::uint32_t> count_{0};
    LockImpl lock_;
    Action onFirstObtain_ = nullptr;
    Action onLastRelease_ = nullptr;
};

/// One counted use of the module, held by every COM object as long as it lives.
class ModuleUsage {
public:
    explicit ModuleUsage(ModuleUsageCounter& counter) : counter_(&counter) { counter.obtain(); }
    ModuleUsage(const ModuleUsage&) = delete;
    ModuleUsage& operator=(const ModuleUsage&) = delete;
    ~ModuleUsage() { counter_->release(); }

private:
    ModuleUsageCounter* counter_;
};

} // namespace JY::Pictaro
