#pragma once

#include "util/RegistryHandle.h"

#include <windows.h>

#include <string>

namespace JY::Utl {

/// A registry key: its place, and the opened key while it is open, which it owns. Failures are ApiErrorException with
/// the registry's code; an operation that needs the open key throws FatalException while it is not. One thread.
class SimpleRegKey {
public:
    /// Names the key; nothing is opened.
    SimpleRegKey(HKEY root, std::wstring path);

    void open(REGSAM samDesired);
    /// The same; false when the key does not exist.
    bool openIfPresent(REGSAM samDesired);
    /// The same; false when the key cannot be opened for whatever reason.
    bool tryOpen(REGSAM samDesired);
    /// Opens the key, which is created with its parents when it does not exist.
    void create(REGSAM samDesired);
    void close();

    /// Type and size in bytes of a value as the registry reports them.
    struct ValueInfo {
        DWORD type;
        DWORD size;
    };
    bool hasValue(const std::wstring& name) const;
    /// Reads a value of any type into a buffer of `size` bytes.
    ValueInfo queryValue(const std::wstring& name, void* buffer, DWORD size) const;
    void setValue(const std::wstring& name, DWORD type, const void* data, DWORD size) const;
    /// A value that does not exist counts as deleted.
    void deleteValue(const std::wstring& name) const;
    /// Deletes all values and everything below the key.
    void deleteTree() const;
    /// Deletes the key itself, which must have no keys below it; it need not be open.
    void deleteKey(REGSAM viewFlags) const;

    /// The name for messages, e.g. "HKLM/Software\JyMorvane". Throws FatalException for a root other than
    /// HKEY_CLASSES_ROOT, HKEY_CURRENT_USER and HKEY_LOCAL_MACHINE.
    std::wstring displayName() const;
    /// Whether a key below this root has a display name.
    static bool hasDisplayName(HKEY root);

private:
    LSTATUS tryOpenKey(REGSAM samDesired);
    HKEY openKey() const;

    HKEY root_;
    std::wstring path_;
    RegistryHandle key_;
};

} // namespace JY::Utl
