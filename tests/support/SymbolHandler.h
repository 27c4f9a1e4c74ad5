#pragma once

#include "tests/support/ImportPatch.h"
#include "util/CallStack.h"

#include <windows.h>
// dbghelp.h needs the types of windows.h.
#include <dbghelp.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace JY::Test {

/// Symbols are looked up for as long as it lives.
class SymbolLookupScope {
public:
    SymbolLookupScope() { symbolLookupEnabled = true; }
    SymbolLookupScope(const SymbolLookupScope&) = delete;
    SymbolLookupScope& operator=(const SymbolLookupScope&) = delete;
    ~SymbolLookupScope() { symbolLookupEnabled = false; }
};

/// A symbol handler of the test's own, which gives these names one after the other and then the last one, each 7 bytes
/// behind its symbol and in line 12 of "C:\folder\file.cpp".
class SymbolHandler {
public:
    explicit SymbolHandler(std::vector<std::string> names, DWORD64 symbolAddress = 1, bool knowsLines = true) {
        names_ = std::move(names);
        next_ = 0;
        symbolAddress_ = symbolAddress;
        knowsLines_ = knowsLines;
    }

private:
    static BOOL WINAPI findSymbol(HANDLE, DWORD64, DWORD64* displacement, SYMBOL_INFO* symbol) {
        EXPECT_EQ(symbol->SizeOfStruct, 88U);
        EXPECT_EQ(symbol->MaxNameLen, 424U);
        const std::string& name = names_[std::min(next_++, names_.size() - 1)];
        name.copy(symbol->Name, name.size());
        symbol->Address = symbolAddress_;
        *displacement = 7;
        return TRUE;
    }
    static BOOL WINAPI findLine(HANDLE, DWORD64, DWORD*, IMAGEHLP_LINE64* line) {
        static char path[] = "C:\\folder\\file.cpp";
        EXPECT_EQ(line->SizeOfStruct, 40U);
        line->FileName = path;
        line->LineNumber = 12;
        return knowsLines_ ? TRUE : FALSE;
    }

    static inline std::vector<std::string> names_;
    static inline std::size_t next_;
    static inline DWORD64 symbolAddress_;
    static inline bool knowsLines_;
    ImportPatch<decltype(&SymFromAddr)> symbols_{"SymFromAddr", &findSymbol};
    ImportPatch<decltype(&SymGetLineFromAddr64)> lines_{"SymGetLineFromAddr64", &findLine};
};

} // namespace JY::Test
