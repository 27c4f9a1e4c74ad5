#pragma once

#include "util/SourcePosition.h"

#include <string>

namespace JY::Pictaro::Fs {

/// Records, when it goes, the file that an operation failed on: "File=" and the file's name at notice, unless it was
/// cleared. Stands outside the operation's COM boundary, so that the failure's own record comes first.
class FailureGuard {
public:
    explicit FailureGuard(SourcePosition position) : position_(position) {}
    /// Watches over `path` from the start.
    FailureGuard(SourcePosition position, const std::wstring& path) : position_(position), path_(&path) {}
    FailureGuard(const FailureGuard&) = delete;
    FailureGuard& operator=(const FailureGuard&) = delete;
    ~FailureGuard();

    /// From now on the operation is about this file; the text must outlive the guard.
    void watch(const std::wstring& path) { path_ = &path; }
    /// The operation has succeeded.
    void clear() { path_ = nullptr; }

private:
    SourcePosition position_;
    const std::wstring* path_ = nullptr;
};

} // namespace JY::Pictaro::Fs
