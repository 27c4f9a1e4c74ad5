#include "tests/support/Allocations.h"

#include <windows.h>

#include <atomic>
#include <new>

namespace {
std::atomic<std::uint64_t> totalCount{0};
std::atomic<std::uint64_t> totalBytes{0};
} // namespace

void* operator new(std::size_t size) {
    ++totalCount;
    totalBytes += size;
    if (void* const memory = HeapAlloc(GetProcessHeap(), 0, size)) {
        return memory;
    }
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    HeapFree(GetProcessHeap(), 0, memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    HeapFree(GetProcessHeap(), 0, memory);
}

namespace JY::Test {

Allocations allocations() {
    return {totalCount, totalBytes};
}

} // namespace JY::Test
