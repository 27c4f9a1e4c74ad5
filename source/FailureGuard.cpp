#include "source/FailureGuard.h"

#include "source/LogFileName.h"

namespace JY::Pictaro::Fs {

void FailureGuard::callEnded(const Log2::Logger& log) noexcept {
    if (path_ == nullptr || path_->empty()) {
        return;
    }
    try {
        log.notice(position_) << "File=" << LogFileName(*path_);
    } catch (...) {
        // What went wrong has been recorded; that its file's name cannot be must not change the call's result.
    }
}

} // namespace JY::Pictaro::Fs
