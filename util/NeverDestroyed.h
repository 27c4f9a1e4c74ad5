#pragma once

namespace JY {

/// A static object whose destructor never runs: at the end of a process other threads may have been stopped in the
/// midst of using it. Default-constructed; owned things are released by hand where there is still somebody to release
/// them.
template <class T>
class NeverDestroyed {
public:
    constexpr NeverDestroyed() : value_() {}
    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;
    constexpr ~NeverDestroyed() {} // NOLINT(*-use-equals-default): would be deleted, and must do nothing

    T& operator*() { return value_; }
    T* operator->() { return &value_; }

private:
    union {
        T value_;
    };
};

} // namespace JY
