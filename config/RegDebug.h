#pragma once

#include "config/RegInterface.h"

namespace JY::Utl {

/// A registry in memory, the same for all objects of the class, for the life of the process. Names are compared without
/// regard to case, views are not told apart. Every call writes a line to the debugger's output. Not locked: one thread
/// at a time.
class RegDebug final : public RegInterface {
public:
    bool isExist(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) override;
    bool isExist(HKEY root, const std::wstring& path, REGSAM viewFlags) override;
    std::uint32_t getUInt(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) override;
    std::uint64_t getULongLong(HKEY root, const std::wstring& path, const std::wstring& name,
                               REGSAM viewFlags) override;
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

} // namespace JY::Utl
