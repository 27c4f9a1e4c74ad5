// A stream over a file stays usable when the system refuses a call, and when the file grows.

#include "tests/support/ImportPatch.h"
#include "tests/support/TempFile.h"
#include "util/File.h"
#include "util/JYFileStream.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace {

using JY::File;
using JY::FileStream;
using JY::Test::Bytes;
using JY::Test::ImportPatch;
using JY::Test::TempFile;

BOOL WINAPI failReading(HANDLE, void*, DWORD, DWORD* done, OVERLAPPED*) {
    *done = 0;
    SetLastError(ERROR_READ_FAULT);
    return FALSE;
}

BOOL WINAPI failMoving(HANDLE, LARGE_INTEGER, LARGE_INTEGER*, DWORD) {
    SetLastError(ERROR_SEEK);
    return FALSE;
}

class JYFileStreamFailure : public testing::Test {
protected:
    static constexpr std::size_t size = 200'000;

    JYFileStreamFailure() {
        Bytes content(size);
        for (std::size_t place = 0; place < size; ++place) {
            content[place] = static_cast<std::uint8_t>(place % 251);
        }
        temp.write(content);
    }

    Bytes read(FileStream& stream, std::uint32_t count) const {
        Bytes buffer(count, 0xEE);
        buffer.resize(stream.read(buffer.data(), count));
        return buffer;
    }

    TempFile temp;
    File file{temp.path(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE};
};

} // namespace

TEST_F(JYFileStreamFailure, GoesOnWhereItWasAfterAReadThatFailed) {
    FileStream stream(file.handle());
    {
        const ImportPatch<decltype(&ReadFile)> patch("ReadFile", &failReading);
        EXPECT_EQ(read(stream, 3), Bytes{});
        EXPECT_EQ(read(stream, 100'000), Bytes{});
    }
    EXPECT_EQ(stream.tell(), 0);
    EXPECT_EQ(read(stream, 3), (Bytes{0, 1, 2}));
    EXPECT_EQ(stream.remaining(), static_cast<std::int64_t>(size) - 3);
}

TEST_F(JYFileStreamFailure, StaysWhereItWasWhenAMoveFails) {
    FileStream stream(file.handle());
    EXPECT_EQ(read(stream, 2), (Bytes{0, 1}));
    {
        const ImportPatch<decltype(&SetFilePointerEx)> patch("SetFilePointerEx", &failMoving);
        EXPECT_FALSE(stream.seek(150'000));
        EXPECT_FALSE(stream.skip(150'000));
    }
    EXPECT_EQ(stream.tell(), 2);
    EXPECT_EQ(read(stream, 2), (Bytes{2, 3}));
}

TEST_F(JYFileStreamFailure, AnswersZeroForAPositionThatTheSystemDoesNotTell) {
    FileStream stream(file.handle());
    const ImportPatch<decltype(&SetFilePointerEx)> patch("SetFilePointerEx", &failMoving);
    EXPECT_EQ(stream.tell(), 0);
    EXPECT_EQ(stream.remaining(), static_cast<std::int64_t>(size));
}

TEST_F(JYFileStreamFailure, ReadsWhatWasAppendedOnceNoLimitHolds) {
    temp.write({1, 2, 3});
    FileStream stream(file.handle());
    EXPECT_EQ(read(stream, 3), (Bytes{1, 2, 3}));
    temp.append({4, 5});
    EXPECT_EQ(read(stream, 2), Bytes{}); // the limit is the size of the time when the stream was made
    stream.clearLimit();
    EXPECT_EQ(read(stream, 2), (Bytes{4, 5}));
    EXPECT_EQ(stream.tell(), 5);
}
