#include "tests/fuzz/Mutator.h"

#include "tests/fuzz/EndlessFile.h"
#include "tests/fuzz/FlvLayout.h"
#include "tests/fuzz/RandomScript.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <optional>

namespace JY::Fuzz {

using Test::bigEndian;
using Test::join;

namespace {

constexpr std::size_t mostMutations = 6;
constexpr std::size_t longestInsertion = 40; ///< bytes
constexpr std::size_t firstMediaByte = 9;
constexpr std::size_t previousTagSizeSize = 4;
constexpr std::size_t tagHeaderSize = 11;
constexpr std::size_t dataSizeOffset = 5; ///< in a tag's record

using Difference = Bytes::difference_type;

Bytes::iterator at(Bytes& file, std::size_t offset) {
    return file.begin() + static_cast<Difference>(offset);
}

std::uint64_t numberAt(const Bytes& file, std::size_t offset, std::size_t size) {
    std::uint64_t value = 0;
    for (std::size_t index = 0; index < size; ++index) {
        value = (value << 8) | file[offset + index];
    }
    return value;
}

void put(Bytes& file, std::size_t offset, std::size_t size, std::uint64_t value) {
    std::ranges::copy(bigEndian(value, static_cast<unsigned>(size)), at(file, offset));
}

std::uint64_t highest(std::size_t size) {
    return size >= sizeof(std::uint64_t) ? std::numeric_limits<std::uint64_t>::max()
                                         : (std::uint64_t{1} << (8 * size)) - 1;
}

/// A number that programs get wrong: around nothing, around the ends of ranges, or a little off.
std::uint64_t oddNumber(std::uint64_t value, std::size_t size, Random& random) {
    const std::uint64_t all = highest(size);
    const std::uint64_t sign = all / 2 + 1;
    const std::array<std::uint64_t, 8> choices = {0, 1, 2, all, all - 1, sign, sign - 1, random.next()};
    return random.oneIn(2) ? value + random.below(33) - 16 : random.pick(choices);
}

double oddReal(double value, Random& random) {
    using Limits = std::numeric_limits<double>;
    const std::array<double, 20> choices = {0.0,
                                            -0.0,
                                            -1.0,
                                            0.5,
                                            Limits::quiet_NaN(),
                                            Limits::infinity(),
                                            -Limits::infinity(),
                                            Limits::max(),
                                            Limits::lowest(),
                                            Limits::denorm_min(),
                                            4294967.295,
                                            4294967295.0,
                                            4294967296.0,
                                            9223372036854.775807,
                                            9223372036854775807.0,
                                            18446744073709551616.0,
                                            -9223372036854775808.0,
                                            1e300,
                                            value * 1000,
                                            std::bit_cast<double>(random.next())};
    return random.pick(choices);
}

void changeReal(Bytes& file, const Field& field, Random& random) {
    const auto value = std::bit_cast<double>(numberAt(file, field.offset, 8));
    put(file, field.offset, 8, std::bit_cast<std::uint64_t>(oddReal(value, random)));
}

/// A size: odd, or about what is left of the file behind it.
void changeSize(Bytes& file, const Field& field, Random& random) {
    const std::uint64_t value = random.oneIn(3)
                                    ? file.size() - field.offset - field.size + random.below(21) - 10
                                    : oddNumber(numberAt(file, field.offset, field.size), field.size, random);
    put(file, field.offset, field.size, value);
}

void changeTime(Bytes& file, const Field& field, Random& random) {
    static constexpr std::array<std::uint64_t, 8> times = {0, 1, 999, 1000, 1001, 4'294'967, 4'294'968, 0x7FFFFF};
    const std::uint64_t value =
        random.oneIn(2) ? random.pick(times) : oddNumber(numberAt(file, field.offset, field.size), field.size, random);
    put(file, field.offset, field.size, value);
}

void flipBit(Bytes& file, std::size_t offset, Random& random) {
    file[offset] = static_cast<std::uint8_t>(file[offset] ^ (1U << random.below(8)));
}

void changeField(Bytes& file, const Field& field, Random& random) {
    static constexpr std::array<std::uint8_t, 8> types = {8, 9, 18, 0x28, 0x29, 0x32, 0, 0xFF};
    const std::size_t somewhere = field.offset + random.below(field.size);
    switch (field.kind) {
    case FieldKind::flags:
        return flipBit(file, somewhere, random);
    case FieldKind::number:
        return put(file, field.offset, field.size,
                   oddNumber(numberAt(file, field.offset, field.size), field.size, random));
    case FieldKind::size:
        return changeSize(file, field, random);
    case FieldKind::time:
        return changeTime(file, field, random);
    case FieldKind::tagType:
        file[field.offset] = random.pick(types);
        return;
    case FieldKind::marker:
        file[field.offset] = static_cast<std::uint8_t>(random.below(18));
        return;
    case FieldKind::real:
        return changeReal(file, field, random);
    case FieldKind::text:
    case FieldKind::payload:
        file[somewhere] = random.byte();
        return;
    }
}

void changeSomeField(Bytes& file, Random& random) {
    const FlvLayout layout = layoutOf(file);
    if (layout.fields.empty()) {
        return;
    }
    // The later ones more often: without the first, which tell what the file is, the rest is not looked at.
    const std::size_t last = random.below(layout.fields.size()) + 1;
    const std::size_t chosen = random.oneIn(2) ? last - 1 : layout.fields.size() - 1 - random.below(last);
    changeField(file, layout.fields[chosen], random);
}

/// Puts `bytes` in the place of a part of the file.
void replace(Bytes& file, std::size_t start, std::size_t end, const Bytes& bytes) {
    file.erase(at(file, start), at(file, end));
    file.insert(at(file, start), bytes.begin(), bytes.end());
}

Bytes part(const Bytes& file, std::size_t start, std::size_t end) {
    return Bytes(file.begin() + static_cast<Difference>(start), file.begin() + static_cast<Difference>(end));
}

Bytes randomBytes(Random& random) {
    Bytes bytes(1 + random.below(longestInsertion));
    const bool areEqual = random.oneIn(3);
    const std::uint8_t same = random.oneIn(2) ? 0xFF : 0;
    std::ranges::generate(bytes, [&] { return areEqual ? same : random.byte(); });
    return bytes;
}

struct Range {
    std::size_t start;
    std::size_t end;
};

Range randomRange(const Bytes& file, Random& random) {
    const std::size_t start = random.below(file.size());
    return {start, start + random.below(std::min(longestInsertion, file.size() - start) + 1)};
}

std::optional<TagPlace> randomTag(const Bytes& file, Random& random) {
    const FlvLayout layout = layoutOf(file);
    return layout.tags.empty() ? std::nullopt : std::optional(layout.tags[random.below(layout.tags.size())]);
}

/// Gives a tag another body, with the sizes that tell of it.
void setBody(Bytes& file, const TagPlace& tag, const Bytes& body) {
    put(file, tag.record + dataSizeOffset, 3, body.size());
    replace(file, tag.body, tag.end, body);
    const std::size_t next = tag.body + body.size();
    if (next + previousTagSizeSize <= file.size()) {
        put(file, next, previousTagSizeSize, tagHeaderSize + body.size());
    }
}

void resizeBody(Bytes& file, Random& random) {
    if (const auto tag = randomTag(file, random)) {
        Bytes body = part(file, tag->body, tag->end);
        if (random.oneIn(2) || body.empty()) {
            const Bytes more = randomBytes(random);
            body.insert(at(body, random.below(body.size() + 1)), more.begin(), more.end());
        } else {
            body.resize(random.below(body.size()));
        }
        setBody(file, *tag, body);
    }
}

void replaceScript(Bytes& file, Random& random) {
    const FlvLayout layout = layoutOf(file);
    for (const TagPlace& tag : layout.tags) {
        if (file[tag.record + 4] == 18) {
            return setBody(file, tag, randomScript(random));
        }
    }
}

void repeatTag(Bytes& file, Random& random) {
    if (const auto tag = randomTag(file, random)) {
        const Bytes copy = part(file, tag->record, tag->end);
        const FlvLayout layout = layoutOf(file);
        const TagPlace& place = layout.tags[random.below(layout.tags.size())];
        replace(file, place.record, place.record, copy);
    }
}

void removeTag(Bytes& file, Random& random) {
    if (const auto tag = randomTag(file, random)) {
        replace(file, tag->record, tag->end, {});
    }
}

/// Makes the sizes of previous tags right again, so that walking back finds the tags.
void repairPreviousTagSizes(Bytes& file) {
    const FlvLayout layout = layoutOf(file);
    std::size_t previous = 0;
    for (const TagPlace& tag : layout.tags) {
        put(file, tag.record, previousTagSizeSize, previous);
        previous = tagHeaderSize + tag.end - tag.body;
    }
}

void insertBytes(Bytes& file, Random& random) {
    const std::size_t place = random.below(file.size() + 1);
    replace(file, place, place, randomBytes(random));
}

void removeBytes(Bytes& file, Random& random) {
    const Range range = randomRange(file, random);
    replace(file, range.start, range.end, {});
}

void repeatBytes(Bytes& file, Random& random) {
    const Range range = randomRange(file, random);
    const Bytes copy = part(file, range.start, range.end);
    const std::size_t place = random.below(file.size() + 1);
    replace(file, place, place, copy);
}

void truncate(Bytes& file, Random& random) {
    file.resize(random.oneIn(2) ? random.below(file.size())
                                : file.size() - random.below(std::min<std::size_t>(file.size(), 20)));
}

} // namespace

Bytes Mutator::makeFile(Random& random) const {
    Bytes file = random.pick(std::span(corpus_)).bytes;
    for (std::size_t left = random.oneIn(16) ? 0 : 1 + random.below(1 + random.below(mostMutations)); left != 0;
         --left) {
        mutate(file, random);
    }
    if (random.oneIn(4)) {
        repairPreviousTagSizes(file);
    }
    if (!random.oneIn(16)) {
        leaveTheFirstSecond(file); // most files shall be opened: they need a tag behind which nobody waits
    }
    file.resize(std::min(file.size(), largestFile));
    return file;
}

void Mutator::mutate(Bytes& file, Random& random) const {
    if (file.size() <= firstMediaByte) {
        return insertBytes(file, random);
    }
    switch (random.below(24)) {
    case 0:
        return flipBit(file, random.below(file.size()), random);
    case 1:
        file[random.below(file.size())] = random.byte();
        return;
    case 2:
        return insertBytes(file, random);
    case 3:
        return removeBytes(file, random);
    case 4:
        return repeatBytes(file, random);
    case 5:
        return random.oneIn(3) ? truncate(file, random) : removeTag(file, random);
    case 6:
        return splice(file, random);
    case 7:
        return repeatTag(file, random);
    case 8:
    case 9:
        return resizeBody(file, random);
    case 10:
        return replaceScript(file, random);
    default:
        return changeSomeField(file, random);
    }
}

/// The start of the file and the end of another one: cut between tags, or anywhere.
void Mutator::splice(Bytes& file, Random& random) const {
    Bytes other = random.pick(std::span(corpus_)).bytes;
    const auto cut = [&](Bytes& bytes) {
        const auto tag = randomTag(bytes, random);
        return tag && !random.oneIn(3) ? tag->record : random.below(bytes.size());
    };
    const std::size_t end = cut(file);
    const std::size_t start = cut(other);
    file = join({part(file, 0, end), part(other, start, other.size())});
}

} // namespace JY::Fuzz
