#pragma once

#include <windows.h>

namespace JY::Test {

/// Faults that are meant: the sanitizer does not turn them into traps of its own.
int readFrom(const volatile int* address);
void writeTo(volatile int* address);
int divide(int dividend, int divisor);
void callAt(void (*function)());

/// A page that can be read and not written.
class ReadOnlyPage {
public:
    ReadOnlyPage() : page_(VirtualAlloc(nullptr, 4096, MEM_COMMIT | MEM_RESERVE, PAGE_READONLY)) {}
    ReadOnlyPage(const ReadOnlyPage&) = delete;
    ReadOnlyPage& operator=(const ReadOnlyPage&) = delete;
    ~ReadOnlyPage() { VirtualFree(page_, 0, MEM_RELEASE); }
    int* get() const { return static_cast<int*>(page_); }

private:
    void* page_;
};

} // namespace JY::Test
