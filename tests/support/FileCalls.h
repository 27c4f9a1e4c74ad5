#pragma once

#include "tests/support/ImportPatch.h"

#include <windows.h>

namespace JY::Test {

/// Counts what this program asks the system for of any file, as long as it lives. One at a time.
class FileCalls {
public:
    FileCalls() {
        current = this;
        reads = moves = sizes = 0;
    }

    inline static unsigned reads = 0;
    inline static unsigned moves = 0;
    inline static unsigned sizes = 0;

    /// All of them.
    static unsigned all() { return reads + moves + sizes; }

private:
    static BOOL WINAPI read(HANDLE file, void* buffer, DWORD count, DWORD* done, OVERLAPPED* overlapped) {
        ++reads;
        return current->read_.callOriginal(file, buffer, count, done, overlapped);
    }
    static BOOL WINAPI move(HANDLE file, LARGE_INTEGER distance, LARGE_INTEGER* position, DWORD method) {
        ++moves;
        return current->move_.callOriginal(file, distance, position, method);
    }
    static BOOL WINAPI size(HANDLE file, LARGE_INTEGER* bytes) {
        ++sizes;
        return current->size_.callOriginal(file, bytes);
    }

    inline static FileCalls* current = nullptr;
    ImportPatch<decltype(&ReadFile)> read_{"ReadFile", read};
    ImportPatch<decltype(&SetFilePointerEx)> move_{"SetFilePointerEx", move};
    ImportPatch<decltype(&GetFileSizeEx)> size_{"GetFileSizeEx", size};
};

} // namespace JY::Test
