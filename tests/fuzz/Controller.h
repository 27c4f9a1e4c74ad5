#pragma once

#include "tests/fuzz/Options.h"

namespace JY::Fuzz {

/// Has worker processes run the cases, one worker at a time. A worker that ends badly or does not get on counts as a
/// finding, and another one goes on behind its case. Prints what came of it. Returns the number of findings.
std::uint64_t control(const Options& options);

} // namespace JY::Fuzz
