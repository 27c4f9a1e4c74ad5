#include "tests/fuzz/FlvLayout.h"

#include <algorithm>
#include <cstdint>

namespace JY::Fuzz {

namespace {

constexpr std::size_t headerSize = 9;
constexpr std::size_t recordSize = 15;
constexpr unsigned deepest = 64;

/// Goes over a range of the file and notes the fields in it; nothing beyond the range is noted.
class FieldReader {
public:
    FieldReader(const Bytes& file, std::size_t start, std::size_t end, std::vector<Field>& fields)
        : file_(file), place_(start), end_(end), fields_(fields) {}

    std::size_t left() const { return end_ - place_; }

    /// The field as a number; 0 when it does not fit.
    std::size_t take(FieldKind kind, std::size_t size) {
        if (size > left()) {
            place_ = end_;
            return 0;
        }
        if (size != 0) {
            fields_.push_back({kind, place_, size});
        }
        std::size_t value = 0;
        for (std::size_t index = 0; index < size; ++index) {
            value = (value << 8) | file_[place_ + index];
        }
        place_ += size;
        return value;
    }
    void takeUpTo(FieldKind kind, std::size_t size) { take(kind, std::min(size, left())); }

private:
    const Bytes& file_;
    std::size_t place_;
    std::size_t end_;
    std::vector<Field>& fields_;
};

void readText(FieldReader& reader) {
    reader.takeUpTo(FieldKind::text, reader.take(FieldKind::size, 2));
}

/// Returns whether the value is one that ends an object.
bool readValue(FieldReader& reader, unsigned depth);

void readMembers(FieldReader& reader, unsigned depth) {
    while (reader.left() != 0) {
        readText(reader);
        if (readValue(reader, depth)) {
            return;
        }
    }
}

bool readValue(FieldReader& reader, unsigned depth) {
    if (depth == deepest || reader.left() == 0) {
        return true;
    }
    switch (reader.take(FieldKind::marker, 1)) {
    case 0:
        reader.take(FieldKind::real, 8);
        return false;
    case 1:
        reader.take(FieldKind::number, 1);
        return false;
    case 2:
        readText(reader);
        return false;
    case 3:
        readMembers(reader, depth + 1);
        return false;
    case 8:
        reader.take(FieldKind::size, 4);
        readMembers(reader, depth + 1);
        return false;
    case 10:
        for (std::size_t count = reader.take(FieldKind::size, 4); count != 0 && reader.left() != 0; --count) {
            readValue(reader, depth + 1);
        }
        return false;
    case 11:
        reader.take(FieldKind::real, 8);
        reader.take(FieldKind::number, 2);
        return false;
    default:
        return true;
    }
}

void readScript(FieldReader& reader) {
    reader.take(FieldKind::marker, 1);
    readText(reader);
    readValue(reader, 0);
}

void readAudio(FieldReader& reader) {
    const std::size_t header = reader.take(FieldKind::flags, 1);
    if (header >> 4 == 10 && reader.take(FieldKind::number, 1) == 0) {
        reader.takeUpTo(FieldKind::flags, 2);
    }
    reader.takeUpTo(FieldKind::flags, 4); // of a frame: the header when it is MP3
    reader.takeUpTo(FieldKind::payload, reader.left());
}

void readParameterSets(FieldReader& reader, std::size_t count) {
    for (; count != 0 && reader.left() != 0; --count) {
        reader.takeUpTo(FieldKind::payload, reader.take(FieldKind::size, 2));
    }
}

void readConfiguration(FieldReader& reader, std::size_t& naluLengthSize) {
    reader.take(FieldKind::number, 1);
    reader.take(FieldKind::number, 1);
    reader.take(FieldKind::number, 1);
    reader.take(FieldKind::number, 1);
    naluLengthSize = (reader.take(FieldKind::flags, 1) & 3) + 1;
    readParameterSets(reader, reader.take(FieldKind::size, 1) & 0x1F);
    readParameterSets(reader, reader.take(FieldKind::size, 1));
}

void readVideo(FieldReader& reader, std::size_t& naluLengthSize) {
    if ((reader.take(FieldKind::flags, 1) & 0x0F) != 7) {
        reader.takeUpTo(FieldKind::payload, reader.left());
        return;
    }
    const std::size_t packetType = reader.take(FieldKind::number, 1);
    reader.take(FieldKind::time, 3);
    if (packetType == 0) {
        readConfiguration(reader, naluLengthSize);
    }
    while (reader.left() != 0) {
        reader.takeUpTo(FieldKind::payload, reader.take(FieldKind::size, naluLengthSize));
    }
}

} // namespace

FlvLayout layoutOf(const Bytes& file) {
    FlvLayout layout;
    FieldReader header(file, 0, std::min(headerSize, file.size()), layout.fields);
    header.take(FieldKind::number, 3);
    header.take(FieldKind::number, 1);
    header.take(FieldKind::flags, 1);
    header.take(FieldKind::number, 4);
    std::size_t naluLengthSize = 4;
    std::size_t place = headerSize;
    while (place + recordSize <= file.size()) {
        FieldReader record(file, place, place + recordSize, layout.fields);
        record.take(FieldKind::size, 4);
        const std::size_t type = record.take(FieldKind::tagType, 1);
        const std::size_t size = record.take(FieldKind::size, 3);
        record.take(FieldKind::time, 3);
        record.take(FieldKind::time, 1);
        record.take(FieldKind::number, 3);
        const std::size_t body = place + recordSize;
        const std::size_t end = std::min(body + size, file.size());
        layout.tags.push_back({place, body, end});
        FieldReader reader(file, body, end, layout.fields);
        switch (type & 0x1F) {
        case 8:
            readAudio(reader);
            break;
        case 9:
            readVideo(reader, naluLengthSize);
            break;
        case 18:
            readScript(reader);
            break;
        default:
            reader.takeUpTo(FieldKind::payload, reader.left());
        }
        place = body + size;
    }
    return layout;
}

} // namespace JY::Fuzz
