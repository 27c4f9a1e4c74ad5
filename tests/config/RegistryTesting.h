#pragma once

#include "config/RegDebug.h"
#include "util/TextBuffer.h"

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace JY::Test {

/// A path of its own below HKEY_CURRENT_USER, where no key is; what is made there, on the real registry or in memory,
/// is removed at the end.
class TestKey {
public:
    TestKey()
        : path_(L"Software\\JyMorvaneTests\\" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                std::to_wstring(++count_)) {
        remove();
    }
    TestKey(const TestKey&) = delete;
    TestKey& operator=(const TestKey&) = delete;
    ~TestKey() { remove(); }

    const std::wstring& path() const { return path_; }
    /// The name in messages.
    std::string displayName() const { return (TextBuffer() << "HKCU/" << path_).str(); }

    /// Writes a value of any type and content to the real registry.
    void write(const std::wstring& name, DWORD type, std::vector<std::uint8_t> data) const {
        const auto size = static_cast<DWORD>(data.size());
        data.insert(data.end(), 4, 0xFF); // the registry adds the terminator of a text when it finds one behind it
        RegSetKeyValueW(HKEY_CURRENT_USER, path_.c_str(), name.c_str(), type, data.data(), size);
    }
    void writeText(const std::wstring& name, DWORD type, const std::wstring& text) const {
        const auto* const first = reinterpret_cast<const std::uint8_t*>(text.c_str());
        write(name, type, std::vector<std::uint8_t>(first, first + (text.size() + 1) * sizeof(wchar_t)));
    }

    /// A value of the real registry as it is stored.
    struct Stored {
        DWORD type = REG_NONE;
        std::vector<std::uint8_t> data;
        bool operator==(const Stored&) const = default;
    };
    Stored read(const std::wstring& name) const {
        Stored stored;
        DWORD size = 0;
        RegGetValueW(HKEY_CURRENT_USER, path_.c_str(), name.c_str(), RRF_RT_ANY | RRF_NOEXPAND, nullptr, nullptr,
                     &size);
        stored.data.resize(size);
        RegGetValueW(HKEY_CURRENT_USER, path_.c_str(), name.c_str(), RRF_RT_ANY | RRF_NOEXPAND, &stored.type,
                     stored.data.data(), &size);
        return stored;
    }

private:
    void remove() const {
        RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
        Utl::RegDebug().deleteKey(HKEY_CURRENT_USER, path_, 0);
    }

    static inline unsigned count_ = 0;
    std::wstring path_;
};

/// Takes a key of the real registry away for as long as it lives, and puts it back with what it held.
class AbsentKey {
public:
    AbsentKey(HKEY root, std::wstring path) : root_(root), path_(std::move(path)) {
        existed_ = copy(root_, path_, HKEY_CURRENT_USER, backup_.path());
        RegDeleteTreeW(root_, path_.c_str());
    }
    AbsentKey(const AbsentKey&) = delete;
    AbsentKey& operator=(const AbsentKey&) = delete;
    ~AbsentKey() {
        RegDeleteTreeW(root_, path_.c_str());
        if (existed_) {
            copy(HKEY_CURRENT_USER, backup_.path(), root_, path_);
        }
    }

private:
    static bool copy(HKEY fromRoot, const std::wstring& from, HKEY toRoot, const std::wstring& to) {
        HKEY source = nullptr;
        if (RegOpenKeyExW(fromRoot, from.c_str(), 0, KEY_READ, &source) != ERROR_SUCCESS) {
            return false;
        }
        HKEY target = nullptr;
        RegCreateKeyExW(toRoot, to.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &target, nullptr);
        RegCopyTreeW(source, nullptr, target);
        RegCloseKey(target);
        RegCloseKey(source);
        return true;
    }

    HKEY root_;
    std::wstring path_;
    TestKey backup_;
    bool existed_;
};

} // namespace JY::Test
