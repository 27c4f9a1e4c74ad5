#pragma once

#include "log/InternalCoreInterface.h"

namespace JY::Log2 {

/// Stands behind loggers that are made while no core is installed.
class NullCore final : public InternalCoreInterface {
public:
    void write(const Record&) override {}
    void releaseLogger() override {}
    bool wants(Severity) const override { return false; }
};

} // namespace JY::Log2
