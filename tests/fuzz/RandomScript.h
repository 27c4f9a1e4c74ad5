#pragma once

#include "tests/fuzz/Random.h"
#include "tests/support/Bytes.h"

namespace JY::Fuzz {

/// The body of a script tag: mostly "onMetaData" with what the module asks for, of right and wrong kinds, some of it
/// nested, and now and then with a count or a length that lies.
Test::Bytes randomScript(Random& random);

} // namespace JY::Fuzz
