#pragma once

#include <windows.h>

#include <utility>

namespace JY {

/// Sole owner of an opened registry key.
class RegistryHandle {
public:
    RegistryHandle() = default;
    RegistryHandle(RegistryHandle&& other) noexcept : key_(std::exchange(other.key_, nullptr)) {}
    RegistryHandle& operator=(RegistryHandle&& other) noexcept {
        std::swap(key_, other.key_);
        return *this;
    }
    ~RegistryHandle() { reset(); }

    HKEY get() const { return key_; }

    void reset() {
        if (key_ != nullptr) {
            RegCloseKey(std::exchange(key_, nullptr));
        }
    }
    /// Closes what is owned and gives the place where a call puts a new key.
    HKEY* put() {
        reset();
        return &key_;
    }

private:
    HKEY key_ = nullptr;
};

} // namespace JY
