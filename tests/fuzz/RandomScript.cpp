#include "tests/fuzz/RandomScript.h"

#include "tests/support/Amf0.h"

#include <array>
#include <limits>
#include <optional>
#include <string>

namespace JY::Fuzz {

using Test::Bytes;
using Test::join;
namespace Amf0 = Test::Amf0;

namespace {

constexpr unsigned deepest = 5;
constexpr std::size_t mostNested = 200; ///< levels of a tower of arrays
constexpr std::array<const char*, 9> keys = {"duration", "width",         "height", "framerate", "keyframes",
                                             "times",    "filepositions", "",       "title"};

std::optional<std::uint32_t> someCount(Random& random) {
    static constexpr std::array<std::uint32_t, 5> lies = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    return random.oneIn(6) ? std::optional(random.pick(lies)) : std::nullopt;
}

double someReal(Random& random) {
    static constexpr std::array<double, 8> reals = {
        0, 1, 25, 320, -1, 1e300, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()};
    return random.pick(reals);
}

Bytes someValue(Random& random, unsigned depth);

Amf0::Members someMembers(Random& random, unsigned depth) {
    Amf0::Members members;
    for (std::size_t left = random.below(6); left != 0; --left) {
        members.push_back({random.pick(keys), someValue(random, depth)});
    }
    return members;
}

Bytes someStrictArray(Random& random, unsigned depth) {
    std::vector<Bytes> elements;
    for (std::size_t left = random.below(6); left != 0; --left) {
        elements.push_back(someValue(random, depth));
    }
    return Amf0::strictArray(elements, someCount(random));
}

Bytes tower(Random& random) {
    Bytes value = Amf0::number(1);
    for (std::size_t left = random.below(mostNested); left != 0; --left) {
        value = Amf0::strictArray({value});
    }
    return value;
}

Bytes someValue(Random& random, unsigned depth) {
    switch (random.below(depth == deepest ? 7 : 12)) {
    case 0:
        return Amf0::boolean(random.oneIn(2));
    case 1:
        return Amf0::string(std::string(random.below(300), 'x'));
    case 2:
        return Amf0::null();
    case 3:
        return Amf0::date(someReal(random), static_cast<std::int16_t>(random.next()));
    case 4:
        return random.oneIn(8) ? Amf0::marker(random.byte()) : Amf0::undefined();
    case 5:
    case 6:
        return Amf0::number(someReal(random));
    case 7:
        return Amf0::object(someMembers(random, depth + 1), !random.oneIn(6));
    case 8:
        return Amf0::ecmaArray(someMembers(random, depth + 1), someCount(random), !random.oneIn(6));
    case 9:
    case 10:
        return someStrictArray(random, depth + 1);
    default:
        return tower(random);
    }
}

/// An index whose arrays may differ in length and hold anything.
Bytes someIndex(Random& random) {
    const auto entries = [&] {
        std::vector<Bytes> values;
        for (std::size_t left = random.below(8); left != 0; --left) {
            values.push_back(random.oneIn(12) ? someValue(random, deepest)
                                              : Amf0::number(static_cast<double>(random.below(2000))));
        }
        return Amf0::strictArray(values, someCount(random));
    };
    return Amf0::object({{"filepositions", entries()}, {"times", entries()}});
}

Amf0::Member usualMember(const char* key, double value, Random& random) {
    return {key, random.oneIn(8) ? someValue(random, 0) : Amf0::number(random.oneIn(4) ? someReal(random) : value)};
}

} // namespace

Bytes randomScript(Random& random) {
    Amf0::Members members = {usualMember("duration", 3, random), usualMember("width", 320, random),
                             usualMember("height", 240, random), usualMember("framerate", 25, random)};
    if (random.oneIn(2)) {
        members.push_back({"keyframes", someIndex(random)});
    }
    for (const Amf0::Member& member : someMembers(random, 0)) {
        members.push_back(member);
    }
    return join({Amf0::string(random.oneIn(12) ? "" : "onMetaData"),
                 random.oneIn(12) ? someValue(random, 0) : Amf0::ecmaArray(members, someCount(random))});
}

} // namespace JY::Fuzz
