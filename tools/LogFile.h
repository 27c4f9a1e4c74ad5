#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace JY::Tools {

/// A log file open for reading. Its writer can go on, empty it and delete it: only reading is asked for, and everything
/// is shared. It should be kept open no longer than it is read: a file that was deleted meanwhile keeps its name until
/// then.
class LogFile {
public:
    /// @returns none when there is no such file.
    /// @throws Failure when it cannot be opened.
    static std::optional<LogFile> open(const std::wstring& path);

    /// What stands at `offset`, in bytes: `most` bytes, or less at the end of the file.
    /// @throws Failure
    std::string read(std::uint64_t offset, std::size_t most) const;
    /// All from `offset` on.
    /// @throws Failure
    std::string readFrom(std::uint64_t offset) const;

private:
    struct Closer {
        void operator()(HANDLE handle) const { CloseHandle(handle); }
    };

    explicit LogFile(HANDLE handle) : handle_(handle) {}

    std::unique_ptr<void, Closer> handle_;
};

} // namespace JY::Tools
