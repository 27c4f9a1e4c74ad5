#include "tests/support/OpenHandles.h"

#include "util/JYWin32.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

namespace JY::Test {

namespace {

// GetProcessHandleCount would do on Windows, but Wine answers 0. Both list all handles of the system.
constexpr ULONG extendedHandleInformation = 64;
constexpr LONG lengthMismatch = static_cast<LONG>(0xC0000004);

using QuerySystemInformation = LONG(WINAPI*)(ULONG informationClass, void* buffer, ULONG size, ULONG* neededSize);

struct HandleEntry {
    void* object;
    ULONG_PTR processId;
    ULONG_PTR handle;
    ULONG access;
    USHORT creatorTrace;
    USHORT type;
    ULONG attributes;
    ULONG reserved;
};

struct HandleList {
    ULONG_PTR count;
    ULONG_PTR reserved;
};

std::vector<std::byte> queryHandles() {
    const auto query = reinterpret_cast<QuerySystemInformation>(
        reinterpret_cast<void*>(GetProcAddress(getModuleHandle(L"ntdll.dll"), "NtQuerySystemInformation")));
    std::vector<std::byte> list(std::size_t{1} << 16);
    while (query(extendedHandleInformation, list.data(), static_cast<ULONG>(list.size()), nullptr) == lengthMismatch) {
        list.resize(list.size() * 2);
    }
    return list;
}

} // namespace

std::size_t countOpenHandles() {
    const std::vector<std::byte> data = queryHandles();
    HandleList list{};
    std::memcpy(&list, data.data(), sizeof list);
    std::vector<HandleEntry> entries(list.count);
    std::memcpy(entries.data(), data.data() + sizeof list, entries.size() * sizeof(HandleEntry));
    return static_cast<std::size_t>(std::ranges::count(entries, GetCurrentProcessId(), &HandleEntry::processId));
}

} // namespace JY::Test
