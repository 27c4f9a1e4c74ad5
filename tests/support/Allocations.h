#pragma once

#include <cstdint>

/// Counts what a program takes from operator new. Replaces that operator: only for test programs that list
/// Allocations.cpp among their sources.
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

} // namespace JY::Test
