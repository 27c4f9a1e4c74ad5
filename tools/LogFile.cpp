#include "tools/LogFile.h"

#include "tools/Failure.h"
#include "tools/Text.h"

#include <algorithm>

namespace JY::Tools {

namespace {

constexpr std::size_t largestRead = 1 << 20;
/// Not deleting: a file that is deleted while it is read keeps its name until the reader is done, and its writer could
/// not begin it anew. The module's eraser passes over a file in use.
constexpr DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE;

Failure lastFailure(const std::string& what) {
    return Failure(HRESULT_FROM_WIN32(GetLastError()), what);
}

} // namespace

std::optional<LogFile> LogFile::open(const std::wstring& path) {
    const HANDLE handle =
        CreateFileW(path.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle != INVALID_HANDLE_VALUE) {
        return LogFile(handle);
    }
    if (GetLastError() == ERROR_FILE_NOT_FOUND || GetLastError() == ERROR_PATH_NOT_FOUND) {
        return std::nullopt;
    }
    throw lastFailure("opening " + toUtf8(path));
}

std::string LogFile::read(std::uint64_t offset, std::size_t most) const {
    std::string bytes;
    while (bytes.size() < most) {
        const std::size_t had = bytes.size();
        const std::size_t wanted = std::min(most - had, largestRead);
        bytes.resize(had + wanted);
        OVERLAPPED place{};
        place.Offset = static_cast<DWORD>(offset + had);
        place.OffsetHigh = static_cast<DWORD>((offset + had) >> 32);
        DWORD got = 0;
        if (!ReadFile(handle_.get(), bytes.data() + had, static_cast<DWORD>(wanted), &got, &place) &&
            GetLastError() != ERROR_HANDLE_EOF) {
            throw lastFailure("reading a log file");
        }
        bytes.resize(had + got);
        if (got == 0) {
            break;
        }
    }
    return bytes;
}

std::string LogFile::readFrom(std::uint64_t offset) const {
    return read(offset, std::string().max_size());
}

} // namespace JY::Tools
