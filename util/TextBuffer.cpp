#include "util/TextBuffer.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace JY {

namespace {

constexpr std::size_t bytesPerLine = 16;
constexpr std::size_t characterColumn = 48;

/// What the C library calls graphic, asked once for each byte: asking costs more than all the rest of a dump.
const std::array<bool, 256>& graphicBytes() {
    static const std::array<bool, 256> bytes = [] {
        std::array<bool, 256> graphic{};
        for (int byte = 0; byte < 256; ++byte) {
            graphic[static_cast<std::size_t>(byte)] = std::isgraph(byte) != 0;
        }
        return graphic;
    }();
    return bytes;
}

void dumpLine(TextBuffer& out, std::span<const unsigned char> bytes) {
    static constexpr char digits[] = "0123456789abcdef";
    char line[5 + characterColumn + bytesPerLine];
    std::fill_n(line, sizeof line, ' ');
    line[0] = '\n';
    const std::array<bool, 256>& isGraphic = graphicBytes();
    char* hex = line + 5;
    char* characters = line + 5 + characterColumn;
    for (const unsigned char byte : bytes) {
        *hex++ = digits[byte >> 4];
        *hex++ = digits[byte & 0x0F];
        ++hex;
        *characters++ = isGraphic[byte] ? static_cast<char>(byte) : '.';
    }
    out << std::string_view(line, static_cast<std::size_t>(characters - line));
}

} // namespace

TextBuffer& TextBuffer::operator<<(std::wstring_view text) {
    text = text.substr(0, text.find(L'\0'));
    const int count = static_cast<int>(text.size());
    const int size = count != 0 ? WideCharToMultiByte(CP_ACP, 0, text.data(), count, nullptr, 0, nullptr, nullptr) : 0;
    if (size > 0) {
        const std::size_t old = text_.size();
        text_.resize(old + static_cast<std::size_t>(size));
        WideCharToMultiByte(CP_ACP, 0, text.data(), count, text_.data() + old, size, nullptr, nullptr);
    }
    return *this;
}

TextBuffer& TextBuffer::operator<<(const wchar_t* text) {
    return text != nullptr ? *this << std::wstring_view(text) : *this << "(null)";
}

TextBuffer& TextBuffer::operator<<(char character) {
    text_.push_back(character);
    return *this;
}

TextBuffer& TextBuffer::operator<<(const GUID& guid) {
    char text[40];
    const unsigned char* tail = guid.Data4;
    const int length =
        std::snprintf(text, sizeof text, "%08lx-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", guid.Data1, guid.Data2,
                      guid.Data3, tail[0], tail[1], tail[2], tail[3], tail[4], tail[5], tail[6], tail[7]);
    return *this << std::string_view(text, static_cast<std::size_t>(length));
}

TextBuffer& TextBuffer::operator<<(HexDump dump) {
    if (dump.data == nullptr) {
        return *this;
    }
    std::span<const unsigned char> rest(static_cast<const unsigned char*>(dump.data), dump.size);
    while (!rest.empty()) {
        const std::size_t count = std::min(rest.size(), bytesPerLine);
        dumpLine(*this, rest.first(count));
        rest = rest.subspan(count);
    }
    return *this;
}

TextBuffer& TextBuffer::operator<<(Scientific number) {
    char text[64];
    char* end = text;
    if (std::isfinite(number.value)) { // the same text, several times faster: an index of key frames has thousands
        end = std::to_chars(text, text + sizeof text, number.value, std::chars_format::scientific, 6).ptr;
    } else {
        end += std::snprintf(text, sizeof text, "%e", number.value);
    }
    return *this << std::string_view(text, static_cast<std::size_t>(end - text));
}

TextBuffer& TextBuffer::operator<<(Hex number) {
    char digits[24];
    const char* const end = std::to_chars(digits, digits + sizeof digits, number.value, 16).ptr;
    return *this << std::string_view(digits, static_cast<std::size_t>(end - digits));
}

} // namespace JY
