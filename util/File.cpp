#include "util/File.h"

#include "util/ApiErrorException.h"

#include <cwchar>
#include <optional>
#include <utility>

namespace JY {

namespace {

constexpr SourceFile here{"File"};

constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

Handle openExisting(const std::wstring& path, DWORD access, DWORD share) {
    return Handle(CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

std::optional<FileId> queryId(HANDLE handle) {
    BY_HANDLE_FILE_INFORMATION information{};
    if (!GetFileInformationByHandle(handle, &information)) {
        return std::nullopt;
    }
    return FileId{information.dwVolumeSerialNumber,
                  (std::uint64_t{information.nFileIndexHigh} << 32) | information.nFileIndexLow};
}

} // namespace

std::wstring toText(const FileId& id) {
    wchar_t text[40];
    std::swprintf(text, sizeof text / sizeof *text, L"%08lx,%08lx%08lx",
                  static_cast<unsigned long>(id.volumeSerialNumber), static_cast<unsigned long>(id.fileIndex >> 32),
                  static_cast<unsigned long>(id.fileIndex & 0xFFFFFFFF));
    return text;
}

std::wstring obscurePath(const std::wstring& path) {
    std::wstring text;
    for (const wchar_t unit : path) {
        wchar_t digits[5];
        std::swprintf(digits, sizeof digits / sizeof *digits, L"%04x", static_cast<unsigned>(unit) ^ 0xFFFFU);
        text += digits;
    }
    return text;
}

File::File(std::wstring path, DWORD access, DWORD share, PathDisplay display)
    : path_(std::move(path)), display_(display), handle_(openExisting(path_, access, share)) {
    throwUnless(static_cast<bool>(handle_), 44, "CreateFile");
}

std::uint32_t File::read(void* buffer, std::uint32_t count) {
    DWORD done = 0;
    throwUnless(ReadFile(handle_.get(), buffer, count, &done, nullptr), 56, "ReadFile");
    return done;
}

std::int64_t File::seek(std::int64_t position) {
    LARGE_INTEGER distance;
    distance.QuadPart = position;
    LARGE_INTEGER reached{};
    throwUnless(SetFilePointerEx(handle_.get(), distance, &reached, FILE_BEGIN), 91, "SetFilePointerEx");
    return reached.QuadPart;
}

std::wstring File::describe() const {
    if (display_ == PathDisplay::shown) {
        return L" file=" + path_;
    }
    const Handle handle = openExisting(path_, FILE_READ_ATTRIBUTES, shareAll);
    const auto id = handle ? queryId(handle.get()) : std::nullopt;
    return id ? L" file=" + toText(*id) : L" data=" + obscurePath(path_);
}

FileId File::getFileId(const std::wstring& path) {
    const File file(path, FILE_READ_ATTRIBUTES, shareAll, PathDisplay::hidden);
    const auto id = queryId(file.handle());
    file.throwUnless(id.has_value(), 147, "GetFileInformationByHandle");
    return *id;
}

void File::throwUnless(bool done, int line, const char* call) const {
    if (!done) {
        const DWORD code = GetLastError(); // before the description makes calls of its own
        throw ApiErrorException(here.at(line), call, code) << describe();
    }
}

} // namespace JY
