#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace JY::Bench {

/// What the samples of a film cost in any case: fills as many Media Foundation buffers of the given sizes (bytes) from
/// the file, one behind the other, makes time-stamped samples of them, pushes each through an event queue and takes it
/// out again. The file is read in large pieces.
/// @throws Failure
void pushBareSamples(const std::wstring& path, const std::vector<std::uint32_t>& sizes);

} // namespace JY::Bench
