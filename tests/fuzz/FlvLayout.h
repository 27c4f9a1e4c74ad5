#pragma once

#include "tests/support/Bytes.h"

#include <cstddef>
#include <vector>

namespace JY::Fuzz {

using Test::Bytes;

enum class FieldKind {
    flags,   ///< single bits decide
    number,  ///< an integer of the field's size
    size,    ///< an integer that counts bytes or things
    time,    ///< milliseconds
    tagType, ///< the type byte of a tag
    marker,  ///< of an AMF0 value
    real,    ///< an AMF0 number
    text,    ///< characters
    payload, ///< compressed data
};

/// A part of a file that means one thing.
struct Field {
    FieldKind kind;
    std::size_t offset;
    std::size_t size;
};

/// Where a tag lies: its record from the size of the tag before, its body, and the end of that.
struct TagPlace {
    std::size_t record;
    std::size_t body;
    std::size_t end;
};

/// What a file seems to be made of, as far as it can be followed. Works on any bytes.
struct FlvLayout {
    std::vector<TagPlace> tags;
    std::vector<Field> fields;
};

FlvLayout layoutOf(const Bytes& file);

} // namespace JY::Fuzz
