#pragma once

#include "log/Core.h"
#include "log/InternalCoreInterface.h"

#include <atomic>
#include <cstdint>
#include <vector>

namespace JY::Log2 {

/// The core that serves real sinks. It lives as long as it is owned or has loggers.
class CoreImpl final : public Core, public InternalCoreInterface {
public:
    static boost::shared_ptr<CoreImpl> create();

    void addSink(boost::shared_ptr<Sink> sink) override;
    void flush() override;
    void shutdown(ShutdownMode mode) override;
    Logger createLogger(SourcePosition position, const std::type_info& type, std::string_view function,
                        Severity severity) override;
    Logger createLogger(SourcePosition position, std::string_view function, Severity severity) override;
    Logger createLogger() override;

    void write(const Record& record) override;
    void releaseLogger() override;
    bool wants(Severity severity) const override;

private:
    /// What the owners together count for, more than there can be loggers.
    static constexpr std::uint32_t ownersShare = 0x80000000;

    CoreImpl() = default;
    ~CoreImpl() override = default;
    InternalCoreInterface& countLogger();
    void release(std::uint32_t share);
    void reportLiveLoggers(std::uint32_t count, ShutdownMode mode);

    std::vector<boost::shared_ptr<Sink>> sinks_;
    std::atomic<std::uint32_t> users_{ownersShare}; ///< live loggers, and the owners' share while there are any
};

} // namespace JY::Log2
