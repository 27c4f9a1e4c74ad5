#include "tools/Json.h"

#include <array>
#include <cstdio>

namespace JY::Tools {

std::string jsonEscaped(std::string_view text) {
    std::string result;
    for (const char character : text) {
        if (character == '"' || character == '\\') {
            result += '\\';
            result += character;
        } else if (static_cast<unsigned char>(character) < 0x20) {
            std::array<char, 8> escape{};
            std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(character));
            result += escape.data();
        } else {
            result += character;
        }
    }
    return result;
}

void JsonWriter::beginObject() {
    open('{');
}

void JsonWriter::endObject() {
    close('}');
}

void JsonWriter::beginArray() {
    open('[');
}

void JsonWriter::endArray() {
    close(']');
}

void JsonWriter::name(std::string_view text) {
    separate();
    quoted(text);
    out_ << ": ";
    afterName_ = true;
}

void JsonWriter::value(std::string_view text) {
    separate();
    quoted(text);
}

void JsonWriter::value(bool yes) {
    number(yes ? "true" : "false");
}

void JsonWriter::value(std::uint64_t number_) {
    number(std::to_string(number_));
}

void JsonWriter::null() {
    number("null");
}

void JsonWriter::number(std::string_view digits) {
    separate();
    out_ << digits;
}

/// What stands before a name or a value: nothing behind a name, else a comma and a new line as needed.
void JsonWriter::separate() {
    if (afterName_) {
        afterName_ = false;
        return;
    }
    if (filled_.empty()) {
        return;
    }
    if (filled_.back()) {
        out_ << ',';
    }
    filled_.back() = true;
    newLine();
}

void JsonWriter::open(char bracket) {
    separate();
    out_ << bracket;
    filled_.push_back(false);
}

void JsonWriter::close(char bracket) {
    const bool filled = filled_.back();
    filled_.pop_back();
    if (filled) {
        newLine();
    }
    out_ << bracket;
    if (filled_.empty()) {
        out_ << '\n';
    }
}

void JsonWriter::newLine() {
    out_ << '\n' << std::string(filled_.size() * 2, ' ');
}

void JsonWriter::quoted(std::string_view text) {
    out_ << '"' << jsonEscaped(text) << '"';
}

} // namespace JY::Tools
