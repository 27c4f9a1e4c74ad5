#pragma once

#include <objbase.h>
#include <windows.h>

namespace JY::Tools {

/// Owns a PROPVARIANT and what it holds.
class PropVariant {
public:
    PropVariant() { PropVariantInit(&value_); }
    /// A signed 64-bit number, as positions are given.
    explicit PropVariant(LONGLONG number) : PropVariant() {
        value_.vt = VT_I8;
        value_.hVal.QuadPart = number;
    }
    PropVariant(const PropVariant&) = delete;
    PropVariant& operator=(const PropVariant&) = delete;
    ~PropVariant() { PropVariantClear(&value_); }

    const PROPVARIANT& operator*() const { return value_; }
    const PROPVARIANT* operator->() const { return &value_; }
    const PROPVARIANT* get() const { return &value_; }

    /// Empties it and gives it out to be filled.
    PROPVARIANT* put() {
        PropVariantClear(&value_);
        return &value_;
    }

private:
    PROPVARIANT value_;
};

} // namespace JY::Tools
