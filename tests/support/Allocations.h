#pragma once

#include <cstdint>
#include <new>

/// Counts what a program takes from operator new, and lets it fail. Replaces that operator: only for test programs that
/// list Allocations.cpp among their sources.
namespace JY::Test {

struct Allocations {
    std::uint64_t count;
    std::uint64_t bytes;
};

/// Since the program started, all threads together.
Allocations allocations();

/// What `call` takes. Other threads count too.
template <class Call>
Allocations allocationsOf(const Call& call) {
    const Allocations before = allocations();
    call();
    const Allocations after = allocations();
    return {after.count - before.count, after.bytes - before.bytes};
}

/// How many blocks are taken and not yet given back, all threads together.
std::uint64_t liveBlocks();

/// Lets one allocation of the thread that makes this object fail: the `number`th from now, counted from 1. One at a
/// time.
class FailingAllocation {
public:
    explicit FailingAllocation(std::uint64_t number);
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    ~FailingAllocation();

    bool hasFailed() const;
};

/// Calls `call` once for each allocation that it makes on this thread, and lets that one fail; then once more. Returns
/// how many failed.
template <class Call>
std::uint64_t failEachAllocationOf(const Call& call) {
    for (std::uint64_t number = 1;; ++number) {
        const FailingAllocation failure(number);
        call();
        if (!failure.hasFailed()) {
            return number - 1;
        }
    }
}

/// Whether `call`, which allocates, throws std::bad_alloc whichever of its allocations fails, and leaves nothing
/// behind.
template <class Call>
bool failsCleanly(const Call& call) {
    call(); // makes what is made once only
    const std::uint64_t before = liveBlocks();
    std::uint64_t thrown = 0;
    const std::uint64_t failed = failEachAllocationOf([&] {
        try {
            call();
        } catch (const std::bad_alloc&) {
            ++thrown;
        }
    });
    return failed != 0 && thrown == failed && liveBlocks() == before;
}

} // namespace JY::Test
