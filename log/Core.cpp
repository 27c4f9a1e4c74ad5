#include "log/Core.h"

#include "log/NullCore.h"
#include "util/RarelyChanged.h"

#include <utility>

namespace JY::Log2 {

namespace {

constinit RarelyChanged<Core> installedCore;

constinit NullCore nullCore;

} // namespace

void setCore(boost::shared_ptr<Core> core) {
    installedCore.exchange(std::move(core)); // the previous core goes here, when no reader is left
}

Logger traceMember(SourcePosition position, const std::type_info& type, std::string_view function) {
    return installedCore.read([&](Core* core) {
        return core != nullptr ? core->createLogger(position, type, function, Severity::trace) : Logger(nullCore);
    });
}

Logger traceFunction(SourcePosition position, std::string_view function) {
    return installedCore.read([&](Core* core) {
        return core != nullptr ? core->createLogger(position, function, Severity::trace) : Logger(nullCore);
    });
}

Logger untraced() {
    return installedCore.read([](Core* core) { return core != nullptr ? core->createLogger() : Logger(nullCore); });
}

} // namespace JY::Log2
