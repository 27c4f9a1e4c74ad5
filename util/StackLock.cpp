#include "util/StackLock.h"

namespace JY {

void StackLock::lock() {
    if (state_.load(std::memory_order_acquire) < readyMark) {
        makeReady();
    }
    EnterCriticalSection(&section_);
}

void StackLock::makeReady() {
    while (state_.load(std::memory_order_acquire) < readyMark) {
        if (state_.fetch_add(1) == 0) {
            // Nobody deletes it, so it must own nothing.
            InitializeCriticalSectionEx(&section_, 0, CRITICAL_SECTION_NO_DEBUG_INFO);
            state_.store(readyValue, std::memory_order_release);
            return;
        }
        state_.fetch_sub(1);
        Sleep(1);
    }
}

} // namespace JY
