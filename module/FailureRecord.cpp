#include "module/FailureRecord.h"

#include "util/Exception.h"

#include <exception>

namespace JY::Pictaro {

void recordCurrentException(const Log2::Logger& log, SourcePosition position, Log2::Severity severity) {
    try {
        throw;
    } catch (const Exception& exception) {
        log.record(position, severity) << exception;
    } catch (const std::exception& exception) {
        log.record(position, severity) << exception.what();
    } catch (...) {
        log.record(position, severity) << "Unknown exception.";
    }
}

} // namespace JY::Pictaro
