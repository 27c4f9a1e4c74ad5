#pragma once

#include "tests/support/Bytes.h"

#include <vector>

namespace JY::Fuzz {

using Test::Bytes;

struct CorpusFile {
    const char* name;
    Bytes bytes;
};

/// Small files from which damaged ones are made: one for each thing that the module knows or refuses. The order is
/// part of what a case number means.
std::vector<CorpusFile> buildCorpus();

} // namespace JY::Fuzz
