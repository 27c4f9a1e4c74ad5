#pragma once

#include "util/FatalException.h"

namespace JY {

/// Something that is none of the known failures; its message is always "Unknown exception.".
class UnknownException : public FatalException {
public:
    [[gnu::noinline]] explicit UnknownException(SourcePosition position);
};

} // namespace JY
