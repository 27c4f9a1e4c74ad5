#include "config/SimpleRegKey.h"

#include "util/ApiErrorException.h"
#include "util/FatalException.h"

#include <cstdint>
#include <utility>

namespace JY::Utl {

namespace {

constexpr SourceFile here{"SimpleRegKey"};

/// Null for a root that the module does not use.
const wchar_t* prefixOf(HKEY root) {
    if (root == HKEY_CLASSES_ROOT) {
        return L"HKCR/";
    }
    if (root == HKEY_CURRENT_USER) {
        return L"HKCU/";
    }
    return root == HKEY_LOCAL_MACHINE ? L"HKLM/" : nullptr;
}

[[gnu::always_inline]] inline ApiErrorException failure(SourcePosition position, const char* text, LSTATUS result) {
    return ApiErrorException(position, text, static_cast<std::uint32_t>(result));
}

} // namespace

SimpleRegKey::SimpleRegKey(HKEY root, std::wstring path) : root_(root), path_(std::move(path)) {}

void SimpleRegKey::open(REGSAM samDesired) {
    if (const LSTATUS result = tryOpenKey(samDesired); result != ERROR_SUCCESS) {
        throw failure(here(), "RegOpenKeyEx(", result) << displayName() << ")";
    }
}

bool SimpleRegKey::openIfPresent(REGSAM samDesired) {
    const LSTATUS result = tryOpenKey(samDesired);
    if (result != ERROR_SUCCESS && result != ERROR_FILE_NOT_FOUND) {
        throw failure(here(), "RegOpenKeyEx(", result) << displayName() << ")";
    }
    return result == ERROR_SUCCESS;
}

bool SimpleRegKey::tryOpen(REGSAM samDesired) {
    return tryOpenKey(samDesired) == ERROR_SUCCESS;
}

void SimpleRegKey::create(REGSAM samDesired) {
    const LSTATUS result =
        RegCreateKeyExW(root_, path_.c_str(), 0, nullptr, 0, samDesired, nullptr, key_.put(), nullptr);
    if (result != ERROR_SUCCESS) {
        throw failure(here(), "RegCreateKeyEx(", result) << displayName() << ")";
    }
}

void SimpleRegKey::close() {
    key_.reset();
}

bool SimpleRegKey::hasValue(const std::wstring& name) const {
    return RegQueryValueExW(openKey(), name.c_str(), nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
}

SimpleRegKey::ValueInfo SimpleRegKey::queryValue(const std::wstring& name, void* buffer, DWORD size) const {
    ValueInfo value{REG_NONE, size};
    const LSTATUS result =
        RegQueryValueExW(openKey(), name.c_str(), nullptr, &value.type, static_cast<BYTE*>(buffer), &value.size);
    if (result != ERROR_SUCCESS) {
        throw failure(here(), "RegQueryValueEx(", result) << displayName() << ", " << name << ")";
    }
    return value;
}

void SimpleRegKey::setValue(const std::wstring& name, DWORD type, const void* data, DWORD size) const {
    const LSTATUS result = RegSetValueExW(openKey(), name.c_str(), 0, type, static_cast<const BYTE*>(data), size);
    if (result != ERROR_SUCCESS) {
        const auto address = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(data));
        throw failure(here(), "RegSetValueEx(", result)
            << displayName() << ", " << name << ", " << Hex{address} << "(" << Hex{size} << " bytes)";
    }
}

void SimpleRegKey::deleteValue(const std::wstring& name) const {
    const LSTATUS result = RegDeleteValueW(openKey(), name.c_str());
    if (result != ERROR_SUCCESS && result != ERROR_FILE_NOT_FOUND) {
        throw failure(here(), "RegDeleteValue(", result) << displayName() << ", " << name << ")";
    }
}

void SimpleRegKey::deleteTree() const {
    if (const LSTATUS result = RegDeleteTreeW(openKey(), nullptr); result != ERROR_SUCCESS) {
        throw failure(here(), "RegDeleteTree(", result) << displayName() << ",nullptr)";
    }
}

void SimpleRegKey::deleteKey(REGSAM viewFlags) const {
    const LSTATUS result = RegDeleteKeyExW(root_, path_.c_str(), viewFlags | DELETE, 0);
    if (result != ERROR_SUCCESS) {
        throw failure(here(), "RegDeleteKeyEx", result);
    }
}

std::wstring SimpleRegKey::displayName() const {
    const wchar_t* const prefix = prefixOf(root_);
    if (prefix == nullptr) {
        throw FatalException(here(), "Unknown HKEY.");
    }
    return prefix + path_;
}

bool SimpleRegKey::hasDisplayName(HKEY root) {
    return prefixOf(root) != nullptr;
}

LSTATUS SimpleRegKey::tryOpenKey(REGSAM samDesired) {
    return RegOpenKeyExW(root_, path_.c_str(), 0, samDesired, key_.put());
}

HKEY SimpleRegKey::openKey() const {
    if (key_.get() == nullptr) {
        throw FatalException(here(), "Key is not open.");
    }
    return key_.get();
}

} // namespace JY::Utl
