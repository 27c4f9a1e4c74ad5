#pragma once

#include <string>

namespace JY::Fuzz {

/// Notes hardware faults of this process as they are raised, whether or not somebody handles them afterwards: the
/// module turns its own into results. One at a time.
class FaultWatch {
public:
    FaultWatch();
    FaultWatch(const FaultWatch&) = delete;
    FaultWatch& operator=(const FaultWatch&) = delete;
    ~FaultWatch();

    /// What has been noted since the last call: code, place and callers of the first fault. Empty for nothing.
    std::string take();

private:
    void* handler_;
};

} // namespace JY::Fuzz
