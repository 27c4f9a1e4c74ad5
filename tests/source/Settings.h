#pragma once

#include "config/RegInterface.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace JY::Test {

/// The module's and the product's settings, kept in memory in the registry's place for as long as the object lives.
/// None is set at first but HideFileName, which is 0, so that records show paths. Any thread.
class Settings final : public Utl::RegInterface {
public:
    Settings();
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;
    ~Settings();

    /// One of the module's own settings.
    void set(const std::wstring& name, std::uint32_t value);
    /// Gives one of the module's own settings a type that is not a number's.
    void setMistyped(const std::wstring& name);
    void setHideFileName(std::uint32_t value);
    /// How often one of the module's own settings has been read.
    unsigned readCount(const std::wstring& name) const;

    bool isExist(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) override;
    bool isExist(HKEY root, const std::wstring& path, REGSAM viewFlags) override;
    std::uint32_t getUInt(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) override;
    std::uint64_t getULongLong(HKEY root, const std::wstring& path, const std::wstring& name,
                               REGSAM viewFlags) override;
    std::wstring getString(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) override;
    Utl::ByteString getBinary(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) override;
    void setValue(HKEY root, const std::wstring& path, const std::wstring& name, const Utl::ByteString& value,
                  REGSAM viewFlags) override;
    void setValue(HKEY root, const std::wstring& path, const std::wstring& name, const std::wstring& value,
                  REGSAM viewFlags) override;
    void setValue(HKEY root, const std::wstring& path, const std::wstring& name, std::uint32_t value,
                  REGSAM viewFlags) override;
    void setValue(HKEY root, const std::wstring& path, const std::wstring& name, std::uint64_t value,
                  REGSAM viewFlags) override;
    void deleteValue(HKEY root, const std::wstring& path, const std::wstring& name, REGSAM viewFlags) override;
    void deleteKey(HKEY root, const std::wstring& path, REGSAM viewFlags) override;

private:
    mutable std::mutex mutex_;
    std::map<std::wstring, std::optional<std::uint32_t>> values_; ///< nothing for a value of another type
    std::map<std::wstring, unsigned> readCounts_;
    Utl::RegInterface* previous_;
};

} // namespace JY::Test
