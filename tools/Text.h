#pragma once

#include <windows.h>

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace JY::Tools {

/// What is no valid UTF-16 becomes U+FFFD.
std::string toUtf8(std::wstring_view text);

/// In the system's ANSI code page: what it cannot hold becomes its replacement character.
std::string toAnsi(std::wstring_view text);
std::wstring fromAnsi(std::string_view text);

/// "{0d96ad9a-8e7b-4898-9502-e5be5a5d4890}"
std::string guidText(const GUID& guid);

/// "12 10", two digits a byte.
std::string hexText(std::span<const BYTE> bytes);

/// A time of `hundredNs` 100 ns units as "h:mm:ss.mmm", with a sign when it is negative. Parts of milliseconds are cut.
std::string timeText(LONGLONG hundredNs);

/// A number of 100 ns units in seconds, with all its digits: "12.3456789".
std::string secondsText(LONGLONG hundredNs);

} // namespace JY::Tools
