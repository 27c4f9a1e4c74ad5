#pragma once

#include "log/Core.h"
#include "log/InternalCoreInterface.h"

#include <boost/enable_shared_from_this.hpp>

#include <atomic>
#include <list>

namespace JY::Log2 {

/// The core that serves real sinks. Must be owned by a boost::shared_ptr: its loggers keep it alive.
class CoreImpl final : public Core, public InternalCoreInterface, public boost::enable_shared_from_this<CoreImpl> {
public:
    void addSink(boost::shared_ptr<Sink> sink) override;
    void flush() override;
    void shutdown(ShutdownMode mode) override;
    Logger createLogger(SourcePosition position, const std::type_info& type, const char* function,
                        Severity severity) override;
    Logger createLogger(SourcePosition position, const char* function, Severity severity) override;
    Logger createLogger() override;

    void write(const Record& record) override;
    void releaseLogger() override;
    bool wants(Severity severity) const override;

private:
    boost::shared_ptr<InternalCoreInterface> countLogger();
    void reportLiveLoggers(std::uint32_t count, ShutdownMode mode);

    std::list<boost::shared_ptr<Sink>> sinks_;
    std::atomic<std::uint32_t> liveLoggers_{0};
};

} // namespace JY::Log2
