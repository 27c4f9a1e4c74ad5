#include "tools/WrappedTime.h"

namespace JY::Tools {

namespace {
/// 2^32 microseconds.
constexpr LONGLONG period = 4294967296LL * 10;
} // namespace

LONGLONG unwrapped(LONGLONG time, LONGLONG expected) {
    const LONGLONG behind = expected - time;
    if (behind <= period / 2) {
        return time;
    }
    return time + (behind + period / 2) / period * period;
}

} // namespace JY::Tools
