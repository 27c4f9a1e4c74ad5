#pragma once

#include "util/Handle.h"

#include <windows.h>

#include <cstdint>
#include <string>

namespace JY {

/// What identifies a file on this computer, whatever its name.
struct FileId {
    std::uint32_t volumeSerialNumber;
    std::uint64_t fileIndex;

    friend bool operator==(const FileId&, const FileId&) = default;
};

/// An identity as records show it: "%08x,%08x%08x" of serial number and the index's halves.
std::wstring toText(const FileId& id);
/// A path as it stands in records that must not disclose it: every code unit's complement as four hexadecimal digits.
std::wstring obscurePath(const std::wstring& path);

/// Whether error texts about a file may show its path.
enum class PathDisplay { shown, hidden };

/// An existing file, opened, which can name itself in error messages. Not for use by two threads at once. Failures are
/// ApiErrorException with the call's name and `describe()`.
class File {
public:
    /// Opens with the given access and share mode of CreateFile. Throws "CreateFile".
    File(std::wstring path, DWORD access, DWORD share, PathDisplay display = PathDisplay::shown);

    /// Reads at the current position and returns how many bytes came, fewer than `count` only at the end of the file.
    /// Throws "ReadFile".
    std::uint32_t read(void* buffer, std::uint32_t count);
    /// Moves to `position` bytes from the start and returns the new position. Throws "SetFilePointerEx".
    std::int64_t seek(std::int64_t position);

    /// The text that identifies the file in error messages: " file=" and the path; with a hidden path its identity, or
    /// " data=" and the path obscured when that cannot be had.
    std::wstring describe() const;

    const std::wstring& path() const { return path_; }
    /// Stays owned by this object.
    HANDLE handle() const { return handle_.get(); }

    /// The identity of the file at `path`. Its error texts hide the path. Throws "CreateFile" or
    /// "GetFileInformationByHandle".
    static FileId getFileId(const std::wstring& path);

private:
    void throwUnless(bool done, int line, const char* call) const;

    std::wstring path_;
    PathDisplay display_;
    Handle handle_;
};

} // namespace JY
