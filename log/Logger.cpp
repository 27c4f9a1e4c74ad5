#include "log/Logger.h"

#include <utility>

namespace JY::Log2 {

Logger::Logger(boost::shared_ptr<InternalCoreInterface> core, SourcePosition position, std::string_view className,
               const char* function, Severity severity)
    : core_(std::move(core)), position_(position), className_(className), function_(function), severity_(severity),
      traces_(true) {
    writeTrace("ENTER: ");
}

Logger::Logger(Logger&& other) noexcept
    : core_(std::move(other.core_)), position_(other.position_), className_(other.className_),
      function_(other.function_), severity_(other.severity_), traces_(std::exchange(other.traces_, false)) {}

Logger::~Logger() {
    if (traces_) {
        writeTrace("EXIT: ");
    }
    if (core_ != nullptr) {
        core_->releaseLogger();
    }
}

void Logger::writeTrace(const char* prefix) const {
    RecordBuilder text = record(position_, severity_);
    text << prefix;
    if (!className_.empty()) {
        text << className_ << "::";
    }
    text << function_;
}

} // namespace JY::Log2
