#pragma once

#include <cstddef>

namespace JY::Test {

/// The memory that this process has to itself, in bytes, as the system counts it.
std::size_t privateBytes();

} // namespace JY::Test
