#include "com/ModuleUsageCounter.h"

#include <mutex>

namespace JY::Pictaro {

namespace {
ModuleUsageCounter moduleUsageCounter;
}

ModuleUsageCounter& ModuleUsageCounter::instance() {
    return moduleUsageCounter;
}

void ModuleUsageCounter::setActions(Action onFirstObtain, Action onLastRelease) {
    const std::lock_guard guard(lock_);
    onFirstObtain_ = onFirstObtain;
    onLastRelease_ = onLastRelease;
}

void ModuleUsageCounter::obtain() {
    const std::lock_guard guard(lock_);
    if (count_ == 0 && onFirstObtain_ != nullptr) {
        onFirstObtain_();
    }
    ++count_;
}

void ModuleUsageCounter::release() {
    const std::lock_guard guard(lock_);
    if (--count_ == 0 && onLastRelease_ != nullptr) {
        onLastRelease_();
    }
}

} // namespace JY::Pictaro
