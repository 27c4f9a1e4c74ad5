#include "util/DebugOutput.h"

#include <windows.h>

#include <cstdarg>
#include <cstdio>
#include <cwchar>

namespace JY {

namespace {
constexpr std::size_t bufferSize = 256;
}

void debugOutput(const char* format, ...) {
    char text[bufferSize];
    std::va_list arguments{};
    va_start(arguments, format);
    std::vsnprintf(text, bufferSize, format, arguments);
    va_end(arguments);
    OutputDebugStringA(text);
}

void debugOutput(const wchar_t* format, ...) {
    wchar_t text[bufferSize];
    std::va_list arguments{};
    va_start(arguments, format);
    _vsnwprintf(text, bufferSize, format, arguments);
    va_end(arguments);
    text[bufferSize - 1] = L'\0';
    OutputDebugStringW(text);
}

} // namespace JY
