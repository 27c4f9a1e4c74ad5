#include "tests/support/ExhaustedMemory.h"

#include <atomic>
#include <new>

namespace {
std::atomic<bool> memoryIsExhausted{false};
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (memoryIsExhausted) {
        return nullptr;
    }
    try {
        return ::operator new(size); // the program's own, if it has one
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

namespace JY::Test {

ExhaustedMemory::ExhaustedMemory() {
    memoryIsExhausted = true;
}

ExhaustedMemory::~ExhaustedMemory() {
    memoryIsExhausted = false;
}

} // namespace JY::Test
