#include "util/UnknownException.h"

namespace JY {

UnknownException::UnknownException(SourcePosition position)
    : FatalException(Derived(), position, "Unknown exception.") {}

} // namespace JY
