#pragma once

#include "util/Exception.h"

#include <windows.h>

#include <cstdint>

namespace JY {

/// A failed call of Windows or Media Foundation. The message starts with the call's name; the code is what the call
/// reported (an HRESULT, an LSTATUS or GetLastError()) and is what a COM method that lets it pass returns.
class ApiErrorException : public Exception {
public:
    [[gnu::noinline]] ApiErrorException(SourcePosition position, std::string_view message, std::uint32_t code);

    std::string getMessage() const override;
    std::string getDescription() const override;

    std::uint32_t code() const { return code_; }

private:
    std::uint32_t code_;
};

/// The system's text for a code, up to its first line break; the code in decimal when the system has none.
std::string describeSystemError(std::uint32_t code);

/// Raises a failed call that reports by HRESULT. Inlined, so that the call stack begins at the caller.
[[gnu::always_inline]] inline void throwIfFailed(HRESULT result, SourcePosition position, std::string_view call) {
    if (FAILED(result)) {
        throw ApiErrorException(position, call, static_cast<std::uint32_t>(result));
    }
}

/// Raises a failed call that reports by FALSE and GetLastError().
[[gnu::always_inline]] inline void throwIfFalse(BOOL result, SourcePosition position, std::string_view call) {
    if (!result) {
        throw ApiErrorException(position, call, GetLastError());
    }
}

} // namespace JY
