#pragma once

#include <windows.h>

#include <boost/container/small_vector.hpp>

#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

namespace JY {

/// Bytes to be written as a hex dump: lines of 16, each with a line feed and four blanks in front, the bytes as "%02x
/// ", and the printable characters from column 48 on. A null pointer writes nothing.
struct HexDump {
    const void* data;
    std::size_t size; ///< bytes
};

/// A number to be written as "%e".
struct Scientific {
    double value;
};

/// A number to be written as "%x".
struct Hex {
    unsigned long long value;
};

/// Growing narrow text that log records and exception messages are built in. Text of ordinary length stays inside the
/// object, so building it allocates nothing. Not for use by two threads at once.
class TextBuffer {
public:
    std::string_view view() const { return {text_.data(), text_.size()}; }
    std::string str() const { return std::string(view()); }
    bool empty() const { return text_.empty(); }
    void clear() { text_.clear(); }
    /// Writes `text` over what stands at `position`, which must be at least as long.
    void replace(std::size_t position, std::string_view text) {
        std::memcpy(text_.data() + position, text.data(), text.size());
    }

    /// Inline, so that a literal, whose size is known, costs a few instructions.
    TextBuffer& operator<<(std::string_view text) {
        if (!text.empty()) {
            std::memcpy(extend(text.size()), text.data(), text.size());
        }
        return *this;
    }
    TextBuffer& operator<<(const std::string& text) { return *this << std::string_view(text); }
    /// A null pointer is written as "(null)", here and for wide text.
    TextBuffer& operator<<(const char* text) {
        return *this << (text != nullptr ? std::string_view(text) : std::string_view("(null)"));
    }
    /// Wide text is converted to the ANSI code page and ends at its first NUL.
    TextBuffer& operator<<(std::wstring_view text);
    TextBuffer& operator<<(const std::wstring& text) { return *this << std::wstring_view(text); }
    TextBuffer& operator<<(const wchar_t* text);
    TextBuffer& operator<<(char character);
    TextBuffer& operator<<(const GUID& guid);
    TextBuffer& operator<<(HexDump dump);
    TextBuffer& operator<<(Scientific number);
    TextBuffer& operator<<(Hex number);
    /// Integers of any width in decimal; bool as 0 or 1.
    template <std::integral Number>
    requires(!std::same_as<Number, char> && !std::same_as<Number, wchar_t>) TextBuffer& operator<<(Number number) {
        if constexpr (std::same_as<Number, bool>) {
            return *this << (number ? '1' : '0');
        } else {
            return appendNumber(number);
        }
    }

private:
    static constexpr std::size_t inlineCapacity = 512;
    static constexpr std::size_t mostCharacters = 24; ///< of a number

    /// Appends `count` characters, which the caller writes.
    char* extend(std::size_t count) {
        const std::size_t old = text_.size();
        text_.resize(old + count, boost::container::default_init);
        return text_.data() + old;
    }
    /// What std::to_chars writes, 24 characters at most, in place.
    template <class... NumberAndForm>
    TextBuffer& appendNumber(NumberAndForm... numberAndForm) {
        char* const start = extend(mostCharacters);
        const char* const end = std::to_chars(start, start + mostCharacters, numberAndForm...).ptr;
        text_.resize(static_cast<std::size_t>(end - text_.data()));
        return *this;
    }
    void dumpLine(std::span<const unsigned char> bytes);

    boost::container::small_vector<char, inlineCapacity> text_;
};

} // namespace JY
