#pragma once

#include "tests/support/TempFile.h"
#include "tools/LogRecord.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace JY::Tools {

/// A folder of log files that a test makes.
class TestLogs {
public:
    std::wstring path() const { return folder_.path(); }
    std::wstring path(const std::wstring& name) const { return folder_.path() + L'\\' + name; }

    /// Replaces the file's content.
    void write(const std::wstring& name, std::string_view content) const { put(name, content, std::ios::trunc); }
    void append(const std::wstring& name, std::string_view content) const { put(name, content, std::ios::app); }
    void remove(const std::wstring& name) const { std::filesystem::remove(path(name)); }

private:
    void put(const std::wstring& name, std::string_view content, std::ios::openmode mode) const {
        std::ofstream file(std::filesystem::path(path(name)), std::ios::binary | mode);
        file.write(content.data(), static_cast<std::streamsize>(content.size()));
    }

    Test::TempFolder folder_;
};

/// The records' texts one behind the other.
inline std::string textOf(const std::vector<LogRecord>& records) {
    std::string text;
    for (const LogRecord& record : records) {
        text += record.text;
    }
    return text;
}

} // namespace JY::Tools
