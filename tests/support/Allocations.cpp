#include "tests/support/Allocations.h"

#include <windows.h>

#include <atomic>
#include <new>

namespace {

std::atomic<std::uint64_t> totalCount{0};
std::atomic<std::uint64_t> totalBytes{0};
std::atomic<std::uint64_t> liveCount{0};
std::atomic<DWORD> failingThread{0}; // 0 while nothing is to fail
std::uint64_t untilFailure = 0;      // of that thread

bool failsNow() {
    return failingThread != 0 && failingThread == GetCurrentThreadId() && untilFailure != 0 && --untilFailure == 0;
}

void release(void* memory) {
    if (memory != nullptr) {
        --liveCount;
        HeapFree(GetProcessHeap(), 0, memory);
    }
}

} // namespace

void* operator new(std::size_t size) {
    ++totalCount;
    totalBytes += size;
    void* const memory = failsNow() ? nullptr : HeapAlloc(GetProcessHeap(), 0, size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    ++liveCount;
    return memory;
}
void operator delete(void* memory) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    release(memory);
}

namespace JY::Test {

Allocations allocations() {
    return {totalCount, totalBytes};
}

std::uint64_t liveBlocks() {
    return liveCount;
}

FailingAllocation::FailingAllocation(std::uint64_t number) {
    untilFailure = number;
    failingThread = GetCurrentThreadId();
}

FailingAllocation::~FailingAllocation() {
    failingThread = 0;
}

bool FailingAllocation::hasFailed() const {
    return untilFailure == 0;
}

} // namespace JY::Test
