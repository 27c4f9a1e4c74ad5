#include "util/File.h"

#include "tests/support/TempFile.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/String.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <string>

namespace {

using JY::ApiErrorException;
using JY::File;
using JY::PathDisplay;
using JY::toNarrow;
using JY::Test::Bytes;
using JY::Test::TempFile;
using JY::Test::TempFolder;
using JY::Test::thrown;

constexpr DWORD shareReadWrite = FILE_SHARE_READ | FILE_SHARE_WRITE;

std::string narrowDescription(const File& file) {
    return toNarrow(file.describe());
}

/// The complement of each code unit in hexadecimal digits.
std::string obscured(const std::wstring& path) {
    std::string text;
    for (const wchar_t unit : path) {
        char digits[5];
        std::snprintf(digits, sizeof digits, "%04x", 0xFFFFU - unit);
        text += digits;
    }
    return text;
}

} // namespace

TEST(File, ReadsFromItsStartAndShortAtItsEnd) {
    const TempFile temp(Bytes{1, 2, 3, 4, 5});
    File file(temp.path(), GENERIC_READ, shareReadWrite);
    Bytes buffer(4);
    EXPECT_EQ(file.read(buffer.data(), 4), 4U);
    EXPECT_EQ(buffer, (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(file.read(buffer.data(), 4), 1U);
    EXPECT_EQ(buffer[0], 5);
    EXPECT_EQ(file.read(buffer.data(), 4), 0U);
}

TEST(File, SeekMovesFromTheStartAndGivesTheNewPosition) {
    const TempFile temp(Bytes{1, 2, 3, 4, 5});
    File file(temp.path(), GENERIC_READ, shareReadWrite);
    Bytes buffer(2);
    file.read(buffer.data(), 2);
    EXPECT_EQ(file.seek(3), 3);
    file.read(buffer.data(), 2);
    EXPECT_EQ(buffer, (Bytes{4, 5}));
}

TEST(File, OpensAFileThatAnotherProgramIsStillWriting) {
    const TempFile temp(Bytes{1});
    const File writer(temp.path(), GENERIC_WRITE, shareReadWrite);
    File reader(temp.path(), GENERIC_READ, shareReadWrite);
    std::uint8_t byte = 0;
    EXPECT_EQ(reader.read(&byte, 1), 1U);
}

TEST(File, IsClosedWhenItGoes) {
    const TempFile temp;
    { const File exclusive(temp.path(), GENERIC_READ, 0); }
    EXPECT_NO_THROW(File(temp.path(), GENERIC_READ, 0));
}

TEST(File, MissingFileThrowsCreateFileWithItsPath) {
    const TempFile temp;
    temp.remove();
    EXPECT_EQ(thrown<ApiErrorException>([&] { File(temp.path(), GENERIC_READ, shareReadWrite); }),
              "CreateFile file=" + toNarrow(temp.path()) + ": (0x2) @File:44");
}

TEST(File, MissingFileWithAHiddenPathThrowsCreateFileWithThePathObscured) {
    const TempFile temp;
    temp.remove();
    EXPECT_EQ(thrown<ApiErrorException>([&] { File(temp.path(), GENERIC_READ, 0, PathDisplay::hidden); }),
              "CreateFile data=" + obscured(temp.path()) + ": (0x2) @File:44");
}

TEST(File, FailingReadThrowsReadFile) {
    const TempFile temp(Bytes{1});
    File file(temp.path(), GENERIC_WRITE, shareReadWrite);
    std::uint8_t byte = 0;
    EXPECT_EQ(thrown<ApiErrorException>([&] { file.read(&byte, 1); }),
              "ReadFile file=" + toNarrow(temp.path()) + ": (0x5) @File:56");
}

TEST(File, CodeIsThatOfTheFailedCallWhateverTheDescriptionDoes) {
    const TempFile temp(Bytes{1});
    File file(temp.path(), GENERIC_WRITE, shareReadWrite, PathDisplay::hidden);
    std::uint8_t byte = 0;
    EXPECT_EQ(thrown<ApiErrorException>([&] { file.read(&byte, 1); }),
              "ReadFile" + narrowDescription(file) + ": (0x5) @File:56");
}

TEST(File, SeekBeforeTheStartThrowsSetFilePointerEx) {
    const TempFile temp;
    File file(temp.path(), GENERIC_READ, shareReadWrite);
    EXPECT_EQ(thrown<ApiErrorException>([&] { file.seek(-1); }),
              "SetFilePointerEx file=" + toNarrow(temp.path()) + ": (0x83) @File:91");
}

TEST(File, IdentityIsThatOfTheVolumeAndTheFileOnIt) {
    const TempFile temp;
    const File file(temp.path(), GENERIC_READ, shareReadWrite);
    BY_HANDLE_FILE_INFORMATION information{};
    ASSERT_TRUE(GetFileInformationByHandle(file.handle(), &information));
    const JY::FileId id = File::getFileId(temp.path());
    EXPECT_EQ(id.volumeSerialNumber, information.dwVolumeSerialNumber);
    EXPECT_EQ(static_cast<std::uint32_t>(id.fileIndex >> 32), information.nFileIndexHigh);
    EXPECT_EQ(static_cast<std::uint32_t>(id.fileIndex), information.nFileIndexLow);
}

TEST(File, IdentitiesOfTwoFilesDifferAndOfOneAreTheSame) {
    const TempFile one;
    const TempFile other;
    EXPECT_EQ(File::getFileId(one.path()), File::getFileId(one.path()));
    EXPECT_NE(File::getFileId(one.path()), File::getFileId(other.path()));
}

TEST(File, IdentityOfAFileThatIsOpenElsewhereCanBeHad) {
    const TempFile temp;
    const File exclusive(temp.path(), GENERIC_READ | GENERIC_WRITE, 0);
    EXPECT_NO_THROW(File::getFileId(temp.path()));
}

TEST(File, IdentityOfAMissingFileThrowsCreateFileWithoutItsPath) {
    const TempFile temp;
    temp.remove();
    EXPECT_EQ(thrown<ApiErrorException>([&] { File::getFileId(temp.path()); }),
              "CreateFile data=" + obscured(temp.path()) + ": (0x2) @File:44");
}

TEST(File, IdentityOfSomethingThatIsNoFileThrowsGetFileInformationByHandle) {
    const std::wstring device = L"\\\\.\\NUL";
    BY_HANDLE_FILE_INFORMATION information{};
    const File file(device, FILE_READ_ATTRIBUTES, shareReadWrite);
    ASSERT_FALSE(GetFileInformationByHandle(file.handle(), &information));
    char code[16];
    std::snprintf(code, sizeof code, "(0x%lx)", GetLastError());
    EXPECT_EQ(thrown<ApiErrorException>([&] { File::getFileId(device); }),
              "GetFileInformationByHandle data=" + obscured(device) + ": " + code + " @File:147");
}

TEST(File, DescriptionShowsThePath) {
    const TempFile temp;
    const File file(temp.path(), GENERIC_READ, shareReadWrite);
    EXPECT_EQ(file.describe(), L" file=" + temp.path());
}

TEST(File, DescriptionWithAHiddenPathIsTheIdentity) {
    const TempFile temp;
    const File file(temp.path(), GENERIC_READ, shareReadWrite, PathDisplay::hidden);
    const JY::FileId id = File::getFileId(temp.path());
    char expected[64];
    std::snprintf(expected, sizeof expected, " file=%08x,%08x%08x", id.volumeSerialNumber,
                  static_cast<unsigned>(id.fileIndex >> 32), static_cast<unsigned>(id.fileIndex));
    EXPECT_EQ(narrowDescription(file), expected);
}

TEST(File, DescriptionWithAHiddenPathOfAFileThatIsGoneIsThePathObscured) {
    const TempFolder folder;
    const TempFile temp;
    const File file(temp.path(), GENERIC_READ, shareReadWrite | FILE_SHARE_DELETE, PathDisplay::hidden);
    ASSERT_TRUE(MoveFileW(temp.path().c_str(), (folder.path() + L"\\moved").c_str()));
    EXPECT_EQ(narrowDescription(file), " data=" + obscured(temp.path()));
}

TEST(File, ObscuredCodeUnitIsItsComplementInFourHexadecimalDigits) {
    const std::string text = thrown<ApiErrorException>([] { File(L"A", GENERIC_READ, 0, PathDisplay::hidden); });
    EXPECT_EQ(text, "CreateFile data=ffbe: (0x2) @File:44");
}
