#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>

namespace JY::Fuzz {

/// Memory in which reading or writing behind a block faults at once, and so does using a block that has been freed.
///
/// A block ends where a page ends (4 bytes before it if only so it can be aligned as a pointer), and the page behind it
/// cannot be accessed. A freed block's pages cannot be accessed
/// either until the heap has gone round all its address space, which is many blocks later. Blocks are filled with a
/// pattern, so that nobody relies on zeros. Any thread.
class GuardedHeap {
public:
    static constexpr std::size_t pageSize = 4096; ///< bytes
    /// Every block splits the process's mappings, of which the system allows some ten thousands.
    static constexpr std::size_t usualMostBlocks = 12'000;
    static constexpr std::uint8_t pattern = 0xA5;

    /// Takes `pages` of address space at the first allocation.
    constexpr explicit GuardedHeap(std::size_t pages, std::size_t mostBlocks = usualMostBlocks)
        : pageCount_(pages), mostBlocks_(mostBlocks) {}
    GuardedHeap(const GuardedHeap&) = delete;
    GuardedHeap& operator=(const GuardedHeap&) = delete;
    ~GuardedHeap();

    /// `alignment` is a power of two up to a page. A block of a size that is no multiple of it is aligned as its size
    /// is. Null when the heap is full or has too many blocks.
    void* allocate(std::size_t size, std::size_t alignment);
    /// @param block from this heap; anything else that is in its address space traps, a block freed already among it
    void free(void* block);
    bool owns(const void* block) const;

private:
    std::size_t findRoom(std::size_t pages);
    bool reserve();

    SRWLOCK lock_ = SRWLOCK_INIT;
    const std::size_t pageCount_;
    const std::size_t mostBlocks_;
    std::byte* pages_ = nullptr;
    std::uint32_t* blockPages_ = nullptr; ///< for the first page of each block the number of its pages, with the guard
    std::size_t next_ = 0;                ///< where the search for room goes on
    std::size_t blocks_ = 0;
};

} // namespace JY::Fuzz
