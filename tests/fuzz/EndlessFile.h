#pragma once

#include "tests/support/Bytes.h"

namespace JY::Fuzz {

using Test::Bytes;

/// Whether the search for script data never ends on this file. It stays at the last tag for ever when every tag is
/// sound or picture of the first second.
bool isSearchedForEver(const Bytes& file);

/// Makes a file whose last tag lies within the first second longer by a tag that lies behind it, so that nobody waits
/// at its end for what does not come. Leaves a file alone whose tags cannot be followed that far.
void leaveTheFirstSecond(Bytes& file);

/// Makes a file longer by so much that whoever reads a tag that ended behind the file's end finds others behind it, as
/// far as every place in it is the start of a tag of no kind, far behind the first second. What reads a file for ever
/// only because it stays at its last tag gets on then.
Bytes lengthened(const Bytes& file);

} // namespace JY::Fuzz
