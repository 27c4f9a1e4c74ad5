#pragma once

#include <windows.h>

#include <utility>

namespace JY {

/// Sole owner of a handle (file, token, search, ...) and of the knowledge how it is released. Null and
/// INVALID_HANDLE_VALUE both count as no handle and are kept as null.
class Handle {
public:
    /// What releases the handle: CloseHandle, or FindClose for a search.
    using Closer = BOOL(WINAPI*)(HANDLE);

    Handle() = default;
    explicit Handle(HANDLE handle, Closer closer = &CloseHandle)
        : handle_(handle != INVALID_HANDLE_VALUE ? handle : nullptr), closer_(closer) {}
    Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)), closer_(other.closer_) {}
    Handle& operator=(Handle&& other) noexcept {
        Handle old(std::exchange(handle_, std::exchange(other.handle_, nullptr)),
                   std::exchange(closer_, other.closer_));
        return *this;
    }
    ~Handle() { reset(); }

    HANDLE get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }

    void reset() {
        if (handle_ != nullptr) {
            closer_(std::exchange(handle_, nullptr));
        }
    }
    /// Releases what is owned and gives the place where a call puts a new handle.
    HANDLE* put() {
        reset();
        return &handle_;
    }

private:
    HANDLE handle_ = nullptr;
    Closer closer_ = &CloseHandle;
};

} // namespace JY
