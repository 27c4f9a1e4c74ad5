#include "util/ErrorException.h"

namespace JY {

ErrorException::ErrorException(SourcePosition position, std::string_view message) : Exception(position, message) {}

} // namespace JY
