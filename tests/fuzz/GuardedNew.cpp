// Takes the place of operator new and operator delete, in all their forms, in a library that is built with it: its
// memory comes from a guarded heap, and from the process's own when that has no room.

#include "tests/fuzz/GuardedHeap.h"

#include <windows.h>

#include <cstdint>
#include <new>

namespace {

constexpr std::size_t pages = std::size_t{1} << 20; ///< of address space
constexpr std::size_t usualAlignment = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

constinit union NeverDestroyedHeap {
    constexpr NeverDestroyedHeap() : heap(pages) {}
    ~NeverDestroyedHeap() {}
    JY::Fuzz::GuardedHeap heap; // static objects free what they have after it would have gone
} guarded;

void* fromProcess(std::size_t size, std::size_t alignment) {
    if (alignment > usualAlignment) {
        return nullptr; // nobody asks for it in such numbers
    }
    return HeapAlloc(GetProcessHeap(), 0, size);
}

void* take(std::size_t size, std::size_t alignment) noexcept {
    void* const block = guarded.heap.allocate(size, alignment);
    return block != nullptr ? block : fromProcess(size, alignment);
}

void* takeOrThrow(std::size_t size, std::size_t alignment) {
    if (void* const block = take(size, alignment)) {
        return block;
    }
    throw std::bad_alloc();
}

void giveBack(void* block) noexcept {
    if (guarded.heap.owns(block)) {
        guarded.heap.free(block);
    } else {
        HeapFree(GetProcessHeap(), 0, block);
    }
}

} // namespace

void* operator new(std::size_t size) {
    return takeOrThrow(size, usualAlignment);
}
void* operator new[](std::size_t size) {
    return takeOrThrow(size, usualAlignment);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return take(size, usualAlignment);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return take(size, usualAlignment);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return takeOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return takeOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return take(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return take(size, static_cast<std::size_t>(alignment));
}

void operator delete(void* block) noexcept {
    giveBack(block);
}
void operator delete[](void* block) noexcept {
    giveBack(block);
}
void operator delete(void* block, std::size_t) noexcept {
    giveBack(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    giveBack(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    giveBack(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    giveBack(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
    giveBack(block);
}
void operator delete[](void* block, std::align_val_t) noexcept {
    giveBack(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    giveBack(block);
}
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept {
    giveBack(block);
}
void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept {
    giveBack(block);
}
void operator delete[](void* block, std::align_val_t, const std::nothrow_t&) noexcept {
    giveBack(block);
}
