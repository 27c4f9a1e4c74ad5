#include "source/FailureGuard.h"

#include "log/Core.h"
#include "source/LogFileName.h"

namespace JY::Pictaro::Fs {

FailureGuard::~FailureGuard() {
    if (path_ == nullptr || path_->empty()) {
        return;
    }
    try {
        Log2::untraced().notice(position_) << "File=" << LogFileName(*path_);
    } catch (...) {
        // What went wrong has been recorded; that its file's name cannot be must not end the host.
    }
}

} // namespace JY::Pictaro::Fs
