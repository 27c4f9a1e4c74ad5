#include "tests/media/ProbedAccount.h"

#include "tools/Crc32.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace JY::Test {

using Tools::ProbedPacket;
using Tools::TestFilm;

namespace {

constexpr std::size_t tagHeader = 11;
const Bytes startCode = {0, 0, 1};

std::uint32_t numberAt(const Bytes& bytes, std::size_t position, std::size_t size) {
    std::uint32_t result = 0;
    for (std::size_t index = 0; index < size; ++index) {
        result = result << 8 | bytes.at(position + index);
    }
    return result;
}

Bytes part(const Bytes& bytes, std::size_t position, std::size_t size) {
    if (position > bytes.size() || size > bytes.size() - position) {
        ADD_FAILURE() << "Nothing is at " << position;
        return {};
    }
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(position);
    return {begin, begin + static_cast<std::ptrdiff_t>(size)};
}

/// The sets of a decoder configuration record, each behind a start code: 5 bytes, the number of sequence parameter sets
/// and the sets, each behind its length, and the same for the picture parameter sets.
Bytes annexB(const Bytes& record) {
    Bytes result;
    std::size_t position = 5;
    for (const std::uint32_t mask : {0x1FU, 0xFFU}) {
        std::uint32_t left = numberAt(record, position++, 1) & mask;
        for (; left != 0; --left) {
            const std::uint32_t size = numberAt(record, position, 2);
            result = join({result, startCode, part(record, position + 2, size)});
            position += 2 + size;
        }
    }
    return result;
}

} // namespace

ProbedAccount::ProbedAccount(const TestFilm& film, const Bytes& file, std::uint64_t from)
    : isAac_(!film.parameters("audio").empty()) {
    if (const Bytes record = film.parameters("video"); !record.empty()) {
        parameterSets_ = annexB(record);
    }
    for (const ProbedPacket& packet : film.packets()) {
        const std::size_t mediaHeader = packet.video ? 5 : isAac_ ? 2 : 1;
        const Bytes payload = part(file, packet.position + tagHeader + mediaHeader, packet.bytes);
        EXPECT_EQ(Tools::crc32(payload), packet.crc) << packet.position;
        if (packet.position < from) {
            continue;
        }
        if (packet.video) {
            addPictures(packet, payload);
        } else {
            addSound(packet, payload);
        }
    }
}

/// One for each NAL unit, which stands behind 4 bytes of its length.
void ProbedAccount::addPictures(const ProbedPacket& packet, const Bytes& payload) {
    const LONGLONG offset = std::abs(packet.time - packet.decodingTime);
    for (std::size_t position = 0; position < payload.size();) {
        const std::uint32_t size = numberAt(payload, position, 4);
        add(ExpectedSource::video,
            join({packet.key ? parameterSets_ : Bytes{}, startCode, part(payload, position + 4, size)}),
            packet.decodingTime + offset, packet.key);
        position += 4 + size;
    }
}

void ProbedAccount::addSound(const ProbedPacket& packet, const Bytes& payload) {
    if (!isAac_) {
        lastTime_[ExpectedSource::audio] = 0; // a frame of MP3 lasts as long as its own time
    }
    add(ExpectedSource::audio, payload, packet.decodingTime, false);
}

void ProbedAccount::add(DWORD stream, Bytes bytes, LONGLONG milliseconds, bool cleanPoint) {
    constexpr LONGLONG wrap = LONGLONG{1} << 32;
    const LONGLONG time = milliseconds * 1000 % wrap * 10;
    const LONGLONG duration = time - lastTime_[stream];
    lastTime_[stream] = time;
    samples_[stream].push_back({std::move(bytes), time, duration, cleanPoint});
}

} // namespace JY::Test
