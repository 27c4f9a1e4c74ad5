#include "tests/source/Settings.h"

#include "config/Registry.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"

#include <stdexcept>

namespace JY::Test {

namespace {

constexpr SourceFile here{"Settings"};
const std::wstring modulePath = L"Software\\JyMorvane\\JyFlvSource";
const std::wstring productPath = L"Software\\JyMorvane\\Pictaro";

std::wstring keyOf(const std::wstring& path, const std::wstring& name) {
    return path + L'\\' + name;
}

[[noreturn]] void unexpected() {
    throw std::logic_error("The settings are only read here, and only as numbers.");
}

} // namespace

Settings::Settings() : previous_(Utl::exchangeRegistry(this)) {
    setHideFileName(0);
}

Settings::~Settings() {
    Utl::exchangeRegistry(previous_);
}

void Settings::set(const std::wstring& name, std::uint32_t value) {
    const std::lock_guard guard(mutex_);
    values_[keyOf(modulePath, name)] = value;
}

void Settings::setMistyped(const std::wstring& name) {
    const std::lock_guard guard(mutex_);
    values_[keyOf(modulePath, name)] = std::nullopt;
}

void Settings::setHideFileName(std::uint32_t value) {
    const std::lock_guard guard(mutex_);
    values_[keyOf(productPath, L"HideFileName")] = value;
}

unsigned Settings::readCount(const std::wstring& name) const {
    const std::lock_guard guard(mutex_);
    const auto found = readCounts_.find(keyOf(modulePath, name));
    return found != readCounts_.end() ? found->second : 0;
}

bool Settings::isExist(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM) {
    const std::lock_guard guard(mutex_);
    return root == HKEY_LOCAL_MACHINE && values_.contains(keyOf(path, name));
}

std::uint32_t Settings::getUInt(HKEY, const std::wstring& path, const std::wstring& name, REGSAM) {
    const std::lock_guard guard(mutex_);
    ++readCounts_[keyOf(path, name)];
    const auto found = values_.find(keyOf(path, name));
    if (found == values_.end()) {
        throw ApiErrorException(here(), "find", ERROR_FILE_NOT_FOUND);
    }
    if (!found->second) {
        throw ErrorException(here(), "Type missmatch.");
    }
    return *found->second;
}

bool Settings::isExist(HKEY, const std::wstring&, REGSAM) {
    unexpected();
}
std::uint64_t Settings::getULongLong(HKEY, const std::wstring&, const std::wstring&, REGSAM) {
    unexpected();
}
std::wstring Settings::getString(HKEY, const std::wstring&, const std::wstring&, REGSAM) {
    unexpected();
}
Utl::ByteString Settings::getBinary(HKEY, const std::wstring&, const std::wstring&, REGSAM) {
    unexpected();
}
void Settings::setValue(HKEY, const std::wstring&, const std::wstring&, const Utl::ByteString&, REGSAM) {
    unexpected();
}
void Settings::setValue(HKEY, const std::wstring&, const std::wstring&, const std::wstring&, REGSAM) {
    unexpected();
}
void Settings::setValue(HKEY, const std::wstring&, const std::wstring&, std::uint32_t, REGSAM) {
    unexpected();
}
void Settings::setValue(HKEY, const std::wstring&, const std::wstring&, std::uint64_t, REGSAM) {
    unexpected();
}
void Settings::deleteValue(HKEY, const std::wstring&, const std::wstring&, REGSAM) {
    unexpected();
}
void Settings::deleteKey(HKEY, const std::wstring&, REGSAM) {
    unexpected();
}

} // namespace JY::Test
