#pragma once

#include "tests/fuzz/Options.h"
#include "tests/fuzz/Progress.h"

namespace JY::Fuzz {

/// Opens the files of one case after the other in this process, and prints what it finds, until the cases or the time
/// are at an end, until the process has been in use for long enough, or until the module cannot be used any more.
void work(const Options& options, Progress& progress);

} // namespace JY::Fuzz
