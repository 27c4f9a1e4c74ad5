#include "module/EarlyFailures.h"

#include "module/FailureRecord.h"

namespace JY::Pictaro {

namespace {
constexpr SourceFile here{"EarlyFailures"};
}

void EarlyFailures::record() const {
    const auto log = Log2::untraced();
    for (const std::exception_ptr& failure : failures_) {
        try {
            std::rethrow_exception(failure);
        } catch (...) {
            recordCurrentException(log, here(), Log2::Severity::error);
        }
    }
}

} // namespace JY::Pictaro
