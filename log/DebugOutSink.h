#pragma once

#include "log/LineFormat.h"
#include "log/SinkBase.h"

namespace JY::Log2 {

/// Sends each record as one line to the debugger's output.
class DebugOutSink final : public SinkBase {
public:
    void flush() override {}
    void close() override {}

protected:
    void doWrite(const Record& record) override;

private:
    SourceColumn column_{};
};

} // namespace JY::Log2
