// A stream over a file answers as one over the same bytes in memory does, whatever it is asked and in whatever order.

#include "tests/support/MemoryStream.h"
#include "tests/support/TempFile.h"
#include "util/File.h"
#include "util/JYFileStream.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <random>
#include <string>

namespace {

using JY::File;
using JY::FileStream;
using JY::Stream;
using JY::Test::Bytes;
using JY::Test::MemoryStream;
using JY::Test::TempFile;

/// Bytes that tell where they come from.
Bytes bytesOf(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t place = 0; place < size; ++place) {
        bytes[place] = static_cast<std::uint8_t>(place * 7 + place / 256 + place / 65536);
    }
    return bytes;
}

struct Request {
    enum class Kind { read, skip, seek, setLimit, clearLimit, remaining, hasMoreThan, tell };
    Kind kind;
    std::int64_t number; ///< count, offset or position, where the kind has one
};

struct Answer {
    std::int64_t number = 0;
    Bytes bytes = {};

    friend bool operator==(const Answer&, const Answer&) = default;
};

Answer answerOf(Stream& stream, const Request& request) {
    switch (request.kind) {
    case Request::Kind::read: {
        Bytes buffer(static_cast<std::size_t>(request.number), 0xEE);
        const std::uint32_t count = stream.read(buffer.data(), static_cast<std::uint32_t>(request.number));
        buffer.resize(count); // what lies behind a short read is nobody's business
        return {count, buffer};
    }
    case Request::Kind::skip:
        return {stream.skip(request.number)};
    case Request::Kind::seek:
        return {stream.seek(request.number)};
    case Request::Kind::setLimit:
        return {stream.setLimit(request.number)};
    case Request::Kind::clearLimit:
        return {stream.clearLimit()};
    case Request::Kind::remaining:
        return {stream.remaining()};
    case Request::Kind::hasMoreThan:
        return {stream.hasMoreThan(request.number)};
    case Request::Kind::tell:
        return {stream.tell()};
    }
    return {};
}

/// Requests as a parser of damaged files might make them: most are small reads and moves near by.
class Requests {
public:
    Requests(unsigned seed, std::int64_t size) : random_(seed), size_(size) {}

    Request next() {
        using Kind = Request::Kind;
        const std::int64_t choice = between(0, 99);
        if (choice < 45) {
            return {Kind::read, between(0, 20)};
        }
        if (choice < 52) {
            return {Kind::read, between(0, 6000)};
        }
        if (choice < 54) {
            return {Kind::read, between(0, size_ + 100)};
        }
        if (choice < 68) {
            return {Kind::skip, between(-40, 40)};
        }
        if (choice < 72) {
            return {Kind::skip, between(-size_ - 10, size_ + 10)};
        }
        if (choice < 78) {
            return {Kind::seek, between(-5, size_ + 50)};
        }
        if (choice < 84) {
            return {Kind::setLimit, between(-20, 3000)};
        }
        if (choice < 88) {
            return {Kind::hasMoreThan, between(-40, 6000)};
        }
        if (choice < 94) {
            return {Kind::clearLimit, 0};
        }
        return {choice < 97 ? Kind::remaining : Kind::tell, 0};
    }

private:
    std::int64_t between(std::int64_t least, std::int64_t most) {
        return std::uniform_int_distribution<std::int64_t>(least, most)(random_);
    }

    std::mt19937 random_;
    std::int64_t size_;
};

/// Once for each size of file: none, within one small read, about a page, several blocks.
class StreamEquivalence : public testing::TestWithParam<std::size_t> {};

constexpr unsigned seeds = 20;
constexpr unsigned requestsPerSeed = 1000;

} // namespace

TEST_P(StreamEquivalence, HoldsForLongSequencesOfRequests) {
    const Bytes content = bytesOf(GetParam());
    const TempFile temp(content);
    for (unsigned seed = 0; seed < seeds; ++seed) {
        const File file(temp.path(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
        FileStream overFile(file.handle());
        MemoryStream overMemory(content);
        Requests requests(seed, static_cast<std::int64_t>(content.size()));
        for (unsigned count = 0; count < requestsPerSeed; ++count) {
            const Request request = requests.next();
            const Answer expected = answerOf(overMemory, request);
            const Answer answer = answerOf(overFile, request);
            ASSERT_EQ(answer.number, expected.number) << "request " << count << " of seed " << seed << ", kind "
                                                      << static_cast<int>(request.kind) << ", " << request.number;
            ASSERT_TRUE(answer.bytes == expected.bytes) << "bytes of request " << count << " of seed " << seed;
        }
        ASSERT_EQ(overFile.tell(), overMemory.tell()) << seed;
    }
}

INSTANTIATE_TEST_SUITE_P(JYFileStream, StreamEquivalence, testing::Values(0U, 10U, 4096U, 5000U, 100'000U),
                         [](const auto& size) { return "Of" + std::to_string(size.param) + "Bytes"; });
