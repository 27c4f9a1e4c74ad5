#pragma once

#include "log/Core.h"

#include <new>
#include <string_view>

namespace JY::Test {

/// A log core that has no memory for a logger.
class FailingCore final : public Log2::Core {
public:
    void addSink(boost::shared_ptr<Log2::Sink>) override {}
    void flush() override {}
    void shutdown(Log2::ShutdownMode) override {}
    Log2::Logger createLogger(SourcePosition, const std::type_info&, std::string_view, Log2::Severity) override {
        throw std::bad_alloc();
    }
    Log2::Logger createLogger(SourcePosition, std::string_view, Log2::Severity) override { throw std::bad_alloc(); }
    Log2::Logger createLogger() override { throw std::bad_alloc(); }
};

} // namespace JY::Test
