#include "tests/stress/ProcessUse.h"

#include "tests/support/OpenHandles.h"
#include "tests/support/PrivateMemory.h"

#include <windows.h>

#include <vector>

namespace JY::Test {

namespace {
// Idle pool threads end after 5 seconds.
constexpr unsigned restingRounds = 12;
constexpr DWORD roundLength = 500;
constexpr unsigned mostRounds = 60;

std::size_t usedBytesOf(HANDLE heap) {
    std::size_t bytes = 0;
    PROCESS_HEAP_ENTRY entry{};
    HeapLock(heap);
    while (HeapWalk(heap, &entry)) {
        if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) {
            bytes += entry.cbData;
        }
    }
    HeapUnlock(heap);
    return bytes;
}

} // namespace

std::size_t usedHeapBytes() {
    std::vector<HANDLE> heaps(GetProcessHeaps(0, nullptr) + 1);
    heaps.resize(GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data()));
    std::size_t bytes = 0;
    for (const HANDLE heap : heaps) {
        bytes += usedBytesOf(heap);
    }
    return bytes;
}

std::string ProcessUse::text() const {
    return std::to_string(handles) + " handles, " + std::to_string(privateBytes) + " private bytes, " +
           std::to_string(heapBytes) + " in heaps";
}

ProcessUse measureAtRest() {
    std::size_t handles = countOpenHandles();
    unsigned unchanged = 0;
    for (unsigned round = 0; round < mostRounds && unchanged < restingRounds; ++round) {
        Sleep(roundLength);
        const std::size_t now = countOpenHandles();
        unchanged = now == handles ? unchanged + 1 : 0;
        handles = now;
    }
    return {handles, privateBytes(), usedHeapBytes()};
}

std::string lossBetween(const ProcessUse& before, const ProcessUse& after, std::size_t lostBySystem) {
    const std::size_t keptInCaches = 300'000;
    const std::size_t keptHandles = 8;         // made when first needed, which a short warm-up may not see
    const std::size_t keptByHeaps = 6'000'000; // free blocks between used ones
    if (after.handles > before.handles + keptHandles) {
        return "handles have been lost";
    }
    if (after.heapBytes > before.heapBytes + lostBySystem + keptInCaches) {
        return "blocks of heaps have been lost";
    }
    if (after.privateBytes > before.privateBytes + lostBySystem + keptByHeaps) {
        return "memory has been lost";
    }
    return {};
}

} // namespace JY::Test
