#include "tests/support/FlvBuilder.h"

#include <algorithm>
#include <utility>

namespace JY::Test {

namespace {

constexpr std::int64_t recordSize = 15;
constexpr std::uint32_t tagHeaderSize = 11;

Bytes scriptBody(std::string_view name, const Bytes& value) {
    return join({Amf0::string(name), value});
}

} // namespace

Bytes AvcConfig::bytes() const {
    Bytes result = {version,
                    profile,
                    compatibility,
                    level,
                    static_cast<std::uint8_t>(0xFC | (naluLengthSize - 1)),
                    static_cast<std::uint8_t>(0xE0 | sps.size())};
    for (const Bytes& set : sps) {
        result = join({result, bigEndian(set.size(), 2), set});
    }
    result.push_back(static_cast<std::uint8_t>(pps.size()));
    for (const Bytes& set : pps) {
        result = join({result, bigEndian(set.size(), 2), set});
    }
    return result;
}

Bytes AacConfig::bytes() const {
    const unsigned bits = (objectType << 11) | (frequencyIndex << 7) | (channelConfiguration << 3);
    return join({bigEndian(bits, 2), extension});
}

Bytes Mp3Header::bytes() const {
    const unsigned sync = 0x7FF;
    return bigEndian((sync << 21) | (version << 19) | (layer << 17) | (protection << 16) | (bitRateIndex << 12) |
                         (samplingRateIndex << 10) | (padding << 9) | (privateBit << 8) | (channelMode << 6),
                     4);
}

MetaData MetaData::typical() {
    return MetaData().duration(10).width(320).height(240).framerate(25);
}

MetaData& MetaData::keyframes(const std::vector<double>& times, const std::vector<double>& filepositions) {
    return add("keyframes",
               Amf0::object({{"filepositions", Amf0::numbers(filepositions)}, {"times", Amf0::numbers(times)}}));
}

MetaData& MetaData::indexKeyFrames() {
    indexed_ = true;
    return *this;
}

MetaData& MetaData::set(const std::string& key, const Bytes& value) {
    const auto found = std::ranges::find(members_, key, &Amf0::Member::key);
    if (found == members_.end()) {
        return add(key, value);
    }
    found->value = value;
    return *this;
}

MetaData& MetaData::add(const std::string& key, const Bytes& value) {
    members_.push_back({key, value});
    return *this;
}

MetaData& MetaData::remove(const std::string& key) {
    std::erase_if(members_, [&](const Amf0::Member& member) { return member.key == key; });
    return *this;
}

MetaData& MetaData::asObject() {
    asObject_ = true;
    return *this;
}

Bytes MetaData::bytes(const std::vector<IndexEntry>& index) const {
    MetaData complete = *this;
    if (indexed_) {
        std::vector<double> times;
        std::vector<double> positions;
        for (const IndexEntry& entry : index) {
            times.push_back(entry.seconds);
            positions.push_back(entry.position);
        }
        complete.keyframes(times, positions);
    }
    return asObject_ ? Amf0::object(complete.members_) : Amf0::ecmaArray(complete.members_);
}

FlvBuilder::FlvBuilder(std::uint8_t flags, std::uint8_t version, std::uint32_t dataOffset)
    : header_(join({characters("FLV"), {version, flags}, bigEndian(dataOffset, 4)})) {}

FlvBuilder& FlvBuilder::tag(std::uint8_t type, std::uint32_t milliseconds, const Bytes& body) {
    next_.type = type;
    next_.milliseconds = milliseconds;
    next_.body = body;
    tags_.push_back(std::exchange(next_, Tag{}));
    return *this;
}

FlvBuilder& FlvBuilder::raw(const Bytes& bytes) {
    next_.rawBefore = join({next_.rawBefore, bytes});
    return *this;
}

FlvBuilder& FlvBuilder::withPreviousTagSize(std::uint32_t size) {
    next_.previousTagSize = size;
    return *this;
}

FlvBuilder& FlvBuilder::withDataSize(std::uint32_t size) {
    next_.dataSize = size;
    return *this;
}

FlvBuilder& FlvBuilder::withStreamId(std::uint32_t id) {
    next_.streamId = id;
    return *this;
}

FlvBuilder& FlvBuilder::script(std::uint32_t milliseconds, std::string_view name, const Bytes& value) {
    return script(milliseconds, scriptBody(name, value));
}

FlvBuilder& FlvBuilder::onMetaData(const MetaData& metaData, std::uint32_t milliseconds) {
    next_.metaData = metaData;
    return script(milliseconds, Bytes{});
}

FlvBuilder& FlvBuilder::videoTag(std::uint32_t milliseconds, std::uint8_t frameType, std::uint8_t codec,
                                 const Bytes& payload) {
    return tag(9, milliseconds, join({{static_cast<std::uint8_t>((frameType << 4) | codec)}, payload}));
}

FlvBuilder& FlvBuilder::avcPacket(std::uint32_t milliseconds, std::uint8_t frameType, std::uint8_t packetType,
                                  std::int32_t compositionTime, const Bytes& payload) {
    return videoTag(milliseconds, frameType, 7,
                    join({{packetType}, bigEndian(static_cast<std::uint32_t>(compositionTime), 3), payload}));
}

FlvBuilder& FlvBuilder::avcSequenceHeader(std::uint32_t milliseconds, const AvcConfig& config) {
    return avcPacket(milliseconds, key, 0, 0, config.bytes());
}

FlvBuilder& FlvBuilder::avcNalus(std::uint32_t milliseconds, std::uint8_t frameType, const std::vector<Bytes>& nalus,
                                 std::int32_t compositionTime, unsigned naluLengthSize) {
    Bytes payload;
    for (const Bytes& nalu : nalus) {
        payload = join({payload, bigEndian(nalu.size(), naluLengthSize), nalu});
    }
    return avcPacket(milliseconds, frameType, 1, compositionTime, payload);
}

FlvBuilder& FlvBuilder::avcEndOfSequence(std::uint32_t milliseconds) {
    return avcPacket(milliseconds, key, 2, 0, {});
}

FlvBuilder& FlvBuilder::audioTag(std::uint32_t milliseconds, std::uint8_t header, const Bytes& payload) {
    return tag(8, milliseconds, join({{header}, payload}));
}

FlvBuilder& FlvBuilder::aacPacket(std::uint32_t milliseconds, std::uint8_t packetType, const Bytes& payload) {
    return audioTag(milliseconds, 0xAF, join({{packetType}, payload}));
}

FlvBuilder& FlvBuilder::aacSequenceHeader(std::uint32_t milliseconds, const AacConfig& config) {
    return aacPacket(milliseconds, 0, config.bytes());
}

FlvBuilder& FlvBuilder::trailer(const Bytes& bytes) {
    trailer_ = bytes;
    return *this;
}

FlvBuilder& FlvBuilder::strayBytes(const Bytes& bytes) {
    strayBytes_ = bytes;
    return *this;
}

Bytes FlvBuilder::build() const {
    const std::vector<Tag> tags = laidOut();
    Bytes file = header_;
    for (std::size_t index = 0; index < tags.size(); ++index) {
        append(file, tags[index], nextPreviousTagSize(tags, index));
    }
    return join(
        {file, next_.rawBefore, trailer_.value_or(bigEndian(nextPreviousTagSize(tags, tags.size()), 4)), strayBytes_});
}

std::int64_t FlvBuilder::recordPosition(std::size_t index) const {
    const std::vector<Tag> tags = laidOut();
    auto position = static_cast<std::int64_t>(header_.size());
    for (std::size_t before = 0; before < index; ++before) {
        position += static_cast<std::int64_t>(tags[before].rawBefore.size() + tags[before].body.size()) + recordSize;
    }
    return index < tags.size() ? position + static_cast<std::int64_t>(tags[index].rawBefore.size()) : position;
}

/// The tags with their metadata encoded. Its size depends on the number of key frames alone, so that it is known
/// before their positions are.
std::vector<FlvBuilder::Tag> FlvBuilder::laidOut() const {
    std::vector<Tag> tags = tags_;
    for (int round = 0; round < 2; ++round) {
        const std::vector<MetaData::IndexEntry> index = keyFrames(tags);
        for (Tag& tag : tags) {
            if (tag.metaData) {
                tag.body = scriptBody("onMetaData", tag.metaData->bytes(index));
            }
        }
    }
    return tags;
}

std::vector<MetaData::IndexEntry> FlvBuilder::keyFrames(const std::vector<Tag>& tags) const {
    std::vector<MetaData::IndexEntry> result;
    auto position = static_cast<double>(header_.size());
    for (const Tag& tag : tags) {
        position += static_cast<double>(tag.rawBefore.size());
        // A sequence header is no picture, although it carries the key-frame type.
        const bool isPicture = tag.type == 9 && tag.body.size() > 1 && ((tag.body[0] & 0x0F) != 7 || tag.body[1] == 1);
        if (isPicture && tag.body[0] >> 4 == key) {
            result.push_back({tag.milliseconds / 1000.0, position + 4});
        }
        position += static_cast<double>(tag.body.size()) + static_cast<double>(recordSize);
    }
    return result;
}

std::uint32_t FlvBuilder::nextPreviousTagSize(const std::vector<Tag>& tags, std::size_t index) const {
    if (index < tags.size() && tags[index].previousTagSize) {
        return *tags[index].previousTagSize;
    }
    return index == 0 ? 0 : tagHeaderSize + static_cast<std::uint32_t>(tags[index - 1].body.size());
}

void FlvBuilder::append(Bytes& file, const Tag& tag, std::uint32_t previousTagSize) {
    const auto size = tag.dataSize.value_or(static_cast<std::uint32_t>(tag.body.size()));
    file = join({file,
                 tag.rawBefore,
                 bigEndian(previousTagSize, 4),
                 {tag.type},
                 bigEndian(size, 3),
                 bigEndian(tag.milliseconds & 0xFFFFFF, 3),
                 bigEndian(tag.milliseconds >> 24, 1),
                 bigEndian(tag.streamId, 3),
                 tag.body});
}

} // namespace JY::Test
