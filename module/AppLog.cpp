#include "module/AppLog.h"

#include "log/Core.h"
#include "log/CoreImpl.h"
#include "log/DebugOutSink.h"
#include "log/Snapshot.h"

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

namespace JY::Pictaro {

namespace {

constexpr SourceFile here{"AppLog"};

boost::shared_ptr<Log2::Core> core;
boost::shared_ptr<Log2::Sink> normalSink;

} // namespace

void AppLog::initialize() {
    core = boost::make_shared<Log2::CoreImpl>();
    normalSink = boost::make_shared<Log2::DebugOutSink>();
    core->addSink(normalSink);
    Log2::setCore(core);
    Log2::setSnapshotWriter(&AppLog::snapshot);
}

void AppLog::setNormalLevel(Log2::Severity severity) {
    if (normalSink != nullptr) {
        normalSink->setThreshold(severity);
    }
    Log2::untraced().notice(here()) << "NormalLogSeverityThreshold=" << Log2::severityName(severity);
}

void AppLog::snapshot() {
    // No sink keeps records yet: what the debugger's output has received is flushed and that is all.
    Log2::flushCore();
}

void AppLog::finalize() {
    if (core == nullptr) {
        return;
    }
    Log2::untraced().notice(here()) << "AppLog finalizing";
    Log2::setSnapshotWriter(nullptr);
    core->shutdown(Log2::ShutdownMode::reportWarning);
    normalSink.reset();
    Log2::setCore(nullptr);
    core.reset();
}

} // namespace JY::Pictaro
