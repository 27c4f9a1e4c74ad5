#include "tools/BestFrame.h"

#include "tools/WrappedTime.h"

namespace JY::Tools {

bool BestFrame::consider(const std::vector<DecodedFrame>& frames) {
    bool passed = false;
    for (const DecodedFrame& frame : frames) {
        const LONGLONG time = unwrapped(frame.time, wanted_);
        passed = time > wanted_;
        if (isBetter(time)) {
            frame_ = frame;
            time_ = time;
        }
    }
    return passed;
}

bool BestFrame::isBetter(LONGLONG time) const {
    if (!frame_) {
        return true;
    }
    if (time <= wanted_) {
        return !fits() || time >= time_;
    }
    return !fits() && time < time_;
}

} // namespace JY::Tools
