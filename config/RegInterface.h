#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace JY::Utl {

/// The data of a binary value.
using ByteString = std::vector<std::uint8_t>;

/// What the module does with the registry; one implementation works on the real registry, one in memory. Keys are named
/// by root and path, `viewFlags` (KEY_WOW64_64KEY, KEY_WOW64_32KEY or 0) is added to every access right asked for.
/// Numbers are REG_DWORD and REG_QWORD, text is REG_SZ, bytes are REG_BINARY.
///
/// Getters throw ApiErrorException with the registry's code for a key or value that cannot be read, and ErrorException
/// for a value of another type. Deleting what does not exist succeeds. isExist never throws.
class RegInterface {
public:
    /// Whether the value exists.
    virtual bool isExist(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) = 0;
    /// Whether the key exists.
    virtual bool isExist(HKEY root, const std::wstring& path, REGSAM viewFlags) = 0;
    virtual std::uint32_t getUInt(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) = 0;
    virtual std::uint64_t getULongLong(HKEY root, const std::wstring& path, const std::wstring& name,
                                       REGSAM viewFlags) = 0;
    virtual std::wstring getString(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) = 0;
    virtual ByteString getBinary(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) = 0;
    /// Each setValue creates the key with its parents when it does not exist, and replaces a value of any type.
    virtual void setValue(HKEY root, const std::wstring& path, const std::wstring& name, const ByteString& value,
                          REGSAM viewFlags) = 0;
    virtual void setValue(HKEY root, const std::wstring& path, const std::wstring& name, const std::wstring& value,
                          REGSAM viewFlags) = 0;
    virtual void setValue(HKEY root, const std::wstring& path, const std::wstring& name, std::uint32_t value,
                          REGSAM viewFlags) = 0;
    virtual void setValue(HKEY root, const std::wstring& path, const std::wstring& name, std::uint64_t value,
                          REGSAM viewFlags) = 0;
    virtual void deleteValue(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) = 0;
    /// Deletes the key with everything below it.
    virtual void deleteKey(HKEY root, const std::wstring& path, REGSAM viewFlags) = 0;

protected:
    ~RegInterface() = default;
};

} // namespace JY::Utl
