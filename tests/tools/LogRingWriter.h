#pragma once

#include "tests/tools/LogText.h"

#include <windows.h>

#include <string>
#include <string_view>

namespace JY::Tools {

/// Writes a ring of log files as the module does it: shared with readers only, a record in three writes, and the next
/// file emptied when the current one is too large.
class LogRingWriter {
public:
    /// @param prefix of the files' paths, up to the index.
    LogRingWriter(std::wstring prefix, unsigned files, LONGLONG mostBytes)
        : prefix_(std::move(prefix)), files_(files), mostBytes_(mostBytes) {
        open(OPEN_ALWAYS);
    }
    LogRingWriter(const LogRingWriter&) = delete;
    LogRingWriter& operator=(const LogRingWriter&) = delete;
    ~LogRingWriter() { CloseHandle(file_); }

    void write(std::string_view message, const TestHead& head) {
        LARGE_INTEGER size{};
        if (!GetFileSizeEx(file_, &size) || size.QuadPart > mostBytes_) {
            CloseHandle(file_);
            index_ = (index_ + 1) % files_;
            open(CREATE_ALWAYS);
        }
        put(headText(head));
        put(message);
        put("\r\n");
    }

    /// How often a file could not be opened.
    unsigned failures() const { return failures_; }

private:
    std::wstring path(unsigned index) const { return prefix_ + std::to_wstring(index) + L".log"; }

    void open(DWORD disposition) {
        file_ = CreateFileW(path(index_).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, disposition,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
        failures_ += file_ == INVALID_HANDLE_VALUE ? 1 : 0;
    }

    void put(std::string_view bytes) {
        DWORD written = 0;
        WriteFile(file_, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    }

    std::wstring prefix_;
    unsigned files_;
    LONGLONG mostBytes_;
    unsigned index_ = 0;
    unsigned failures_ = 0;
    HANDLE file_ = INVALID_HANDLE_VALUE;
};

} // namespace JY::Tools
