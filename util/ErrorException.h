#pragma once

#include "util/Exception.h"

namespace JY {

/// Bad data, or a failed check on input.
class ErrorException : public Exception {
public:
    [[gnu::noinline]] ErrorException(SourcePosition position, std::string_view message);

protected:
    struct Derived {};
    [[gnu::always_inline]] inline ErrorException(Derived, SourcePosition position, std::string_view message)
        : Exception(position, message) {}
};

} // namespace JY
