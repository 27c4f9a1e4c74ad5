#pragma once

#include <atomic>
#include <cstdint>

namespace JY::Test {

/// How many work items the clients' calls have brought about: two for a request for a source, one for a start, one for
/// an event that a callback gets.
inline std::atomic<std::uint64_t> workItems{0};

} // namespace JY::Test
