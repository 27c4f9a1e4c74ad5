#include "tools/Text.h"

#include <array>
#include <cstdio>

namespace JY::Tools {

namespace {

constexpr ULONGLONG unitsPerMillisecond = 10000;
constexpr ULONGLONG unitsPerSecond = 10000000;

/// The amount without its sign; right for the smallest number, too.
ULONGLONG magnitude(LONGLONG value) {
    return value < 0 ? 0 - static_cast<ULONGLONG>(value) : static_cast<ULONGLONG>(value);
}

std::string toCodePage(UINT codePage, std::wstring_view text) {
    const int units = static_cast<int>(text.size());
    const int bytes = WideCharToMultiByte(codePage, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(bytes), '\0');
    WideCharToMultiByte(codePage, 0, text.data(), units, result.data(), bytes, nullptr, nullptr);
    return result;
}

} // namespace

std::string toUtf8(std::wstring_view text) {
    return toCodePage(CP_UTF8, text);
}

std::string toAnsi(std::wstring_view text) {
    return toCodePage(CP_ACP, text);
}

std::wstring fromAnsi(std::string_view text) {
    const int bytes = static_cast<int>(text.size());
    const int units = MultiByteToWideChar(CP_ACP, 0, text.data(), bytes, nullptr, 0);
    std::wstring result(static_cast<std::size_t>(units), L'\0');
    MultiByteToWideChar(CP_ACP, 0, text.data(), bytes, result.data(), units);
    return result;
}

std::string guidText(const GUID& guid) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "{%08lx-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x}", guid.Data1,
                  guid.Data2, guid.Data3, guid.Data4[0], guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4],
                  guid.Data4[5], guid.Data4[6], guid.Data4[7]);
    return text.data();
}

std::string hexText(std::span<const BYTE> bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const BYTE byte : bytes) {
        if (!text.empty()) {
            text += ' ';
        }
        text += digits[byte / 16U];
        text += digits[byte % 16U];
    }
    return text;
}

std::string timeText(LONGLONG hundredNs) {
    const ULONGLONG milliseconds = magnitude(hundredNs) / unitsPerMillisecond;
    const ULONGLONG seconds = milliseconds / 1000;
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%s%llu:%02llu:%02llu.%03llu", hundredNs < 0 ? "-" : "", seconds / 3600,
                  seconds / 60 % 60, seconds % 60, milliseconds % 1000);
    return text.data();
}

std::string secondsText(LONGLONG hundredNs) {
    const ULONGLONG units = magnitude(hundredNs);
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%s%llu.%07llu", hundredNs < 0 ? "-" : "", units / unitsPerSecond,
                  units % unitsPerSecond);
    return text.data();
}

} // namespace JY::Tools
