#include "config/RegActual.h"

#include "config/SimpleRegKey.h"
#include "util/ErrorException.h"

#include <array>
#include <cstring>

namespace JY::Utl {

namespace {

constexpr SourceFile here{"RegActual"};

constexpr REGSAM deleteKeyAccess = KEY_QUERY_VALUE | KEY_SET_VALUE | KEY_ENUMERATE_SUB_KEYS | DELETE;

using Buffer = std::array<std::uint8_t, 256>;

void checkType(bool matches, const SimpleRegKey& key, const std::wstring& name) {
    if (!matches) {
        throw ErrorException(here(), "Type missmatch. key=") << key.displayName() << ", name=" << name;
    }
}

template <class Number>
Number readNumber(DWORD type, HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) {
    SimpleRegKey key(root, path);
    key.open(KEY_READ | viewFlags);
    Number number = 0;
    checkType(key.queryValue(name, &number, sizeof number).type == type, key, name);
    return number;
}

void writeValue(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags, DWORD type,
                const void* data, std::size_t size) {
    SimpleRegKey key(root, path);
    key.create(KEY_WRITE | viewFlags);
    key.setValue(name, type, data, static_cast<DWORD>(size));
}

} // namespace

bool RegActual::isExist(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) {
    SimpleRegKey key(root, path);
    return key.tryOpen(KEY_READ | viewFlags) && key.hasValue(name);
}

bool RegActual::isExist(HKEY root, const std::wstring& path, REGSAM viewFlags) {
    return SimpleRegKey(root, path).tryOpen(KEY_READ | viewFlags);
}

std::uint32_t RegActual::getUInt(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) {
    return readNumber<std::uint32_t>(REG_DWORD, root, path, name, viewFlags);
}

std::uint64_t RegActual::getULongLong(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) {
    return readNumber<std::uint64_t>(REG_QWORD, root, path, name, viewFlags);
}

std::wstring RegActual::getString(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) {
    SimpleRegKey key(root, path);
    key.open(KEY_READ | viewFlags);
    Buffer buffer;
    const auto value = key.queryValue(name, buffer.data(), buffer.size());
    checkType(value.type == REG_SZ || value.type == REG_EXPAND_SZ, key, name);
    return readText(readData(buffer, value.size));
}

ByteString RegActual::getBinary(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) {
    SimpleRegKey key(root, path);
    key.open(KEY_READ | viewFlags);
    Buffer buffer;
    const auto value = key.queryValue(name, buffer.data(), buffer.size());
    checkType(value.type == REG_BINARY, key, name);
    const auto data = readData(buffer, value.size);
    return ByteString(data.begin(), data.end());
}

void RegActual::setValue(HKEY root, const std::wstring& path, const std::wstring& name, const ByteString& value,
                         REGSAM viewFlags) {
    writeValue(root, path, name, viewFlags, REG_BINARY, value.data(), value.size());
}

void RegActual::setValue(HKEY root, const std::wstring& path, const std::wstring& name, const std::wstring& value,
                         REGSAM viewFlags) {
    writeValue(root, path, name, viewFlags, REG_SZ, value.c_str(), (value.size() + 1) * sizeof(wchar_t));
}

void RegActual::setValue(HKEY root, const std::wstring& path, const std::wstring& name, std::uint32_t value,
                         REGSAM viewFlags) {
    writeValue(root, path, name, viewFlags, REG_DWORD, &value, sizeof value);
}

void RegActual::setValue(HKEY root, const std::wstring& path, const std::wstring& name, std::uint64_t value,
                         REGSAM viewFlags) {
    writeValue(root, path, name, viewFlags, REG_QWORD, &value, sizeof value);
}

void RegActual::deleteValue(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) {
    SimpleRegKey key(root, path);
    if (key.openIfPresent(KEY_SET_VALUE | viewFlags)) {
        key.deleteValue(name);
    }
}

void RegActual::deleteKey(HKEY root, const std::wstring& path, REGSAM viewFlags) {
    SimpleRegKey key(root, path);
    if (!key.openIfPresent(deleteKeyAccess | viewFlags)) {
        return;
    }
    key.deleteTree();
    key.close();
    key.deleteKey(viewFlags);
}

std::span<const std::uint8_t> readData(std::span<const std::uint8_t> buffer, std::size_t reportedSize) {
    if (reportedSize > buffer.size()) {
        throw ErrorException(here(), "Over size. size=") << reportedSize;
    }
    return buffer.first(reportedSize);
}

std::wstring readText(std::span<const std::uint8_t> data) {
    const std::size_t characters = data.size() / sizeof(wchar_t);
    std::wstring text(characters != 0 ? characters - 1 : 0, L'\0');
    std::memcpy(text.data(), data.data(), text.size() * sizeof(wchar_t));
    return text;
}

} // namespace JY::Utl
