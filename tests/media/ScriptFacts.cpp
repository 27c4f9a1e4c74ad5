#include "tests/media/ScriptFacts.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace JY::Test {

namespace {

enum Marker : std::uint8_t {
    number = 0,
    boolean = 1,
    string = 2,
    object = 3,
    ecmaArray = 8,
    strictArray = 10,
    date = 11
};

/// Any other marker has no value.
constexpr std::uint8_t nothing = 9;

struct Value {
    std::uint8_t marker = nothing;
    double amount = 0;
    std::vector<std::pair<std::string, Value>> members;
    std::vector<Value> items;
};

/// The script data are no such.
struct Unreadable {};

class ScriptReader {
public:
    explicit ScriptReader(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

    std::string name() {
        const auto length = static_cast<std::size_t>(bits(2));
        const auto characters = take(length);
        return {characters.begin(), characters.end()};
    }

    Value value() {
        Value result;
        result.marker = static_cast<std::uint8_t>(bits(1));
        switch (result.marker) {
        case number:
            result.amount = std::bit_cast<double>(bits(8));
            break;
        case boolean:
            bits(1);
            break;
        case string:
            name();
            break;
        case ecmaArray:
            bits(4);
            [[fallthrough]];
        case object:
            result.members = members();
            break;
        case strictArray:
            for (auto left = static_cast<std::int32_t>(bits(4)); left > 0; --left) {
                result.items.push_back(value());
            }
            break;
        case date:
            take(10);
            break;
        case 5:
        case 6:
        case nothing:
            result.marker = nothing;
            break;
        default:
            throw Unreadable{};
        }
        return result;
    }

private:
    std::span<const std::uint8_t> take(std::size_t count) {
        if (count > rest_.size()) {
            throw Unreadable{};
        }
        const auto taken = rest_.first(count);
        rest_ = rest_.subspan(count);
        return taken;
    }

    std::uint64_t bits(std::size_t bytes) {
        std::uint64_t result = 0;
        for (const std::uint8_t byte : take(bytes)) {
            result = result << 8 | byte;
        }
        return result;
    }

    std::vector<std::pair<std::string, Value>> members() {
        std::vector<std::pair<std::string, Value>> result;
        for (;;) {
            std::string key = name();
            Value member = value();
            if (member.marker == nothing) {
                return result;
            }
            result.emplace_back(std::move(key), std::move(member));
        }
    }

    std::span<const std::uint8_t> rest_;
};

/// The first of that name; nothing when there is none of that kind.
const Value* find(const Value& among, const std::string& name, std::uint8_t marker) {
    const auto found = std::ranges::find(among.members, name, &std::pair<std::string, Value>::first);
    return found != among.members.end() && found->second.marker == marker ? &found->second : nullptr;
}

std::vector<IndexedKeyFrame> indexOf(const Value& metaData) {
    const Value* const keyFrames = find(metaData, "keyframes", object);
    if (keyFrames == nullptr || keyFrames->members.size() != 2) {
        return {};
    }
    const Value* const positions = find(*keyFrames, "filepositions", strictArray);
    const Value* const times = find(*keyFrames, "times", strictArray);
    if (positions == nullptr || times == nullptr || positions->items.size() != times->items.size()) {
        return {};
    }
    std::vector<IndexedKeyFrame> result;
    for (std::size_t entry = 0; entry < times->items.size(); ++entry) {
        result.push_back({static_cast<std::int64_t>(times->items[entry].amount * 1'000'000),
                          static_cast<std::int64_t>(positions->items[entry].amount)});
    }
    return result;
}

} // namespace

std::optional<ScriptFacts> readScript(std::span<const std::uint8_t> body) {
    try {
        if (body.empty() || body.front() != string) {
            return std::nullopt;
        }
        ScriptReader reader(body.subspan(1));
        const std::string name = reader.name();
        const Value value = reader.value();
        ScriptFacts facts;
        if (name == "onMetaData" && value.marker == ecmaArray) {
            for (const auto& [key, member] : value.members) {
                if (member.marker == number) {
                    facts.numbers.emplace(key, member.amount);
                }
            }
            facts.index = indexOf(value);
        }
        return facts;
    } catch (const Unreadable&) {
        return std::nullopt;
    }
}

} // namespace JY::Test
