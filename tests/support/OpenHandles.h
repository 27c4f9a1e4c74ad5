#pragma once

#include <cstddef>

namespace JY::Test {

/// How many kernel handles this process has open.
std::size_t countOpenHandles();

} // namespace JY::Test
