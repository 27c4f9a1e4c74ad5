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

/// What a dump writes for a byte.
struct DumpedByte {
    char digits[3]; ///< and a blank
    char character;
};

/// The C library is asked once for each byte what is graphic: asking costs more than all the rest of a dump.
const std::array<DumpedByte, 256>& dumpedBytes() {
    static const std::array<DumpedByte, 256> bytes = [] {
        constexpr char digits[] = "0123456789abcdef";
        std::array<DumpedByte, 256> dumped{};
        for (unsigned byte = 0; byte < dumped.size(); ++byte) {
            const bool isGraphic = std::isgraph(static_cast<int>(byte)) != 0;
            dumped[byte] = {{digits[byte >> 4], digits[byte & 0x0F], ' '}, isGraphic ? static_cast<char>(byte) : '.'};
        }
        return dumped;
    }();
    return bytes;
}

} // namespace

TextBuffer& TextBuffer::operator<<(std::wstring_view text) {
    text = text.substr(0, text.find(L'\0'));
    const int count = static_cast<int>(text.size());
    const int size = count != 0 ? WideCharToMultiByte(CP_ACP, 0, text.data(), count, nullptr, 0, nullptr, nullptr) : 0;
    if (size > 0) {
        char* const start = extend(static_cast<std::size_t>(size));
        WideCharToMultiByte(CP_ACP, 0, text.data(), count, start, size, nullptr, nullptr);
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
        dumpLine(rest.first(count));
        rest = rest.subspan(count);
    }
    return *this;
}

void TextBuffer::dumpLine(std::span<const unsigned char> bytes) {
    constexpr std::size_t margin = 5; // the line feed and four blanks
    const std::array<DumpedByte, 256>& dumped = dumpedBytes();
    char* const line = extend(margin + characterColumn + bytesPerLine);
    std::memset(line, ' ', margin + characterColumn + bytesPerLine);
    line[0] = '\n';
    char* hex = line + margin;
    char* characters = line + margin + characterColumn;
    for (const unsigned char byte : bytes) {
        const DumpedByte& text = dumped[byte];
        std::memcpy(hex, text.digits, sizeof text.digits);
        hex += sizeof text.digits;
        *characters++ = text.character;
    }
    text_.resize(static_cast<std::size_t>(characters - text_.data()));
}

TextBuffer& TextBuffer::operator<<(Scientific number) {
    if (std::isfinite(number.value)) { // the same text, several times faster: an index of key frames has thousands
        return appendNumber(number.value, std::chars_format::scientific, 6);
    }
    char text[16];
    std::snprintf(text, sizeof text, "%e", number.value);
    return *this << text;
}

TextBuffer& TextBuffer::operator<<(Hex number) {
    return appendNumber(number.value, 16);
}

} // namespace JY
