#pragma once

#include "tests/fuzz/Progress.h"

#include <string>

namespace JY::Fuzz {

/// A Progress that processes share by its name.
class SharedProgress {
public:
    /// @throws std::runtime_error when the memory cannot be had.
    explicit SharedProgress(const std::wstring& name);
    SharedProgress(const SharedProgress&) = delete;
    SharedProgress& operator=(const SharedProgress&) = delete;
    ~SharedProgress();

    Progress& get() const { return *progress_; }

private:
    HANDLE mapping_;
    Progress* progress_;
};

} // namespace JY::Fuzz
