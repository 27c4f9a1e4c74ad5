#include "util/FatalException.h"

namespace JY {

FatalException::FatalException(SourcePosition position, std::string_view message) : Exception(position, message) {}

} // namespace JY
