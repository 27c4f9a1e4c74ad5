#pragma once

namespace JY {

/// Formats printf-style into a buffer of 256 characters (what does not fit is cut) and passes it to the debugger's
/// output. For the places where the log cannot be used.
[[gnu::format(gnu_printf, 1, 2)]] void debugOutput(const char* format, ...);
/// The same for wide text; `%s` takes wide strings.
void debugOutput(const wchar_t* format, ...);

} // namespace JY
