#include "tests/support/ImportPatch.h"

#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>

namespace JY::Test {

namespace {

template <class T>
T* at(std::byte* image, DWORD offset) {
    return reinterpret_cast<T*>(image + offset);
}

/// Where a module keeps the address of an imported function; null when it imports none of that name.
ULONGLONG* findImport(HMODULE module, const char* function) {
    auto* const image = reinterpret_cast<std::byte*>(module != nullptr ? module : GetModuleHandleW(nullptr));
    const auto& dos = *at<IMAGE_DOS_HEADER>(image, 0);
    const auto& headers = *at<IMAGE_NT_HEADERS64>(image, static_cast<DWORD>(dos.e_lfanew));
    const auto& directory = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto* library = at<IMAGE_IMPORT_DESCRIPTOR>(image, directory.VirtualAddress); library->Name != 0; ++library) {
        const auto* name = at<IMAGE_THUNK_DATA64>(image, library->OriginalFirstThunk);
        auto* address = at<IMAGE_THUNK_DATA64>(image, library->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++address) {
            const auto* const import = at<IMAGE_IMPORT_BY_NAME>(image, static_cast<DWORD>(name->u1.AddressOfData));
            if (!IMAGE_SNAP_BY_ORDINAL64(name->u1.Ordinal) && std::strcmp(import->Name, function) == 0) {
                return &address->u1.Function;
            }
        }
    }
    return nullptr;
}

} // namespace

void* exchangeImport(HMODULE module, const char* function, void* replacement) {
    ULONGLONG* const place = findImport(module, function);
    if (place == nullptr) {
        throw std::logic_error(std::string("Not imported: ") + function);
    }
    void* const previous = reinterpret_cast<void*>(*place);
    DWORD protection = 0;
    VirtualProtect(place, sizeof *place, PAGE_READWRITE, &protection);
    *place = reinterpret_cast<ULONGLONG>(replacement);
    VirtualProtect(place, sizeof *place, protection, &protection);
    return previous;
}

} // namespace JY::Test
