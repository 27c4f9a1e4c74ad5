#include "tests/support/ExhaustedMemory.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<bool> memoryIsExhausted{false};
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return memoryIsExhausted ? nullptr : std::malloc(size);
}

namespace JY::Test {

ExhaustedMemory::ExhaustedMemory() {
    memoryIsExhausted = true;
}

ExhaustedMemory::~ExhaustedMemory() {
    memoryIsExhausted = false;
}

} // namespace JY::Test
