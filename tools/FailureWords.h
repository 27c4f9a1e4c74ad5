#pragma once

#include "tools/Failure.h"

#include <string>

namespace JY::Tools {

/// What failed, and why, for the user.
std::string describe(const Failure& failure);

} // namespace JY::Tools
