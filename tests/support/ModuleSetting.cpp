#include "tests/support/ModuleSetting.h"

#include <stdexcept>

namespace JY::Test {

namespace {
constexpr const wchar_t* settingsKey = L"Software\\JyMorvane\\JyFlvSource";
}

ModuleSetting::ModuleSetting(const wchar_t* name, DWORD value) : name_(name) {
    set(REG_DWORD, &value, sizeof value);
}

ModuleSetting::ModuleSetting(const wchar_t* name, const std::wstring& value) : name_(name) {
    set(REG_SZ, value.c_str(), (value.size() + 1) * sizeof(wchar_t));
}

ModuleSetting::~ModuleSetting() {
    RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, settingsKey, name_);
}

void ModuleSetting::set(DWORD type, const void* data, std::size_t size) const {
    if (RegSetKeyValueW(HKEY_LOCAL_MACHINE, settingsKey, name_, type, data, static_cast<DWORD>(size)) != 0) {
        throw std::runtime_error("The setting cannot be written.");
    }
}

} // namespace JY::Test
