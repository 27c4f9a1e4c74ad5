#include "tests/support/Amf0.h"

#include <bit>

namespace JY::Test::Amf0 {

namespace {

Bytes doubleBytes(double value) {
    return bigEndian(std::bit_cast<std::uint64_t>(value), 8);
}

Bytes memberBytes(const Members& members, bool closed) {
    Bytes result;
    for (const Member& member : members) {
        result = join({result, key(member.key), member.value});
    }
    return closed ? join({result, key(""), objectEnd()}) : result;
}

} // namespace

Bytes number(double value) {
    return join({marker(0), doubleBytes(value)});
}

Bytes boolean(bool value) {
    return {1, static_cast<std::uint8_t>(value ? 1 : 0)};
}

Bytes string(std::string_view value) {
    return join({marker(2), key(value)});
}

Bytes null() {
    return marker(5);
}

Bytes undefined() {
    return marker(6);
}

Bytes objectEnd() {
    return marker(9);
}

Bytes date(double milliseconds, std::int16_t offset) {
    return join({marker(11), doubleBytes(milliseconds), bigEndian(static_cast<std::uint16_t>(offset), 2)});
}

Bytes object(const Members& members, bool closed) {
    return join({marker(3), memberBytes(members, closed)});
}

Bytes ecmaArray(const Members& members, std::optional<std::uint32_t> count, bool closed) {
    return join({marker(8), bigEndian(count.value_or(static_cast<std::uint32_t>(members.size())), 4),
                 memberBytes(members, closed)});
}

Bytes strictArray(const std::vector<Bytes>& elements, std::optional<std::uint32_t> count) {
    Bytes result = join({marker(10), bigEndian(count.value_or(static_cast<std::uint32_t>(elements.size())), 4)});
    for (const Bytes& element : elements) {
        result = join({result, element});
    }
    return result;
}

Bytes numbers(const std::vector<double>& values) {
    std::vector<Bytes> elements;
    for (const double value : values) {
        elements.push_back(number(value));
    }
    return strictArray(elements);
}

Bytes marker(std::uint8_t value) {
    return {value};
}

Bytes key(std::string_view value) {
    return join({bigEndian(value.size(), 2), characters(value)});
}

} // namespace JY::Test::Amf0
