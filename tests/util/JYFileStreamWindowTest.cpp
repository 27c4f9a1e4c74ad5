#include "tests/support/FileCalls.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/TempFile.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/File.h"
#include "util/JYFileStream.h"

#include <gtest/gtest.h>

namespace {

using JY::File;
using JY::FileStream;
using JY::Test::Bytes;
using JY::Test::FileCalls;
using JY::Test::ImportPatch;
using JY::Test::TempFile;
using JY::Test::thrown;

/// Bytes that tell where they are from.
Bytes numbered(std::size_t count) {
    Bytes bytes(count);
    for (std::size_t index = 0; index < count; ++index) {
        bytes[index] = static_cast<std::uint8_t>(index ^ (index >> 8) ^ (index >> 16));
    }
    return bytes;
}

struct StreamedFile {
    explicit StreamedFile(const Bytes& content) : temp(content) {}

    TempFile temp;
    File file{temp.path(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE};
    FileStream stream{file.handle()};
};

Bytes readFrom(JY::Stream& stream, std::uint32_t count) {
    Bytes buffer(count, 0xEE);
    buffer.resize(stream.read(buffer.data(), count));
    return buffer;
}

BOOL WINAPI failingSize(HANDLE, LARGE_INTEGER*) {
    SetLastError(ERROR_NOT_READY);
    return FALSE;
}

} // namespace

TEST(JYFileStreamWindow, SmallReadsAndMovesNearByAskTheSystemOnce) {
    StreamedFile open(numbered(10'000));
    open.stream.refreshAt(open.file.seek(100));
    const FileCalls calls;
    EXPECT_EQ(readFrom(open.stream, 15).size(), 15U);
    open.stream.setLimit(1'000);
    EXPECT_EQ(readFrom(open.stream, 1'000).size(), 1'000U);
    open.stream.clearLimit();
    EXPECT_TRUE(open.stream.seek(100));
    EXPECT_TRUE(open.stream.hasMoreThan(1'019));
    EXPECT_TRUE(open.stream.skip(1'015));
    EXPECT_EQ(FileCalls::reads, 1U);
    EXPECT_EQ(FileCalls::moves + FileCalls::sizes, 0U);
}

TEST(JYFileStreamWindow, LargeReadsGoStraightIntoTheBuffer) {
    const Bytes content = numbered(200'000);
    StreamedFile open(content);
    readFrom(open.stream, 15);
    const FileCalls calls;
    const Bytes rest = readFrom(open.stream, 150'000);
    EXPECT_EQ(rest, Bytes(content.begin() + 15, content.begin() + 150'015));
    EXPECT_EQ(FileCalls::reads, 1U);
    EXPECT_EQ(FileCalls::moves, 0U);
}

TEST(JYFileStreamWindow, WalkForwardsOverSmallTagsNeedsFarFewerCallsThanTags) {
    StreamedFile open(numbered(2'000'000));
    open.stream.refreshAt(open.file.seek(0));
    const FileCalls calls;
    unsigned tags = 0;
    for (; open.stream.hasMoreThan(1'020); ++tags) {
        readFrom(open.stream, 15);
        open.stream.skip(985);
    }
    EXPECT_EQ(tags, 1'999U);
    EXPECT_LT(FileCalls::reads + FileCalls::moves + FileCalls::sizes, tags / 10);
}

TEST(JYFileStreamWindow, WalkBackwardsNeedsFarFewerCallsThanTags) {
    StreamedFile open(numbered(2'000'000));
    open.stream.refreshAt(open.file.seek(1'999'000));
    const FileCalls calls;
    unsigned tags = 0;
    do {
        readFrom(open.stream, 15);
        ++tags;
    } while (open.stream.skip(-1'015));
    EXPECT_EQ(tags, 2'000U);
    EXPECT_LT(FileCalls::reads + FileCalls::moves + FileCalls::sizes, tags / 5);
}

TEST(JYFileStreamWindow, JumpsOverLargeTagsReadOnceEach) {
    StreamedFile open(numbered(2'000'000));
    open.stream.refreshAt(open.file.seek(0));
    const FileCalls calls;
    unsigned tags = 0;
    for (; open.stream.hasMoreThan(100'000); ++tags) {
        readFrom(open.stream, 15);
        open.stream.skip(99'985);
    }
    EXPECT_EQ(tags, 19U);
    EXPECT_EQ(FileCalls::reads, tags);
}

TEST(JYFileStreamWindow, RefreshedStreamSeesWhatOthersHaveWritten) {
    StreamedFile open(numbered(1'000));
    EXPECT_EQ(readFrom(open.stream, 2), (Bytes{0, 1}));
    open.temp.write(Bytes(1'000, 0xAB));
    open.stream.refresh();
    EXPECT_EQ(readFrom(open.stream, 2), (Bytes{0xAB, 0xAB}));
}

TEST(JYFileStreamWindow, RefreshedStreamSeesThatTheFileHasGrown) {
    StreamedFile open(numbered(10));
    EXPECT_EQ(readFrom(open.stream, 10).size(), 10U);
    open.temp.append({1, 2, 3});
    EXPECT_FALSE(open.stream.hasMoreThan(0));
    open.stream.refresh();
    EXPECT_TRUE(open.stream.hasMoreThan(2));
    EXPECT_EQ(open.stream.remaining(), 3);
    EXPECT_EQ(readFrom(open.stream, 4), Bytes{});
    EXPECT_EQ(readFrom(open.stream, 3), (Bytes{1, 2, 3}));
}

TEST(JYFileStreamWindow, RefreshedStreamSeesThatTheFileHasShrunk) {
    StreamedFile open(numbered(100));
    readFrom(open.stream, 10);
    open.temp.write(numbered(20));
    open.stream.refresh();
    EXPECT_EQ(open.stream.remaining(), 10);
    EXPECT_EQ(readFrom(open.stream, 11), Bytes{});
    EXPECT_EQ(readFrom(open.stream, 10).size(), 10U);
}

TEST(JYFileStreamWindow, RefreshingSetsTheLimitBackToTheEndOfTheFile) {
    StreamedFile open(numbered(10));
    open.stream.setLimit(2);
    open.stream.refresh();
    EXPECT_EQ(readFrom(open.stream, 11), Bytes{});
    EXPECT_EQ(readFrom(open.stream, 10).size(), 10U);
}

TEST(JYFileStreamWindow, FollowsTheFilePointerThatSomebodyElseHasMoved) {
    StreamedFile open(numbered(100));
    readFrom(open.stream, 10);
    open.stream.refreshAt(open.file.seek(50));
    EXPECT_EQ(open.stream.tell(), 50);
    EXPECT_EQ(readFrom(open.stream, 1), Bytes{50});
}

TEST(JYFileStreamWindow, SizeThatCannotBeHadAfterRefreshingThrows) {
    StreamedFile open(numbered(10));
    open.stream.refresh();
    const ImportPatch<decltype(&GetFileSizeEx)> patch("GetFileSizeEx", failingSize);
    EXPECT_EQ(thrown<JY::ApiErrorException>([&] { open.stream.remaining(); }),
              "GetFileSizeEx: (0x15) @JYFileStream:14");
}
