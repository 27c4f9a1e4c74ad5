#include "flv/Amf0Reader.h"

#include "flv/BigEndian.h"
#include "flv/FlvMetaData.h"
#include "flv/NumberConversion.h"
#include "util/ErrorException.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

namespace JY::Pictaro::Fs {

namespace {

constexpr SourceFile here{"FlvMetaData"};

enum Marker : std::uint8_t {
    number = 0,
    boolean = 1,
    string = 2,
    object = 3,
    null = 5,
    undefined = 6,
    ecmaArray = 8,
    objectEnd = 9,
    strictArray = 10,
    date = 11
};

constexpr std::int64_t ecmaArrayCountSize = 4;

constexpr const char* parseError = "Script parse error.";

template <class Number>
Number require(const std::optional<Number>& number, SourcePosition position) {
    if (!number) {
        throw ErrorException(position, parseError);
    }
    return *number;
}

template <std::unsigned_integral Number>
Number requireBigEndian(Stream& stream, SourcePosition position) {
    return require(readBigEndian<Number>(stream), position);
}

double requireDouble(Stream& stream, SourcePosition position) {
    return std::bit_cast<double>(requireBigEndian<std::uint64_t>(stream, position));
}

bool isEndMarker(const MetaDatum& value) {
    return boost::get<EndMarker>(&value) != nullptr;
}

constexpr std::size_t largestTag = std::size_t{1} << 24;
constexpr std::size_t smallestNumber = 9; ///< bytes in the file
static_assert(largestTag / smallestNumber * sizeof(MetaDatum) < Amf0Reader::maxMemory, "every index must fit");

/// The memory of a member: a node of the tree that a map is.
template <class Members>
constexpr std::size_t memberSize = sizeof(typename Members::value_type) + 4 * sizeof(void*);

/// Adds an element to an array whose count is not to be believed: room is made as elements come. The elements in place
/// are moved there; the vector itself would copy all that they hold.
void append(std::vector<MetaDatum>& elements, MetaDatum value) {
    if (elements.size() == elements.capacity()) {
        std::vector<MetaDatum> larger;
        larger.reserve(std::max<std::size_t>(1, 2 * elements.size()));
        std::ranges::move(elements, std::back_inserter(larger));
        elements.swap(larger);
    }
    elements.push_back(std::move(value));
}

} // namespace

/// Counts the levels of nesting that are being read.
class Amf0Reader::Level {
public:
    explicit Level(unsigned& depth) : depth_(depth) {
        if (depth_ == maxDepth) {
            throw ErrorException(here(), parseError);
        }
        ++depth_;
    }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;
    ~Level() { --depth_; }

private:
    unsigned& depth_;
};

std::string Amf0Reader::readString() {
    const auto size = requireBigEndian<std::uint16_t>(stream_, here.at(205));
    std::string text(size, '\0');
    if (size != 0 && stream_.read(text.data(), size) != size) {
        throw ErrorException(here.at(208), parseError);
    }
    return text;
}

MetaDatum Amf0Reader::readValue() {
    const Level level(depth_);
    return readBody(requireBigEndian<std::uint8_t>(stream_, here.at(183)));
}

MetaDatum Amf0Reader::readBody(std::uint8_t marker) {
    switch (marker) {
    case number:
        return readNumber();
    case boolean:
        return readBoolean();
    case string:
        return readMarkedString();
    case object:
        return readObject();
    case null:
    case undefined:
    case objectEnd:
        return EndMarker::value;
    case ecmaArray:
        return readEcmaArray();
    case strictArray:
        return readStrictArray();
    case date:
        return readDate();
    default:
        throw FlvMetaData::MetaDataNotFoundException(here.at(198), parseError);
    }
}

MetaDatum Amf0Reader::readNumber() {
    const double value = requireDouble(stream_, here.at(215));
    log_.info(here()) << "Number=" << Scientific{value};
    return static_cast<long double>(value);
}

MetaDatum Amf0Reader::readBoolean() {
    const bool value = requireBigEndian<std::uint8_t>(stream_, here.at(223)) != 0;
    log_.info(here()) << "Boolean=" << (value ? "true" : "false");
    return value;
}

MetaDatum Amf0Reader::readMarkedString() {
    std::string value = readString();
    log_.info(here()) << "String=" << value;
    return value;
}

MetaDatum Amf0Reader::readObject() {
    takeMemory(sizeof(MetaObject));
    MetaObject value;
    readMembers(value.members, "Object[");
    return value;
}

MetaDatum Amf0Reader::readEcmaArray() {
    stream_.skip(ecmaArrayCountSize); // the members tell where they end
    takeMemory(sizeof(MetaEcmaArray));
    MetaEcmaArray value;
    readMembers(value.members, "EcmaArray[");
    return value;
}

MetaDatum Amf0Reader::readStrictArray() {
    const auto count = static_cast<std::int32_t>(requireBigEndian<std::uint32_t>(stream_, here.at(265)));
    takeMemory(sizeof(MetaStrictArray));
    MetaStrictArray value;
    if (count < 1) {
        return value;
    }
    for (std::int32_t index = 0; index < count; ++index) {
        logMember("StrictArray[", std::to_string(index));
        takeMemory(sizeof(MetaDatum));
        append(value.elements, readValue());
    }
    return value;
}

MetaDatum Amf0Reader::readDate() {
    const auto milliseconds = truncateTo<std::int64_t>(requireDouble(stream_, here()));
    const auto offset = static_cast<std::int16_t>(requireBigEndian<std::uint16_t>(stream_, here()));
    std::string value = std::to_string(milliseconds) + (offset < 0 ? "" : "+") + std::to_string(offset);
    log_.info(here()) << "Date=" << value;
    return value;
}

/// Reads members up to the first whose value is an end marker, whatever its key.
template <class Members>
void Amf0Reader::readMembers(Members& members, const char* kind) {
    for (;;) {
        std::string key = readString();
        logMember(kind, key);
        MetaDatum value = readValue();
        if (isEndMarker(value)) {
            return;
        }
        takeMemory(memberSize<Members>);
        members.emplace(std::move(key), std::move(value));
    }
}

/// Out of line, so that a record's buffer does not stay on the stack while the member's value is read.
[[gnu::noinline]] void Amf0Reader::logMember(const char* kind, std::string_view key) const {
    log_.info(here()) << kind << key << ']';
}

void Amf0Reader::takeMemory(std::size_t bytes) {
    if (bytes > memoryLeft_) {
        throw ErrorException(here(), parseError);
    }
    memoryLeft_ -= bytes;
}

} // namespace JY::Pictaro::Fs
