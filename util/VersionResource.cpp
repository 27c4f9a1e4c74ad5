#include "util/VersionResource.h"

#include "util/ApiErrorException.h"
#include "util/JYWin32.h"

namespace JY {

namespace {

constexpr SourceFile here{"VersionResource"};

std::vector<std::byte> loadVersionBlock(const std::wstring& path) {
    DWORD unused = 0;
    const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &unused);
    throwIfFalse(size != 0, here(), "GetFileVersionInfoSize");
    std::vector<std::byte> block(size);
    throwIfFalse(GetFileVersionInfoW(path.c_str(), 0, size, block.data()), here(), "GetFileVersionInfo");
    return block;
}

} // namespace

VersionResource::VersionResource(HMODULE module) : block_(loadVersionBlock(getModulePath(module))) {}

std::wstring VersionResource::getString(const wchar_t* name) const {
    for (const wchar_t* const languageAndCodePage : {L"041104b0", L"041103a4"}) {
        const std::wstring place = std::wstring(L"\\StringFileInfo\\") + languageAndCodePage + L"\\" + name;
        void* text = nullptr;
        UINT length = 0; // characters, with the terminator
        if (VerQueryValueW(block_.data(), place.c_str(), &text, &length)) {
            const auto* const characters = static_cast<const wchar_t*>(text);
            return {characters, wcsnlen(characters, length)};
        }
    }
    return {};
}

} // namespace JY
