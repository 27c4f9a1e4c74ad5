#pragma once

#include <windows.h>

#include <utility>

namespace JY {

/// Sole owner of a kernel handle (file, token, ...), closed with CloseHandle. Null and INVALID_HANDLE_VALUE both count
/// as no handle and are kept as null.
class Handle {
public:
    Handle() = default;
    explicit Handle(HANDLE handle) : handle_(handle != INVALID_HANDLE_VALUE ? handle : nullptr) {}
    Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept {
        Handle old(std::exchange(handle_, std::exchange(other.handle_, nullptr)));
        return *this;
    }
    ~Handle() { reset(); }

    HANDLE get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }

    void reset() {
        if (handle_ != nullptr) {
            CloseHandle(std::exchange(handle_, nullptr));
        }
    }
    /// Closes what is owned and gives the place where a call puts a new handle.
    HANDLE* put() {
        reset();
        return &handle_;
    }

private:
    HANDLE handle_ = nullptr;
};

} // namespace JY
