#include "com/ComUnknownBase.h"

#include "log/Core.h"
#include "util/ClassName.h"

namespace JY::Pictaro {

void recordDestruction(const std::type_info& type) noexcept {
    constexpr SourceFile here{"ComUnknownBase"};
    try {
        Log2::untraced().trace(here()) << "Delete at Release. instance=" << className(type);
    } catch (...) {
        // The object goes whether or not that can be recorded.
    }
}

} // namespace JY::Pictaro
