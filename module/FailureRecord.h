#pragma once

#include "log/Core.h"

namespace JY::Pictaro {

/// Records the exception in flight, of whatever type.
void recordCurrentException(const Log2::Logger& log, SourcePosition position, Log2::Severity severity);

} // namespace JY::Pictaro
