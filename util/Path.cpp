#include "util/Path.h"

#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/String.h"

#include <shlobj.h>
#include <shlwapi.h>
#include <windows.h>

#include <memory>

namespace JY {

namespace {

constexpr SourceFile here{"Path"};

struct CoTaskMemDeleter {
    void operator()(void* memory) const { CoTaskMemFree(memory); }
};

std::wstring knownFolderPath(const GUID& folder) {
    wchar_t* path = nullptr;
    const HRESULT result = SHGetKnownFolderPath(folder, 0, nullptr, &path);
    const std::unique_ptr<wchar_t, CoTaskMemDeleter> owner(path); // to be freed after a failure, too
    throwIfFailed(result, here.at(178), "SHGetKnownFolderPath");
    return path;
}

std::wstring replacementFor(const KnownFolderToken& token) {
    try {
        return knownFolderPath(token.folder);
    } catch (const ApiErrorException&) {
        return token.fallback;
    }
}

std::wstring expandEnvironment(const std::wstring& text) {
    const DWORD size = ExpandEnvironmentStringsW(text.c_str(), nullptr, 0); // with the terminating NUL
    throwIfFalse(size != 0, here(), "ExpandEnvironmentStrings");
    std::wstring result(size, L'\0');
    const DWORD written = ExpandEnvironmentStringsW(text.c_str(), result.data(), size);
    throwIfFalse(written != 0, here(), "ExpandEnvironmentStrings");
    result.resize(wcsnlen(result.c_str(), size));
    return result;
}

void createDirectory(const std::wstring& path) {
    if (!PathIsDirectoryW(path.c_str())) {
        throwIfFalse(CreateDirectoryW(path.c_str(), nullptr), here.at(196), "CreateDirectory");
    }
}

} // namespace

std::wstring expandPath(const std::wstring& path) {
    static const KnownFolderToken tokens[] = {{FOLDERID_LocalAppDataLow, L"%LocalAppDataLow%", L"%TEMP%"}};
    return expandPath(path, tokens);
}

std::wstring expandPath(const std::wstring& path, std::span<const KnownFolderToken> tokens) {
    std::wstring result = path;
    for (const KnownFolderToken& token : tokens) {
        result = replaceAll(result, token.token, replacementFor(token).c_str());
    }
    return expandEnvironment(result);
}

void createDirectories(const std::wstring& path) {
    if (path.empty()) {
        throw ErrorException(here.at(186), "path is empty.");
    }
    if (PathIsDirectoryW(path.c_str())) {
        return;
    }
    std::wstring whole = expandEnvironment(path);
    if (!whole.ends_with(L'\\')) {
        whole += L'\\';
    }
    for (std::size_t end = whole.find(L'\\', 1); end != std::wstring::npos; end = whole.find(L'\\', end + 1)) {
        createDirectory(whole.substr(0, end));
    }
}

} // namespace JY
