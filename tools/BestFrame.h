#pragma once

#include "tools/VideoDecoder.h"

#include <windows.h>

#include <optional>
#include <vector>

namespace JY::Tools {

/// Finds, among decoded pictures, the one that is to be seen at a time: the last that begins then or before, else the
/// earliest of all.
class BestFrame {
public:
    /// @param wanted 100 ns.
    explicit BestFrame(LONGLONG wanted) : wanted_(wanted) {}

    /// Looks at pictures in the order of their times; the order may begin anew. Tells whether the last of them begins
    /// later than wanted, so that nothing better follows in this order.
    bool consider(const std::vector<DecodedFrame>& frames);

    /// Whether the best so far is one that is to be seen at the time.
    bool fits() const { return frame_ && time_ <= wanted_; }

    /// Nothing when no picture has been looked at.
    const std::optional<DecodedFrame>& frame() const { return frame_; }
    /// When the best picture begins. 100 ns.
    LONGLONG time() const { return time_; }

private:
    bool isBetter(LONGLONG time) const;

    LONGLONG wanted_;
    std::optional<DecodedFrame> frame_;
    LONGLONG time_ = 0;
};

} // namespace JY::Tools
