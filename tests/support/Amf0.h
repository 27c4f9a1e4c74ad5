#pragma once

#include "tests/support/Bytes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Encodes AMF0, the encoding of FLV script data. Every function gives a marked value but `key`.
namespace JY::Test::Amf0 {

struct Member {
    std::string key;
    Bytes value; ///< a marked value
};
using Members = std::vector<Member>;

Bytes number(double value);
Bytes boolean(bool value);
Bytes string(std::string_view value);
Bytes null();
Bytes undefined();
/// The marker alone; `object` and `ecmaArray` put the empty key in front of it.
Bytes objectEnd();
/// Milliseconds since 1970, and the time zone's offset.
Bytes date(double milliseconds, std::int16_t offset);
/// Closed by an empty key and an object end unless `closed` is false.
Bytes object(const Members& members, bool closed = true);
/// `count` is the declared number of members; the real one by default.
Bytes ecmaArray(const Members& members, std::optional<std::uint32_t> count = {}, bool closed = true);
/// `count` is the declared number of elements; the real one by default.
Bytes strictArray(const std::vector<Bytes>& elements, std::optional<std::uint32_t> count = {});
/// A strict array of numbers.
Bytes numbers(const std::vector<double>& values);
/// A marker byte with nothing behind it.
Bytes marker(std::uint8_t value);
/// A string without a marker, as the keys of members are written.
Bytes key(std::string_view value);

} // namespace JY::Test::Amf0
