#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

namespace JY::Tools {

/// A call to the system that failed, or a file that cannot be used. `what()` names the call.
class Failure : public std::runtime_error {
public:
    Failure(HRESULT code, const std::string& what) : std::runtime_error(what), code_(code) {}

    HRESULT code() const { return code_; }

private:
    HRESULT code_;
};

/// @throws Failure named `what` when `result` is a failure.
inline void check(HRESULT result, const char* what) {
    if (FAILED(result)) {
        throw Failure(result, what);
    }
}

/// A command line that cannot be understood. `what()` says why.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace JY::Tools
