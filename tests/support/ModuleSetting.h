#pragma once

#include <windows.h>

#include <string>

namespace JY::Test {

/// One of the module's settings in the registry, set for as long as the object lives and removed afterwards.
class ModuleSetting {
public:
    ModuleSetting(const wchar_t* name, DWORD value);
    ModuleSetting(const wchar_t* name, const std::wstring& value);
    ModuleSetting(const ModuleSetting&) = delete;
    ModuleSetting& operator=(const ModuleSetting&) = delete;
    ~ModuleSetting();

private:
    void set(DWORD type, const void* data, std::size_t size) const;

    const wchar_t* name_;
};

} // namespace JY::Test
