#pragma once

#include "com/ComCall.h"
#include "util/SourcePosition.h"

#include <string>

namespace JY::Pictaro::Fs {

/// Records, at the end of a COM call, the file that the call failed on: "File=" and the file's name at notice, after
/// the failure's own record, unless it was cleared.
class FailureGuard final : public ComCallObserver {
public:
    explicit FailureGuard(SourcePosition position) : position_(position) {}
    /// Watches over `path` from the start.
    FailureGuard(SourcePosition position, const std::wstring& path) : position_(position), path_(&path) {}
    FailureGuard(const FailureGuard&) = delete;
    FailureGuard& operator=(const FailureGuard&) = delete;
    ~FailureGuard() = default;

    /// From now on the operation is about this file; the text must outlive the guard.
    void watch(const std::wstring& path) { path_ = &path; }
    /// The operation has succeeded.
    void clear() { path_ = nullptr; }

    void callEnded(const Log2::Logger& log) noexcept override;

private:
    SourcePosition position_;
    const std::wstring* path_ = nullptr;
};

} // namespace JY::Pictaro::Fs
