#pragma once

#include <windows.h>

namespace JY::Test {

/// Redirects an imported function of this program for as long as the object lives. The function must be imported.
template <class Function>
class ImportPatch;

/// Exchanges the address behind an import of this program and returns the one before.
void* exchangeImport(const char* function, void* replacement);

template <class Result, class... Arguments>
class ImportPatch<Result(WINAPI*)(Arguments...)> {
public:
    using Function = Result(WINAPI*)(Arguments...);

    ImportPatch(const char* name, Function replacement)
        : name_(name),
          original_(reinterpret_cast<Function>(exchangeImport(name, reinterpret_cast<void*>(replacement)))) {}
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;
    ~ImportPatch() { exchangeImport(name_, reinterpret_cast<void*>(original_)); }

    Result callOriginal(Arguments... arguments) const { return original_(arguments...); }

private:
    const char* name_;
    Function original_;
};

} // namespace JY::Test
