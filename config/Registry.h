#pragma once

#include "config/RegInterface.h"

namespace JY::Utl {

/// Process-wide switch for the registry in memory. Off; nothing in the module turns it on. Read when the process-wide
/// registry is first asked for.
extern bool useRegistrySimulation;

/// The process-wide registry, chosen by the switch at first use and kept for the life of the process. The first use
/// must come before other threads use it.
RegInterface& getRegistry();

/// Puts another registry, which stays the caller's, in the place of the process-wide one and returns the one before
/// (null when none was chosen yet). Null lets the next use choose by the switch again. For tests.
RegInterface* exchangeRegistry(RegInterface* registry);

// The process-wide registry in its 64-bit view, whatever the process.

inline bool isExist(HKEY root, const std::wstring& path, const std::wstring& name) {
    return getRegistry().isExist(root, path, name, KEY_WOW64_64KEY);
}
inline bool isExist(HKEY root, const std::wstring& path) {
    return getRegistry().isExist(root, path, KEY_WOW64_64KEY);
}
inline std::uint32_t getUInt(HKEY root, const std::wstring& path, const std::wstring& name) {
    return getRegistry().getUInt(root, path, name, KEY_WOW64_64KEY);
}
inline std::uint64_t getULongLong(HKEY root, const std::wstring& path, const std::wstring& name) {
    return getRegistry().getULongLong(root, path, name, KEY_WOW64_64KEY);
}
inline std::wstring getString(HKEY root, const std::wstring& path, const std::wstring& name) {
    return getRegistry().getString(root, path, name, KEY_WOW64_64KEY);
}
inline ByteString getBinary(HKEY root, const std::wstring& path, const std::wstring& name) {
    return getRegistry().getBinary(root, path, name, KEY_WOW64_64KEY);
}
/// `value` is a ByteString, a wide string, or an unsigned number of 32 or 64 bits.
template <class Value>
void setValue(HKEY root, const std::wstring& path, const std::wstring& name, const Value& value) {
    getRegistry().setValue(root, path, name, value, KEY_WOW64_64KEY);
}
inline void deleteValue(HKEY root, const std::wstring& path, const std::wstring& name) {
    getRegistry().deleteValue(root, path, name, KEY_WOW64_64KEY);
}
inline void deleteKey(HKEY root, const std::wstring& path) {
    getRegistry().deleteKey(root, path, KEY_WOW64_64KEY);
}

} // namespace JY::Utl
