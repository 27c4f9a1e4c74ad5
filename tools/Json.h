#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace JY::Tools {

/// Writes one JSON document piece by piece. Commas and line breaks come by themselves; the caller pairs the brackets.
class JsonWriter {
public:
    explicit JsonWriter(std::ostream& out) : out_(out) {}

    void beginObject();
    void endObject();
    void beginArray();
    void endArray();
    /// The name of the next value, inside an object.
    void name(std::string_view text);

    /// @param text UTF-8.
    void value(std::string_view text);
    void value(const char* text) { value(std::string_view(text)); }
    void value(bool yes);
    void value(std::uint64_t number);
    void null();
    /// A number that is written already.
    void number(std::string_view digits);

    template <typename Value>
    void member(std::string_view memberName, const Value& memberValue) {
        name(memberName);
        value(memberValue);
    }

private:
    void separate();
    void open(char bracket);
    void close(char bracket);
    void newLine();
    void quoted(std::string_view text);

    std::ostream& out_;
    /// For every open bracket, whether something stands behind it.
    std::vector<bool> filled_;
    bool afterName_ = false;
};

/// The text as it stands between the quotation marks of a JSON string.
/// @param text UTF-8.
std::string jsonEscaped(std::string_view text);

} // namespace JY::Tools
