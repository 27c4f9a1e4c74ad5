#include "tests/support/Allocations.h"
#include "tests/support/ImportPatch.h"
#include "util/CallStack.h"
#include "util/File.h"
#include "util/Path.h"

#include <windows.h>
// dbghelp.h needs the types of windows.h.
#include <dbghelp.h>

#include <cstring>
#include <gtest/gtest.h>
#include <string>

/// What builds texts throws when memory runs out at any point, and gives back what it had taken.

namespace {

using namespace JY;
using Test::failsCleanly;
using Test::ImportPatch;

TEST(ShortOfMemory, ObscuringAPathFailsCleanly) {
    const std::wstring path(100, L'a');
    EXPECT_TRUE(failsCleanly([&] { obscurePath(path); }));
}

TEST(ShortOfMemory, ExpandingAPathFailsCleanly) {
    const std::wstring path = L"%LocalAppDataLow%\\JyMorvane\\Pictaro";
    EXPECT_TRUE(failsCleanly([&] { expandPath(path); }));
}

BOOL WINAPI findLongName(HANDLE, DWORD64, DWORD64*, SYMBOL_INFO* symbol) {
    std::memset(symbol->Name, 'f', 100);
    symbol->Address = 1;
    return TRUE;
}

BOOL WINAPI findLine(HANDLE, DWORD64, DWORD*, IMAGEHLP_LINE64* line) {
    static char path[] = "C:\\folder\\a file with a long name.cpp";
    line->FileName = path;
    return TRUE;
}

TEST(ShortOfMemory, LookingASymbolUpFailsCleanly) {
    const ImportPatch<decltype(&SymFromAddr)> symbols("SymFromAddr", &findLongName);
    const ImportPatch<decltype(&SymGetLineFromAddr64)> lines("SymGetLineFromAddr64", &findLine);
    symbolLookupEnabled = true;
    EXPECT_TRUE(failsCleanly([] { lookUpSymbol(reinterpret_cast<const void*>(1)); }));
    symbolLookupEnabled = false;
}

} // namespace
