#include "com/ClientReference.h"

#include "com/ComCall.h"
#include "log/Core.h"
#include "util/StructureException.h"
#include "util/StructuredExceptionGuard.h"

namespace JY::Pictaro {

namespace {

constexpr SourceFile here{"ClientReference"};

void recordFailure() noexcept {
    try {
        translateCurrentException(Log2::untraced(), here());
    } catch (...) {
        // Only the log itself can have failed: there is nowhere to tell of it.
    }
}

} // namespace

void Detail::letGo(void (*body)(void*), void* context) noexcept {
    const TranslatorScope translator(translateStructuredException);
    try {
        callTranslated(body, context);
    } catch (...) {
        recordFailure();
    }
}

} // namespace JY::Pictaro
