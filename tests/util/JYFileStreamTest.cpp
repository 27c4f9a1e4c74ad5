#include "util/JYFileStream.h"

#include "tests/support/MemoryStream.h"
#include "tests/support/TempFile.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/File.h"

#include <gtest/gtest.h>
#include <limits>
#include <memory>

namespace {

using JY::File;
using JY::FileStream;
using JY::Test::Bytes;
using JY::Test::MemoryStream;
using JY::Test::TempFile;
using JY::Test::thrown;

constexpr std::int64_t noLimit = 9223372036854775807;
const Bytes content = {10, 11, 12, 13, 14, 15, 16, 17, 18, 19};

/// A stream over a file with the content.
struct OverFile {
    TempFile temp{content};
    File file{temp.path(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE};
    FileStream stream{file.handle()};
};

/// The one that stands in for it elsewhere.
struct OverMemory {
    MemoryStream stream{content};
};

template <class Fixture>
class BoundedStream : public testing::Test {
protected:
    JY::Stream& stream() { return fixture_.stream; }
    Bytes read(std::uint32_t count) {
        Bytes buffer(count, 0xEE);
        buffer.resize(stream().read(buffer.data(), count));
        return buffer;
    }

private:
    Fixture fixture_;
};

using Implementations = testing::Types<OverFile, OverMemory>;
TYPED_TEST_SUITE(BoundedStream, Implementations);

} // namespace

TYPED_TEST(BoundedStream, StartsAtTheStartWithAllOfItRemaining) {
    EXPECT_EQ(this->stream().tell(), 0);
    EXPECT_EQ(this->stream().remaining(), 10);
}

TYPED_TEST(BoundedStream, ReadsWhatComesNext) {
    EXPECT_EQ(this->read(3), (Bytes{10, 11, 12}));
    EXPECT_EQ(this->read(2), (Bytes{13, 14}));
    EXPECT_EQ(this->stream().tell(), 5);
    EXPECT_EQ(this->stream().remaining(), 5);
}

TYPED_TEST(BoundedStream, ReadThatEndsAtTheLimitSucceeds) {
    this->stream().seek(2);
    EXPECT_EQ(this->stream().setLimit(3), 5);
    EXPECT_EQ(this->read(3), (Bytes{12, 13, 14}));
    EXPECT_EQ(this->stream().tell(), 5);
}

TYPED_TEST(BoundedStream, ReadOneByteBeyondTheLimitReadsNothingAndDoesNotMove) {
    this->stream().seek(2);
    this->stream().setLimit(3);
    EXPECT_EQ(this->read(4), Bytes{});
    EXPECT_EQ(this->stream().tell(), 2);
}

TYPED_TEST(BoundedStream, ReadBeyondTheLimitLeavesTheBufferAlone) {
    this->stream().setLimit(3);
    Bytes buffer(4, 0xEE);
    this->stream().read(buffer.data(), 4);
    EXPECT_EQ(buffer, Bytes(4, 0xEE));
}

TYPED_TEST(BoundedStream, LimitStartsAtTheEndOfTheData) {
    this->stream().seek(8);
    EXPECT_EQ(this->read(3), Bytes{});
    EXPECT_EQ(this->stream().tell(), 8);
    EXPECT_EQ(this->read(2), (Bytes{18, 19}));
}

TYPED_TEST(BoundedStream, WithoutALimitAReadAtTheEndIsShort) {
    this->stream().seek(8);
    EXPECT_EQ(this->stream().clearLimit(), noLimit);
    EXPECT_EQ(this->read(3), (Bytes{18, 19}));
    EXPECT_EQ(this->stream().tell(), 10);
    EXPECT_EQ(this->read(1), Bytes{});
}

TYPED_TEST(BoundedStream, LimitBeyondTheDataStillGivesAShortRead) {
    this->stream().seek(8);
    EXPECT_EQ(this->stream().setLimit(100), 108);
    EXPECT_EQ(this->read(3), (Bytes{18, 19}));
}

TYPED_TEST(BoundedStream, SkipMovesByItsOffsetBothWays) {
    EXPECT_TRUE(this->stream().skip(7));
    EXPECT_EQ(this->stream().tell(), 7);
    EXPECT_TRUE(this->stream().skip(-4));
    EXPECT_EQ(this->read(1), Bytes{13});
}

TYPED_TEST(BoundedStream, SkipBeforeTheStartFailsWithoutMoving) {
    this->stream().seek(2);
    EXPECT_FALSE(this->stream().skip(-3));
    EXPECT_EQ(this->stream().tell(), 2);
    EXPECT_TRUE(this->stream().skip(-2));
}

TYPED_TEST(BoundedStream, SkipPastTheLimitFailsWithoutMoving) {
    this->stream().setLimit(5);
    EXPECT_FALSE(this->stream().skip(6));
    EXPECT_EQ(this->stream().tell(), 0);
    EXPECT_TRUE(this->stream().skip(5));
    EXPECT_EQ(this->stream().tell(), 5);
}

TYPED_TEST(BoundedStream, SeekDoesNotMindTheLimit) {
    this->stream().setLimit(2);
    EXPECT_TRUE(this->stream().seek(6));
    EXPECT_EQ(this->stream().tell(), 6);
    EXPECT_TRUE(this->stream().seek(20));
    EXPECT_EQ(this->stream().tell(), 20);
    EXPECT_EQ(this->stream().remaining(), -10);
}

TYPED_TEST(BoundedStream, ReadBeyondTheDataGivesNothing) {
    this->stream().clearLimit();
    this->stream().seek(20);
    EXPECT_EQ(this->read(1), Bytes{});
    EXPECT_EQ(this->stream().tell(), 20);
}

TYPED_TEST(BoundedStream, SeekBeforeTheStartFailsWithoutMoving) {
    this->stream().seek(4);
    EXPECT_FALSE(this->stream().seek(-1));
    EXPECT_EQ(this->stream().tell(), 4);
    EXPECT_EQ(this->read(1), Bytes{14});
}

TYPED_TEST(BoundedStream, HasMoreThanAllButItsLastByte) {
    this->stream().skip(4);
    EXPECT_TRUE(this->stream().hasMoreThan(5));
    EXPECT_FALSE(this->stream().hasMoreThan(6));
    EXPECT_FALSE(this->stream().hasMoreThan(noLimit));
    EXPECT_TRUE(this->stream().hasMoreThan(-1));
    EXPECT_EQ(this->stream().tell(), 4);
}

TYPED_TEST(BoundedStream, LimitDoesNotChangeWhatRemains) {
    this->stream().setLimit(4);
    EXPECT_EQ(this->stream().remaining(), 10);
    this->stream().skip(4);
    EXPECT_EQ(this->stream().remaining(), 6);
}

TYPED_TEST(BoundedStream, LimitBehindThePositionStopsEveryRead) {
    this->stream().seek(5);
    EXPECT_EQ(this->stream().setLimit(-2), 3);
    EXPECT_EQ(this->read(1), Bytes{});
    EXPECT_FALSE(this->stream().skip(0));
}

TEST(JYFileStream, HandleThatIsNoFileThrowsGetFileSizeEx) {
    EXPECT_EQ(thrown<JY::ApiErrorException>([] { FileStream(nullptr); }), "GetFileSizeEx: (0x6) @JYFileStream:14");
}

TEST(JYFileStream, StartsWhereTheFileStands) {
    OverFile over;
    over.file.seek(4);
    FileStream stream(over.file.handle());
    EXPECT_EQ(stream.tell(), 4);
    std::uint8_t byte = 0;
    stream.read(&byte, 1);
    EXPECT_EQ(byte, 14);
}

TEST(JYFileStream, StaysWhereItIsWhenItIsRefreshed) {
    OverFile over;
    over.stream.seek(6);
    std::uint8_t byte = 0;
    over.stream.read(&byte, 1);
    EXPECT_EQ(over.stream.tell(), 7);
    over.stream.refresh();
    EXPECT_EQ(over.stream.tell(), 7);
}

TEST(JYFileStream, DoesNotCloseTheHandle) {
    OverFile over;
    { const FileStream stream(over.file.handle()); }
    EXPECT_EQ(over.file.seek(1), 1);
}

TEST(JYFileStream, SizeIsThatOfTheTimeWhenItWasMade) {
    OverFile over;
    over.temp.append({20, 21});
    EXPECT_EQ(over.stream.remaining(), 10);
    EXPECT_EQ(FileStream(over.file.handle()).remaining(), 12);
}

TEST(JYFileStream, FailingReadReadsNothing) {
    const TempFile temp(content);
    const File writeOnly(temp.path(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
    FileStream stream(writeOnly.handle());
    std::uint8_t byte = 0xEE;
    EXPECT_EQ(stream.read(&byte, 1), 0U);
    EXPECT_EQ(byte, 0xEE);
    EXPECT_EQ(stream.tell(), 0);
}

TEST(JYFileStream, OperationsOnAClosedHandleFailWithoutThrowing) {
    const TempFile temp(content);
    auto file = std::make_unique<File>(temp.path(), GENERIC_READ, FILE_SHARE_READ);
    FileStream stream(file->handle());
    file.reset();
    std::uint8_t byte = 0;
    EXPECT_EQ(stream.tell(), 0);
    EXPECT_EQ(stream.read(&byte, 1), 0U);
    EXPECT_FALSE(stream.seek(1));
    EXPECT_FALSE(stream.skip(1));
    EXPECT_EQ(stream.remaining(), 10);
}

TEST(JYFileStream, OffsetsAtTheEndsOfTheRangeDoNotWrapRound) {
    OverFile over;
    over.stream.seek(5);
    EXPECT_EQ(over.stream.setLimit(noLimit), noLimit);
    EXPECT_FALSE(over.stream.skip(std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ(over.stream.tell(), 5);
    EXPECT_EQ(over.stream.setLimit(std::numeric_limits<std::int64_t>::min()),
              std::numeric_limits<std::int64_t>::min() + 5);
    std::uint8_t byte = 0;
    EXPECT_EQ(over.stream.read(&byte, 1), 0U);
}
