#pragma once

#include "tests/fuzz/Progress.h"

#include <vector>

namespace JY::Fuzz {

/// What a run of enough cases should have done, but has not: it would find nothing. Nothing when all is well.
std::vector<const char*> shortcomingsOf(const Progress& progress);

} // namespace JY::Fuzz
