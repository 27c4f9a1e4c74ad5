#include "streams/TagPayload.h"

#include "tests/support/FlvBuilder.h"
#include "tests/support/MemoryStream.h"
#include "tests/support/Thrown.h"
#include "util/FatalException.h"

#include <array>
#include <gtest/gtest.h>

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro::Fs;

class TagPayloadTest : public testing::Test {
protected:
    /// The payload of the first tag, without a fence.
    TagPayload open(const FlvBuilder& builder, std::uint32_t headerSize) {
        file = MemoryStream(builder.build());
        file.seek(9);
        tag.read();
        file.skip(headerSize);
        return TagPayload(file, tag, headerSize);
    }

    MemoryStream file{Bytes{}};
    FlvTag tag{file};
    std::array<std::uint8_t, 8> bytes{};
};

TEST_F(TagPayloadTest, IsWhatFollowsTheHeader) {
    TagPayload payload = open(FlvBuilder().tag(8, 0, {1, 2, 3, 4, 5}), 2);
    EXPECT_EQ(payload.left(), 3U);
    EXPECT_EQ(payload.read(bytes.data(), 2), 2U);
    EXPECT_EQ(payload.left(), 1U);
    EXPECT_EQ(bytes, (std::array<std::uint8_t, 8>{3, 4}));
}

TEST_F(TagPayloadTest, EndsWithItsTag) {
    TagPayload payload = open(FlvBuilder().tag(8, 0, {1, 2, 3, 4, 5}).tag(8, 0, {9, 9, 9}), 2);
    EXPECT_EQ(payload.read(bytes.data(), 8), 3U);
    EXPECT_EQ(bytes, (std::array<std::uint8_t, 8>{3, 4, 5}));
    EXPECT_EQ(payload.left(), 0U);
    EXPECT_EQ(payload.read(bytes.data(), 8), 0U);
}

TEST_F(TagPayloadTest, EndsEarlierWithTheFile) {
    TagPayload payload = open(FlvBuilder().withDataSize(1000).tag(8, 0, {1, 2, 3}).withoutTrailer(), 2);
    file.setLimit(1000);
    EXPECT_EQ(payload.left(), 998U);
    EXPECT_EQ(payload.read(bytes.data(), 8), 1U);
    EXPECT_EQ(payload.left(), 997U);
}

TEST_F(TagPayloadTest, IsEmptyWhenTheTagIsNoLargerThanItsHeader) {
    EXPECT_EQ(open(FlvBuilder().tag(8, 0, {1, 2}).tag(8, 0, {9, 9, 9}), 2).left(), 0U);
    EXPECT_EQ(open(FlvBuilder().tag(8, 0, {1}).tag(8, 0, {9, 9, 9}), 2).left(), 0U);
    EXPECT_EQ(open(FlvBuilder().tag(8, 0, {}).tag(8, 0, {9, 9, 9}), 5).left(), 0U);
}

TEST_F(TagPayloadTest, NeedsATagThatHasBeenRead) {
    EXPECT_EQ(thrown<FatalException>([&] { TagPayload(file, tag, 2); }), "Not read yet. @FlvTag:65");
}

} // namespace
