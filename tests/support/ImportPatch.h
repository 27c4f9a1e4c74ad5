#pragma once

#include <windows.h>

namespace JY::Test {

/// Redirects a function that this program, or a library that it has loaded, imports, for as long as the object lives.
/// The function must be imported, and the library stay loaded.
template <class Function>
class ImportPatch;

/// Exchanges the address behind an import of a module, null for this program, and returns the one before.
void* exchangeImport(HMODULE module, const char* function, void* replacement);

template <class Result, class... Arguments>
class ImportPatch<Result(WINAPI*)(Arguments...)> {
public:
    using Function = Result(WINAPI*)(Arguments...);

    ImportPatch(const char* name, Function replacement, HMODULE module = nullptr)
        : module_(module), name_(name),
          original_(reinterpret_cast<Function>(exchangeImport(module, name, reinterpret_cast<void*>(replacement)))) {}
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;
    ~ImportPatch() { exchangeImport(module_, name_, reinterpret_cast<void*>(original_)); }

    Result callOriginal(Arguments... arguments) const { return original_(arguments...); }

private:
    HMODULE module_;
    const char* name_;
    Function original_;
};

} // namespace JY::Test
