#include "flv/FlvHeader.h"

#include "tests/support/FlvBuilder.h"
#include "tests/support/MemoryStream.h"
#include "tests/support/TempFile.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/File.h"
#include "util/String.h"

#include <gtest/gtest.h>

namespace {

using JY::ErrorException;
using JY::File;
using JY::Pictaro::Fs::FlvHeader;
using JY::Pictaro::Fs::readFlvHeader;
using JY::Pictaro::Fs::skipFlvHeader;
using JY::Test::Bytes;
using JY::Test::firstBytes;
using JY::Test::FlvBuilder;
using JY::Test::MemoryStream;
using JY::Test::TempFile;
using JY::Test::thrown;

constexpr const char* invalid = "Invalid FlvHeader @FlvHeader:17";
constexpr const char* nothing = "nothing was thrown";

FlvHeader headerOf(const Bytes& bytes) {
    const TempFile temp(bytes);
    File file(temp.path(), GENERIC_READ, FILE_SHARE_READ);
    return readFlvHeader(file);
}

std::string thrownBy(const Bytes& bytes) {
    return thrown<ErrorException>([&] { headerOf(bytes); });
}

std::string thrownBy(const FlvBuilder& builder) {
    return thrownBy(builder.build());
}

} // namespace

TEST(FlvHeader, AnnouncesAudioAndVideo) {
    EXPECT_TRUE(headerOf(FlvBuilder(5).build()).hasAudio());
    EXPECT_TRUE(headerOf(FlvBuilder(5).build()).hasVideo());
    EXPECT_TRUE(headerOf(FlvBuilder(4).build()).hasAudio());
    EXPECT_FALSE(headerOf(FlvBuilder(4).build()).hasVideo());
    EXPECT_FALSE(headerOf(FlvBuilder(1).build()).hasAudio());
    EXPECT_TRUE(headerOf(FlvBuilder(1).build()).hasVideo());
    EXPECT_FALSE(headerOf(FlvBuilder(0).build()).hasAudio());
    EXPECT_FALSE(headerOf(FlvBuilder(0).build()).hasVideo());
}

TEST(FlvHeader, KeepsItsBytes) {
    EXPECT_EQ(headerOf(FlvBuilder(5).build()).bytes(), (FlvHeader::Bytes{'F', 'L', 'V', 1, 5, 0, 0, 0, 9}));
}

TEST(FlvHeader, FileIsLeftAtItsFirstRecord) {
    const TempFile temp(FlvBuilder().build());
    File file(temp.path(), GENERIC_READ, FILE_SHARE_READ);
    readFlvHeader(file);
    std::uint8_t rest[8];
    EXPECT_EQ(file.read(rest, 8), 4U);
}

TEST(FlvHeader, IsReadFromWhereTheFileStands) {
    const TempFile temp(JY::Test::join({{1, 2, 3}, FlvBuilder().build()}));
    File file(temp.path(), GENERIC_READ, FILE_SHARE_READ);
    file.seek(3);
    EXPECT_TRUE(readFlvHeader(file).hasVideo());
}

TEST(FlvHeader, UnknownFlagsAreInvalid) {
    for (unsigned flags = 0; flags < 256; ++flags) {
        EXPECT_EQ(thrownBy(FlvBuilder(static_cast<std::uint8_t>(flags))), (flags & 0xFA) == 0 ? nothing : invalid)
            << flags;
    }
}

TEST(FlvHeader, OtherVersionsAreInvalid) {
    EXPECT_EQ(thrownBy(FlvBuilder(5, 0)), invalid);
    EXPECT_EQ(thrownBy(FlvBuilder(5, 2)), invalid);
}

TEST(FlvHeader, OtherDataOffsetsAreInvalid) {
    EXPECT_EQ(thrownBy(FlvBuilder(5, 1, 13)), invalid);
    EXPECT_EQ(thrownBy(FlvBuilder(5, 1, 8)), invalid);
    EXPECT_EQ(thrownBy(FlvBuilder(5, 1, 0x01000009)), invalid);
    EXPECT_EQ(thrownBy(FlvBuilder(5, 1, 0x09000000)), invalid);
}

TEST(FlvHeader, OtherSignaturesAreInvalid) {
    for (std::size_t index = 0; index < 3; ++index) {
        Bytes bytes = FlvBuilder().build();
        bytes[index] = 'X';
        EXPECT_EQ(thrownBy(bytes), invalid) << index;
    }
}

TEST(FlvHeader, FileOfFewerThanNineBytesIsTooShort) {
    for (std::size_t size = 0; size < 9; ++size) {
        const TempFile temp(firstBytes(FlvBuilder().build(), size));
        File file(temp.path(), GENERIC_READ, FILE_SHARE_READ);
        EXPECT_EQ(thrown<ErrorException>([&] { readFlvHeader(file); }),
                  "Too short FlvHeader File=" + JY::toNarrow(temp.path()) + " @FlvHeader:16")
            << size;
    }
}

TEST(FlvHeader, FileOfNineBytesIsLongEnough) {
    EXPECT_EQ(thrownBy(firstBytes(FlvBuilder().build(), 9)), nothing);
}

TEST(FlvHeader, FailingReadThrowsReadFile) {
    const TempFile temp(FlvBuilder().build());
    File file(temp.path(), GENERIC_WRITE, FILE_SHARE_READ);
    EXPECT_EQ(thrown<JY::ApiErrorException>([&] { readFlvHeader(file); }),
              "ReadFile file=" + JY::toNarrow(temp.path()) + ": (0x5) @File:56");
}

TEST(FlvHeader, SkippedHeaderIsNotChecked) {
    MemoryStream stream(Bytes(10, 0xFF));
    skipFlvHeader(stream);
    EXPECT_EQ(stream.tell(), 9);
}

TEST(FlvHeader, SkippedHeaderOfFewerThanNineBytesIsTooShort) {
    for (std::size_t size = 0; size < 9; ++size) {
        MemoryStream stream(Bytes(size, 0xFF));
        EXPECT_EQ(thrown<ErrorException>([&] { skipFlvHeader(stream); }), "Too short FlvHeader @FlvHeader:23") << size;
    }
}
