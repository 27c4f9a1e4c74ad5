#pragma once

#include "config/RegInterface.h"

#include <cstddef>
#include <span>

namespace JY::Utl {

/// The real registry. Every call opens the key, makes one registry call and closes the key again; nothing is cached.
/// Text and bytes of more than 256 bytes cannot be read. Any thread.
class RegActual final : public RegInterface {
public:
    bool isExist(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) override;
    bool isExist(HKEY root, const std::wstring& path, REGSAM viewFlags) override;
    std::uint32_t getUInt(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) override;
    std::uint64_t getULongLong(HKEY root, const std::wstring& path, const std::wstring& name,
                               REGSAM viewFlags) override;
    /// REG_EXPAND_SZ is read too, without expanding it.
    std::wstring getString(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) override;
    ByteString getBinary(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) override;
    void setValue(HKEY root, const std::wstring& path, const std::wstring& name, const ByteString& value,
                  REGSAM viewFlags) override;
    void setValue(HKEY root, const std::wstring& path, const std::wstring& name, const std::wstring& value,
                  REGSAM viewFlags) override;
    void setValue(HKEY root, const std::wstring& path, const std::wstring& name, std::uint32_t value,
                  REGSAM viewFlags) override;
    void setValue(HKEY root, const std::wstring& path, const std::wstring& name, std::uint64_t value,
                  REGSAM viewFlags) override;
    void deleteValue(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) override;
    void deleteKey(HKEY root, const std::wstring& path, REGSAM viewFlags) override;
};

/// The bytes that the registry says it has put into a buffer. Throws ErrorException when it names more than fit.
std::span<const std::uint8_t> readData(std::span<const std::uint8_t> buffer, std::size_t reportedSize);
/// The text in a string value's data: one character less than there are, for the terminator, whether or not there is
/// one. Data too short for any character is the empty text.
std::wstring readText(std::span<const std::uint8_t> data);

} // namespace JY::Utl
