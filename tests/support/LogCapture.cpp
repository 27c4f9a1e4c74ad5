#include "tests/support/LogCapture.h"

#include "log/Snapshot.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <atomic>
#include <mutex>

namespace JY::Test {

namespace {
std::atomic<unsigned> snapshotCount;
}

class LogCapture::MemorySink final : public Log2::SinkBase {
public:
    void flush() override {}
    void close() override {}

    std::vector<CapturedRecord> records() {
        const std::lock_guard guard(lock_);
        return records_;
    }
    void clear() {
        const std::lock_guard guard(lock_);
        records_.clear();
    }

protected:
    void doWrite(const Log2::Record& record) override {
        records_.push_back({record.severity, record.position.file, record.position.line, record.threadId,
                            std::string(record.message)});
    }

private:
    std::vector<CapturedRecord> records_;
};

LogCapture::LogCapture() : sink_(boost::make_shared<MemorySink>()), core_(Log2::CoreImpl::create()) {
    sink_->setThreshold(Log2::Severity::trace);
    core_->addSink(sink_);
    snapshotCount = 0;
    Log2::setSnapshotWriter([] { ++snapshotCount; });
    Log2::setCore(core_);
}

LogCapture::~LogCapture() {
    Log2::setCore(nullptr);
    Log2::setSnapshotWriter(nullptr);
}

std::vector<CapturedRecord> LogCapture::records() const {
    return sink_->records();
}

void LogCapture::clear() {
    sink_->clear();
}

std::vector<std::string> LogCapture::messages(bool traces) const {
    std::vector<std::string> result;
    for (const CapturedRecord& record : records()) {
        const bool isTrace = record.message.starts_with("ENTER: ") || record.message.starts_with("EXIT: ");
        if (traces || !isTrace) {
            result.push_back(record.message);
        }
    }
    return result;
}

std::size_t LogCapture::count(const std::string& message) const {
    const auto all = records();
    return static_cast<std::size_t>(std::ranges::count(all, message, &CapturedRecord::message));
}

std::size_t LogCapture::count(Log2::Severity severity, const std::string& message) const {
    const auto all = records();
    return static_cast<std::size_t>(std::ranges::count_if(
        all, [&](const CapturedRecord& record) { return record.severity == severity && record.message == message; }));
}

CapturedRecord LogCapture::find(const std::string& part) const {
    const auto all = records();
    const auto found = std::ranges::find_if(
        all, [&](const CapturedRecord& record) { return record.message.find(part) != std::string::npos; });
    return found != all.end() ? *found : CapturedRecord{};
}

unsigned LogCapture::snapshots() {
    return snapshotCount;
}

} // namespace JY::Test
