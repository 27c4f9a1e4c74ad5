#pragma once

#include "log/CoreImpl.h"
#include "log/SinkBase.h"

#include <string>
#include <vector>

namespace JY::Test {

/// A record as a sink received it. One that stands for no record has a severity that no record has, and no file.
struct CapturedRecord {
    Log2::Severity severity = static_cast<Log2::Severity>(-1);
    std::string file;
    int line = 0;
    DWORD threadId = 0;
    std::string message;
};

/// Installs a log core with one in-memory sink that keeps every record, for as long as it lives.
class LogCapture {
public:
    LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture();

    /// What has been logged so far, in order. Any thread.
    std::vector<CapturedRecord> records() const;
    void clear();

    /// The messages alone; without the ENTER/EXIT trace records unless `traces` is set.
    std::vector<std::string> messages(bool traces = false) const;
    /// How many records have exactly this message, and (the second) this severity too.
    std::size_t count(const std::string& message) const;
    std::size_t count(Log2::Severity severity, const std::string& message) const;
    /// The first record whose message contains `part`; a CapturedRecord that stands for none when there is none.
    CapturedRecord find(const std::string& part) const;
    bool contains(const std::string& part) const { return !find(part).file.empty(); }
    /// How many snapshots have been asked for.
    static unsigned snapshots();

private:
    class MemorySink;
    boost::shared_ptr<MemorySink> sink_;
    boost::shared_ptr<Log2::CoreImpl> core_;
};

} // namespace JY::Test
