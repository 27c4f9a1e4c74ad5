#pragma once

#include "util/Exception.h"

namespace JY {

/// Misuse inside the program.
class FatalException : public Exception {
public:
    [[gnu::noinline]] FatalException(SourcePosition position, std::string_view message);

protected:
    struct Derived {};
    [[gnu::always_inline]] inline FatalException(Derived, SourcePosition position, std::string_view message)
        : Exception(position, message) {}
};

} // namespace JY
