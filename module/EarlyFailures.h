#pragma once

#include "util/Exception.h"

#include <exception>
#include <vector>

namespace JY::Pictaro {

/// What fails while the log does not stand yet, kept to be told when it does. One thread.
class EarlyFailures {
public:
    /// Runs a step of the set-up. When it throws a JY::Exception that is kept, and the set-up goes on without the step;
    /// whatever else it throws passes.
    template <class Step>
    void attempt(const Step& step) {
        try {
            step();
        } catch (const Exception&) {
            failures_.push_back(std::current_exception());
        }
    }

    /// Writes an error record of each.
    void record() const;

private:
    std::vector<std::exception_ptr> failures_;
};

} // namespace JY::Pictaro
