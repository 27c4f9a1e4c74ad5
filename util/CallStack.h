#pragma once

#include <cstdint>
#include <string>

namespace JY {

/// A code address in words. `file` is empty when only the name is known.
struct StackFrame {
    std::string name;
    std::string file;
    std::uint32_t line = 0;
};

/// Process-wide switch for names from the symbol handler, which the host must then have initialised. Off; nothing in
/// the module turns it on.
extern bool symbolLookupEnabled;

/// The call stack as text, frames separated by commas, beginning with the caller's caller: meant to be called by an
/// exception's constructor, so that the throw site comes first. Adjacent equal frames are written once. Empty when
/// nothing could be captured. Any thread; takes the process-wide stack lock.
[[gnu::noinline]] std::string captureCallStack();

/// Names an address by symbol; name and file are empty when look-up is switched off or fails.
StackFrame lookUpSymbol(const void* address);

/// Where a code address lies: "section:offset(module)", both numbers hexadecimal, sections counted from 1; "Fail1",
/// "Fail2" or "Fail3" when module, file name or section cannot be found.
std::string describeModuleAddress(const void* address);

} // namespace JY
