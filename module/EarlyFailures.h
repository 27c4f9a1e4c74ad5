#pragma once

#include <exception>
#include <vector>

namespace JY::Pictaro {

/// What fails while the log does not stand yet, kept to be told when it does. One thread.
class EarlyFailures {
public:
    /// Runs a step of the set-up. Whatever it throws is kept, and the set-up can go on without the step. Returns
    /// whether the step was done. Throws std::bad_alloc when there is no memory to keep a failure.
    template <class Step>
    bool attempt(const Step& step) {
        try {
            step();
            return true;
        } catch (...) {
            failures_.push_back(std::current_exception());
            return false;
        }
    }

    /// Writes an error record of each.
    void record() const;

private:
    std::vector<std::exception_ptr> failures_;
};

} // namespace JY::Pictaro
