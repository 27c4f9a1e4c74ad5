#pragma once

#include "tools/LogFilter.h"
#include "tools/LogRings.h"
#include "tools/LogTail.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace JY::Tools {

/// What is read of the log.
struct LogSelection {
    /// Folders and files.
    std::vector<std::wstring> paths;
    /// Of the folders.
    LogKinds kinds = LogKinds::texts;
    /// Of these processes' files only; of all when there are none.
    std::vector<DWORD> processes;
    LogFilter filter;
};

/// Reads the records of many log files in the order of their times, over and over again while the files grow, are used
/// anew and come and go. The records of a file keep its order, also where the clock was set back, and a snapshot stands
/// in one piece, at the time when it was taken. Nothing is kept open between two readings.
class LogReader {
public:
    /// @param tell takes a remark for the user about what cannot be shown as a record.
    LogReader(LogSelection selection, std::function<void(const std::string&)> tell);

    /// The complete records that have come since the last call.
    std::vector<LogRecord> read();
    /// All records there are, also those that are not complete, which are completed with a line end.
    std::vector<LogRecord> readToEnd();

    /// Whether the last call has found any file.
    bool foundFiles() const { return !rings_.empty(); }
    /// Whether a file could not be read.
    bool failed() const { return failed_; }

private:
    struct File {
        explicit File(const std::wstring& path) : tail(path) {}

        LogTail tail;
        /// What has been read and is not yet taken.
        std::vector<LogRecord> records;
        std::string unfinished;
        /// The latest time in it so far.
        LogTime latest = LogTime::min();
        /// Whether the last record was wanted.
        bool shown = false;
        bool failed = false;
    };

    struct Ring {
        std::map<DWORD, File> files;
        /// The file that was written last.
        std::optional<DWORD> current;
    };

    struct Placed {
        LogTime place;
        LogRecord record;
    };

    bool isWanted(const LogRingKey& key) const;
    void readFiles();
    /// Whether there are new ones.
    bool findFiles();
    void forgetMissingFiles();
    void forEachFile(const std::function<void(const std::wstring&, File&)>& body);
    void readFile(const std::wstring& path, File& file);
    void finishFiles();
    void finishFile(const std::wstring& path, File& file);
    std::vector<LogRecord> take();
    void takeRing(bool snapshots, Ring& ring, std::vector<Placed>& records) const;
    void takeFile(File& file, std::vector<Placed>& records) const;

    LogSelection selection_;
    std::function<void(const std::string&)> tell_;
    LogRings paths_;
    std::map<LogRingKey, Ring> rings_;
    bool failed_ = false;
};

} // namespace JY::Tools
