#include "config/RegDebug.h"

#include "config/SimpleRegKey.h"
#include "util/ApiErrorException.h"
#include "util/DebugOutput.h"
#include "util/ErrorException.h"

#include <cwchar>
#include <map>
#include <utility>

namespace JY::Utl {

namespace {

constexpr SourceFile here{"RegDebug"};

struct IgnoringCase {
    bool operator()(const std::wstring& left, const std::wstring& right) const {
        return _wcsicmp(left.c_str(), right.c_str()) < 0;
    }
};

/// A value of any type; the member that belongs to the type holds the data.
struct ValueRecord {
    std::uint32_t type = REG_NONE;
    std::uint32_t number32 = 0;
    std::uint64_t number64 = 0;
    std::wstring text = {};
    ByteString bytes = {};
};

using Values = std::map<std::wstring, ValueRecord, IgnoringCase>;
/// From a key's display name to its values.
using Keys = std::map<std::wstring, Values, IgnoringCase>;

Keys keys;

/// Null when the key does not exist.
Values* findKey(const std::wstring& key) {
    const auto found = keys.find(key);
    return found != keys.end() ? &found->second : nullptr;
}

const ValueRecord& getValue(const std::wstring& key, const std::wstring& name, std::uint32_t type) {
    const Values* const values = findKey(key);
    if (values == nullptr) {
        throw ApiErrorException(here(), "find", ERROR_PATH_NOT_FOUND);
    }
    const auto value = values->find(name);
    if (value == values->end()) {
        throw ApiErrorException(here(), "find", ERROR_FILE_NOT_FOUND);
    }
    if (value->second.type != type) {
        throw ErrorException(here(), "Type missmatch.");
    }
    return value->second;
}

/// Creates the key and all its parents.
Values& createKey(const std::wstring& key) {
    for (auto end = key.find(L'\\'); end != std::wstring::npos; end = key.find(L'\\', end + 1)) {
        keys[key.substr(0, end)];
    }
    return keys[key];
}

void store(const std::wstring& key, const std::wstring& name, ValueRecord value) {
    createKey(key)[name] = std::move(value);
}

bool isBelow(const std::wstring& key, const std::wstring& parent) {
    return key.size() > parent.size() && key[parent.size()] == L'\\' &&
           _wcsnicmp(key.c_str(), parent.c_str(), parent.size()) == 0;
}

std::wstring displayName(HKEY root, const std::wstring& path) {
    return SimpleRegKey(root, path).displayName();
}

const wchar_t* answer(bool yes) {
    return yes ? L"true" : L"false";
}

} // namespace

bool RegDebug::isExist(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM) {
    if (!SimpleRegKey::hasDisplayName(root)) {
        return false;
    }
    const std::wstring key = displayName(root, path);
    const Values* const values = findKey(key);
    const bool exists = values != nullptr && values->contains(name);
    debugOutput(L"RegDebug::isExist(%s,%s)=%s", key.c_str(), name.c_str(), answer(exists));
    return exists;
}

bool RegDebug::isExist(HKEY root, const std::wstring& path, REGSAM) {
    if (!SimpleRegKey::hasDisplayName(root)) {
        return false;
    }
    const std::wstring key = displayName(root, path);
    const bool exists = findKey(key) != nullptr;
    debugOutput(L"RegDebug::isExist(%s)=%s", key.c_str(), answer(exists));
    return exists;
}

std::uint32_t RegDebug::getUInt(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM) {
    const std::wstring key = displayName(root, path);
    const std::uint32_t value = getValue(key, name, REG_DWORD).number32;
    debugOutput(L"RegDebug::getUInt(%s,%s)=%d", key.c_str(), name.c_str(), value);
    return value;
}

std::uint64_t RegDebug::getULongLong(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM) {
    const std::wstring key = displayName(root, path);
    const std::uint64_t value = getValue(key, name, REG_QWORD).number64;
    // The conversion is %u and the text goes on with "ll": the line shows the lower half.
    debugOutput(L"RegDebug::getULongLong(%s,%s)=%ull", key.c_str(), name.c_str(), static_cast<std::uint32_t>(value));
    return value;
}

std::wstring RegDebug::getString(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM) {
    const std::wstring key = displayName(root, path);
    const std::wstring& value = getValue(key, name, REG_SZ).text;
    debugOutput(L"RegDebug::getString(%s,%s)=%s", key.c_str(), name.c_str(), value.c_str());
    return value;
}

ByteString RegDebug::getBinary(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM) {
    const std::wstring key = displayName(root, path);
    const ByteString& value = getValue(key, name, REG_BINARY).bytes;
    debugOutput(L"RegDebug::getBinary(%s,%s)=(size=%d)", key.c_str(), name.c_str(), static_cast<int>(value.size()));
    return value;
}

void RegDebug::setValue(HKEY root, const std::wstring& path, const std::wstring& name, const ByteString& value,
                        REGSAM) {
    const std::wstring key = displayName(root, path);
    debugOutput(L"RegDebug::setValue(%s,%s,(size=%d))", key.c_str(), name.c_str(), static_cast<int>(value.size()));
    store(key, name, {.type = REG_BINARY, .bytes = value});
}

void RegDebug::setValue(HKEY root, const std::wstring& path, const std::wstring& name, const std::wstring& value,
                        REGSAM) {
    const std::wstring key = displayName(root, path);
    debugOutput(L"RegDebug::setValue(%s,%s,%s)", key.c_str(), name.c_str(), value.c_str());
    store(key, name, {.type = REG_SZ, .text = value});
}

void RegDebug::setValue(HKEY root, const std::wstring& path, const std::wstring& name, std::uint32_t value, REGSAM) {
    const std::wstring key = displayName(root, path);
    debugOutput(L"RegDebug::setValue(%s,%s,%d)", key.c_str(), name.c_str(), value);
    store(key, name, {.type = REG_DWORD, .number32 = value});
}

void RegDebug::setValue(HKEY root, const std::wstring& path, const std::wstring& name, std::uint64_t value, REGSAM) {
    const std::wstring key = displayName(root, path);
    debugOutput(L"RegDebug::setValue(%s,%s,%ull)", key.c_str(), name.c_str(), static_cast<std::uint32_t>(value));
    store(key, name, {.type = REG_QWORD, .number64 = value});
}

void RegDebug::deleteValue(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM) {
    const std::wstring key = displayName(root, path);
    debugOutput(L"RegDebug::deleteValue(%s,%s)", key.c_str(), name.c_str());
    if (Values* const values = findKey(key)) {
        values->erase(name);
    }
}

void RegDebug::deleteKey(HKEY root, const std::wstring& path, REGSAM) {
    const std::wstring key = displayName(root, path);
    debugOutput(L"RegDebug::deleteKey(%s)", key.c_str());
    keys.erase(key);
    std::erase_if(keys, [&](const auto& entry) { return isBelow(entry.first, key); });
}

} // namespace JY::Utl
