#pragma once

#include <windows.h>

#include <propidl.h>

namespace JY::Test {

/// A start position; null for VT_EMPTY.
class Position {
public:
    Position() = default;
    explicit Position(LONGLONG hundredNanoseconds) {
        value_.vt = VT_I8;
        value_.hVal.QuadPart = hundredNanoseconds;
    }
    static Position seconds(double seconds) { return Position(static_cast<LONGLONG>(seconds * 10'000'000)); }
    static Position ofType(VARTYPE type) {
        Position position;
        position.value_.vt = type;
        return position;
    }
    const PROPVARIANT* get() const { return &value_; }

private:
    PROPVARIANT value_{};
};

} // namespace JY::Test
