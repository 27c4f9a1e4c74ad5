#include "tools/ProgressLine.h"

#include <algorithm>

namespace JY::Tools {

namespace {
constexpr std::chrono::milliseconds firstAfter{500};
constexpr std::chrono::milliseconds nextAfter{200};
} // namespace

ProgressLine::ProgressLine(std::ostream& terminal, std::optional<LONGLONG> whole)
    : terminal_(terminal), whole_(whole.value_or(0)), next_(Clock::now() + firstAfter) {}

void ProgressLine::reached(LONGLONG part) {
    if (whole_ <= 0 || Clock::now() < next_) {
        return;
    }
    const double share = static_cast<double>(part) / static_cast<double>(whole_);
    terminal_ << "\rreading: " << static_cast<int>(std::clamp(share, 0.0, 1.0) * 100) << " % " << std::flush;
    next_ = Clock::now() + nextAfter;
    shown_ = true;
}

void ProgressLine::wipe() {
    if (shown_) {
        terminal_ << "\r                \r" << std::flush;
        shown_ = false;
    }
}

} // namespace JY::Tools
