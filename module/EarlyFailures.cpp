#include "module/EarlyFailures.h"

#include "log/Core.h"

namespace JY::Pictaro {

namespace {
constexpr SourceFile here{"EarlyFailures"};
}

void EarlyFailures::record() const {
    for (const std::exception_ptr& failure : failures_) {
        try {
            std::rethrow_exception(failure);
        } catch (const Exception& exception) {
            Log2::untraced().error(here()) << exception;
        }
    }
}

} // namespace JY::Pictaro
