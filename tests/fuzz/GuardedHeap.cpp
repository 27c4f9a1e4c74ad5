#include "tests/fuzz/GuardedHeap.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace JY::Fuzz {

namespace {

class ExclusiveScope {
public:
    explicit ExclusiveScope(SRWLOCK& lock) : lock_(lock) { AcquireSRWLockExclusive(&lock_); }
    ExclusiveScope(const ExclusiveScope&) = delete;
    ExclusiveScope& operator=(const ExclusiveScope&) = delete;
    ~ExclusiveScope() { ReleaseSRWLockExclusive(&lock_); }

private:
    SRWLOCK& lock_;
};

/// Text needs no stricter alignment than its size has. The sizes of objects are multiples of their alignment, but a
/// block of bytes may serve as an object whose end is not used, so that those of whole words get that of pointers.
std::size_t alignmentOf(std::size_t size) {
    const std::size_t natural = std::size_t{1} << std::countr_zero(size);
    return natural == sizeof(std::uint32_t) ? alignof(void*) : natural;
}

std::size_t roundedUp(std::size_t size, std::size_t alignment) {
    const std::size_t needed = std::min(alignment, alignmentOf(size));
    return (size + needed - 1) / needed * needed;
}

} // namespace

GuardedHeap::~GuardedHeap() {
    VirtualFree(pages_, 0, MEM_RELEASE);
    VirtualFree(blockPages_, 0, MEM_RELEASE);
}

void* GuardedHeap::allocate(std::size_t size, std::size_t alignment) {
    const std::size_t room = roundedUp(std::max<std::size_t>(size, 1), alignment);
    const std::size_t pages = (room + pageSize - 1) / pageSize + 1;
    const ExclusiveScope guard(lock_);
    if (blocks_ == mostBlocks_ || pages > pageCount_ || !reserve()) {
        return nullptr;
    }
    const std::size_t first = findRoom(pages);
    std::byte* const start = pages_ + first * pageSize;
    const std::size_t usable = (pages - 1) * pageSize;
    if (first == pageCount_ || VirtualAlloc(start, usable, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
        return nullptr;
    }
    blockPages_[first] = static_cast<std::uint32_t>(pages);
    next_ = first + pages;
    ++blocks_;
    std::byte* const block = start + usable - room;
    std::memset(block, pattern, room);
    return block;
}

void GuardedHeap::free(void* block) {
    const ExclusiveScope guard(lock_);
    const std::size_t first = static_cast<std::size_t>(static_cast<std::byte*>(block) - pages_) / pageSize;
    const std::size_t pages = std::exchange(blockPages_[first], 0);
    if (pages == 0) {
        __builtin_trap();
    }
    --blocks_;
    VirtualFree(pages_ + first * pageSize, (pages - 1) * pageSize, MEM_DECOMMIT);
}

bool GuardedHeap::owns(const void* block) const {
    const auto* const place = static_cast<const std::byte*>(block);
    return pages_ != nullptr && place >= pages_ && place < pages_ + pageCount_ * pageSize;
}

/// The first of so many free pages in a row, behind the last block that was made if possible; the number of all pages
/// when there are none.
std::size_t GuardedHeap::findRoom(std::size_t pages) {
    std::size_t first = next_;
    bool isWrapped = false;
    for (std::size_t page = first; page - first < pages;) {
        if (page >= pageCount_) {
            if (std::exchange(isWrapped, true)) {
                return pageCount_;
            }
            first = page = 0;
        } else if (blockPages_[page] != 0) {
            page += blockPages_[page];
            first = page;
        } else {
            ++page;
        }
    }
    return first;
}

bool GuardedHeap::reserve() {
    if (pages_ == nullptr) {
        blockPages_ = static_cast<std::uint32_t*>(
            VirtualAlloc(nullptr, pageCount_ * sizeof *blockPages_, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        if (blockPages_ != nullptr) {
            pages_ = static_cast<std::byte*>(VirtualAlloc(nullptr, pageCount_ * pageSize, MEM_RESERVE, PAGE_NOACCESS));
        }
    }
    return pages_ != nullptr;
}

} // namespace JY::Fuzz
