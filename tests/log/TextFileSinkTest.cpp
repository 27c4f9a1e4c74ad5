#include "log/TextFileSink.h"

#include "log/CoreImpl.h"
#include "log/FileEraserImpl.h"
#include "tests/log/LogFolder.h"
#include "tests/log/Records.h"
#include "tests/support/DebugOutputCapture.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/OpenHandles.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/FatalException.h"
#include "util/String.h"

#include <windows.h>

#include <boost/make_shared.hpp>

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace JY;
using namespace JY::Log2;
using Test::countOpenHandles;
using Test::DebugOutputCapture;
using Test::errorOf;
using Test::ImportPatch;
using Test::LogFolder;
using Test::recordOf;
using Test::testHead;
using Test::thrown;
using Test::thrownIn;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::uint32_t roomy = 0x100000;
constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

Handle openExisting(const std::wstring& path, DWORD access, DWORD share) {
    return Handle(CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr));
}

std::string lineOf(std::string_view message) {
    return std::string(testHead).append(message).append("\r\n");
}

/// What the sink says of a file that another handle keeps it out of.
std::string sharingViolation() {
    return describeSystemError(ERROR_SHARING_VIOLATION);
}

class TextFileSinkTest : public testing::Test {
protected:
    std::unique_ptr<TextFileSink> makeSink(std::uint32_t maxEachSize = roomy, std::uint32_t maxWrap = 8,
                                           boost::shared_ptr<FileEraser> eraser = nullptr) const {
        return std::make_unique<TextFileSink>(folder.path(), L"p-", maxEachSize, maxWrap, std::move(eraser));
    }
    /// A sink that has started; `folder` then holds its first file with one record.
    std::unique_ptr<TextFileSink> startSink(std::uint32_t maxEachSize = roomy, std::uint32_t maxWrap = 8) const {
        auto sink = makeSink(maxEachSize, maxWrap);
        sink->start();
        return sink;
    }
    std::string selectedFile(const std::string& name) const {
        return "TextFileSink selectedFile=" + toNarrow(folder.path(name));
    }

    LogFolder folder;
};

// Making a sink

TEST_F(TextFileSinkTest, RefusesAMaximumSizeAboveOneGibibyte) {
    EXPECT_EQ(thrownIn<FatalException>([&] { makeSink(0x40000001); }), "Too large maxEachSize. @TextFileSink");
    EXPECT_NO_THROW(makeSink(0x40000000));
}

TEST_F(TextFileSinkTest, RefusesAPathWithANameThatStandsForNothing) {
    const auto make = [&] { TextFileSink(folder.path() + L"\\%JY_TEST_UNKNOWN%", L"p-", roomy, 8, nullptr); };
    EXPECT_EQ(thrownIn<ErrorException>(make), "Illegal % in log path. @TextFileSink");
    EXPECT_THAT(folder.names(), IsEmpty());
}

TEST_F(TextFileSinkTest, RefusesAnEmptyPath) {
    EXPECT_EQ(thrown<ErrorException>([] { TextFileSink(L"", L"p-", roomy, 8, nullptr); }), "path is empty. @Path:186");
}

TEST_F(TextFileSinkTest, MakesItsFolder) {
    const TextFileSink sink(folder.path("a\\b"), L"p-", roomy, 8, nullptr);
    EXPECT_TRUE(std::filesystem::is_directory(folder.path("a\\b")));
}

TEST_F(TextFileSinkTest, TellsWhenItsFolderCannotBeMade) {
    folder.make("file", "x");
    EXPECT_EQ(thrown<ApiErrorException>([&] { TextFileSink(folder.path("file"), L"p-", roomy, 8, nullptr); }),
              "CreateDirectory: (0xb7) @Path:196");
}

TEST_F(TextFileSinkTest, ExpandsItsPath) {
    SetEnvironmentVariableW(L"JY_TEST_FOLDER", folder.path().c_str());
    TextFileSink sink(L"%JY_TEST_FOLDER%\\inner", L"p-", roomy, 8, nullptr);
    SetEnvironmentVariableW(L"JY_TEST_FOLDER", nullptr);
    sink.start();
    EXPECT_TRUE(folder.has("inner\\p-0.log"));
}

TEST_F(TextFileSinkTest, OpensNoFileBeforeItIsUsed) {
    const auto sink = makeSink();
    EXPECT_THAT(folder.names(), IsEmpty());
}

// Starting

TEST_F(TextFileSinkTest, StartsWithFileZero) {
    const auto sink = startSink();
    EXPECT_THAT(folder.names(), ElementsAre("p-0.log"));
}

TEST_F(TextFileSinkTest, RecordsTheFileThatItSelected) {
    const auto sink = startSink();
    const auto lines = folder.lines("p-0.log");
    ASSERT_THAT(lines, SizeIs(1));
    char expected[64];
    std::snprintf(expected, sizeof expected, " %08lx notice TextFileSink        (   60) ", GetCurrentThreadId());
    EXPECT_EQ(lines[0].substr(23), expected + selectedFile("p-0.log"));
}

TEST_F(TextFileSinkTest, WritesToItselfThroughItsThreshold) {
    const auto sink = makeSink();
    sink->setThreshold(Severity::error);
    sink->start();
    EXPECT_EQ(folder.content("p-0.log"), "");
    EXPECT_TRUE(folder.has("p-0.log"));
}

TEST_F(TextFileSinkTest, AppendsToTheFileOfItsPrefixThatIsThere) {
    folder.make("p-3.log", "before\r\n");
    const auto sink = startSink();
    EXPECT_THAT(folder.names(), ElementsAre("p-3.log"));
    const auto lines = folder.lines("p-3.log");
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_EQ(lines[0], "before");
    EXPECT_THAT(lines[1], HasSubstr(selectedFile("p-3.log")));
}

TEST_F(TextFileSinkTest, GoesOnBehindTheFileThatItSelected) {
    folder.make("p-3.log", std::string(101, 'x'));
    const auto sink = startSink(100, 5);
    EXPECT_THAT(folder.names(), ElementsAre("p-3.log", "p-4.log"));
    EXPECT_THAT(folder.content("p-4.log"), HasSubstr(selectedFile("p-3.log")));
}

TEST_F(TextFileSinkTest, LeavesFilesOfOtherPrefixesAlone) {
    folder.make("q-3.log", "x");
    folder.make("p-3.txt", "x");
    const auto sink = startSink();
    EXPECT_THAT(folder.names(), ElementsAre("p-0.log", "p-3.txt", "q-3.log"));
}

TEST_F(TextFileSinkTest, TakesTheFirstOfSeveralFilesAsTheSystemListsThem) {
    for (const char* name : {"p-2.log", "p-5.log", "p-1.log"}) {
        folder.make(name, "x");
    }
    WIN32_FIND_DATAW first{};
    const Handle search(
        FindFirstFileExW(folder.path("p-*.log").c_str(), FindExInfoStandard, &first, FindExSearchNameMatch, nullptr, 0),
        &FindClose);
    ASSERT_TRUE(search);
    const auto sink = startSink();
    EXPECT_THAT(folder.content(toNarrow(first.cFileName)), HasSubstr(selectedFile(toNarrow(first.cFileName))));
}

TEST_F(TextFileSinkTest, ReadsANumberOfSeveralDigits) {
    folder.make("p-10.log", "x");
    const auto sink = startSink(roomy, 32);
    EXPECT_THAT(folder.names(), ElementsAre("p-10.log"));
}

TEST_F(TextFileSinkTest, ReadsTheNumberInTheBaseThatItsPrefixTells) {
    folder.make("p-0x11.log", "x");
    const auto hexadecimal = startSink();
    EXPECT_THAT(folder.names(), ElementsAre("p-0x11.log", "p-17.log"));
    const LogFolder other;
    other.make("p-010.log", "x");
    TextFileSink octal(other.path(), L"p-", roomy, 8, nullptr);
    octal.start();
    EXPECT_THAT(other.names(), ElementsAre("p-010.log", "p-8.log"));
}

TEST_F(TextFileSinkTest, ReadsANameWithoutANumberAsZero) {
    folder.make("p-s-5.log", "x"); // as those of a snapshot sink beside it
    const auto sink = startSink();
    EXPECT_THAT(folder.names(), ElementsAre("p-0.log", "p-s-5.log"));
}

TEST_F(TextFileSinkTest, GoesOnWithAFileOfANegativeNumber) {
    folder.make("p--5.log", "before\r\n");
    const auto sink = startSink();
    EXPECT_THAT(folder.names(), ElementsAre("p--5.log"));
    EXPECT_THAT(folder.lines("p--5.log"), SizeIs(2));
}

TEST_F(TextFileSinkTest, SelectsNoFolder) {
    std::filesystem::create_directory(folder.path("p-3.log"));
    const auto sink = startSink();
    EXPECT_TRUE(folder.has("p-0.log"));
}

TEST_F(TextFileSinkTest, StartsInAFolderThatHasGone) {
    const auto sink = makeSink();
    std::filesystem::remove(folder.path());
    sink->start();
    EXPECT_THAT(folder.names(), ElementsAre("p-0.log"));
}

// Writing

TEST_F(TextFileSinkTest, WritesALineForARecord) {
    const auto sink = startSink();
    sink->write(recordOf(Severity::warn, "abcdefghijklmnopqrstuvwxy", 65, "message"));
    ASSERT_THAT(folder.lines("p-0.log"), SizeIs(2));
    EXPECT_EQ(folder.lines("p-0.log")[1],
              "2026/03/04 05:06:07.008 00000abc warn   abcdefghijklmnopqrst(   65) message");
}

TEST_F(TextFileSinkTest, WritesMessagesOfAnySizeAndContent) {
    const auto sink = startSink();
    const std::size_t start = folder.content("p-0.log").size();
    const std::string huge(3'000'000, 'x');
    sink->write(errorOf(""));
    sink->write(errorOf(std::string_view("a\0b\n%s\xff", 7)));
    sink->write(errorOf(huge));
    const std::string expected = lineOf("") + lineOf(std::string_view("a\0b\n%s\xff", 7)) + lineOf(huge);
    EXPECT_TRUE(folder.content("p-0.log").substr(start) == expected);
}

std::vector<std::string> writtenPieces;

BOOL WINAPI noteWriting(HANDLE, const void* data, DWORD size, DWORD* written, OVERLAPPED*) {
    writtenPieces.emplace_back(static_cast<const char*>(data), size);
    *written = size;
    return TRUE;
}
BOOL WINAPI failWriting(HANDLE, const void*, DWORD, DWORD*, OVERLAPPED*) {
    SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

TEST_F(TextFileSinkTest, WritesHeadMessageAndLineEndInOneCallEach) {
    const auto sink = startSink();
    writtenPieces.clear();
    {
        const ImportPatch<decltype(&WriteFile)> patch("WriteFile", &noteWriting);
        sink->write(errorOf("message"));
        sink->write(errorOf(""));
    }
    EXPECT_THAT(writtenPieces, ElementsAre(testHead, "message", "\r\n", testHead, "", "\r\n"));
}

TEST_F(TextFileSinkTest, SurvivesAFullDisk) {
    const auto sink = startSink();
    const std::string before = folder.content("p-0.log");
    {
        const ImportPatch<decltype(&WriteFile)> patch("WriteFile", &failWriting);
        EXPECT_NO_THROW(sink->write(errorOf("lost")));
    }
    sink->write(errorOf("kept"));
    EXPECT_EQ(folder.content("p-0.log"), before + lineOf("kept"));
}

unsigned sizeQueries;

DWORD WINAPI countSizeQueries(HANDLE, DWORD* high) {
    ++sizeQueries;
    *high = 0;
    return 0;
}
DWORD WINAPI failSizeQuery(HANDLE, DWORD*) {
    SetLastError(ERROR_INVALID_HANDLE);
    return INVALID_FILE_SIZE;
}

TEST_F(TextFileSinkTest, AsksTheSystemNothingForARecordBelowItsThreshold) {
    const auto sink = startSink();
    sizeQueries = 0;
    writtenPieces.clear();
    const ImportPatch<decltype(&GetFileSize)> sizes("GetFileSize", &countSizeQueries);
    const ImportPatch<decltype(&WriteFile)> writes("WriteFile", &noteWriting);
    for (const Severity severity : {Severity::trace, Severity::debug, Severity::info}) {
        sink->write(recordOf(severity, "Test", 1, "dropped"));
    }
    EXPECT_EQ(sizeQueries, 0U);
    EXPECT_THAT(writtenPieces, IsEmpty());
    sink->write(recordOf(Severity::warn, "Test", 1, "kept"));
    EXPECT_EQ(sizeQueries, 1U);
    EXPECT_THAT(writtenPieces, SizeIs(3));
}

TEST_F(TextFileSinkTest, WritesToItsFilesAtOnce) {
    const auto sink = startSink();
    sink->write(errorOf("message"));
    const Handle reader = openExisting(folder.path("p-0.log"), GENERIC_READ, shareAll);
    EXPECT_TRUE(reader);
    EXPECT_THAT(folder.content("p-0.log"), testing::EndsWith("message\r\n"));
}

// Changing files

TEST_F(TextFileSinkTest, GoesRoundItsFilesAndBeginsEachAnew) {
    const auto sink = startSink(10, 4); // a line is longer than the maximum, so each record gets a file of its own
    std::vector<std::string> files;
    for (const char* message : {"a", "b", "c", "d", "e"}) {
        sink->write(errorOf(message));
        for (const std::string& name : folder.names()) {
            if (folder.content(name) == lineOf(message)) {
                files.push_back(name);
            }
        }
    }
    EXPECT_THAT(files, ElementsAre("p-1.log", "p-2.log", "p-3.log", "p-0.log", "p-1.log"));
    EXPECT_THAT(folder.names(), ElementsAre("p-0.log", "p-1.log", "p-2.log", "p-3.log"));
}

TEST_F(TextFileSinkTest, FillsAFileUpToItsMaximumAndOneRecordMore) {
    const std::size_t lineSize = lineOf("0").size();
    const auto sink = makeSink(static_cast<std::uint32_t>(3 * lineSize), 4);
    for (const char* message : {"1", "2", "3", "4", "5"}) {
        sink->write(errorOf(message));
    }
    // Three lines are not more than the maximum.
    EXPECT_EQ(folder.content("p-1.log"), lineOf("1") + lineOf("2") + lineOf("3") + lineOf("4"));
    EXPECT_EQ(folder.content("p-2.log"), lineOf("5"));
}

TEST_F(TextFileSinkTest, WithoutAStartBeginsWithFileOne) {
    const auto sink = makeSink();
    sink->write(errorOf("a"));
    sink->write(errorOf("b"));
    EXPECT_THAT(folder.names(), ElementsAre("p-1.log"));
    EXPECT_EQ(folder.content("p-1.log"), lineOf("a") + lineOf("b"));
}

TEST_F(TextFileSinkTest, OfOneFileBeginsItAnewWheneverItIsFull) {
    const auto sink = startSink(10, 1);
    sink->write(errorOf("a"));
    sink->write(errorOf("b"));
    EXPECT_THAT(folder.names(), ElementsAre("p-0.log"));
    EXPECT_EQ(folder.content("p-0.log"), lineOf("b"));
}

TEST_F(TextFileSinkTest, OfNoFilesWritesOne) {
    const auto sink = startSink(10, 0);
    sink->write(errorOf("a"));
    sink->write(errorOf("b"));
    EXPECT_THAT(folder.names(), ElementsAre("p-0.log"));
    EXPECT_EQ(folder.content("p-0.log"), lineOf("b"));
}

TEST_F(TextFileSinkTest, WithoutRoomGivesEachRecordAFile) {
    const auto sink = makeSink(0, 8);
    sink->write(errorOf("a"));
    sink->write(errorOf("b"));
    EXPECT_EQ(folder.content("p-1.log"), lineOf("a"));
    EXPECT_EQ(folder.content("p-2.log"), lineOf("b"));
}

TEST_F(TextFileSinkTest, TakesAFileWhoseSizeCannotBeHadForFull) {
    const auto sink = startSink();
    {
        const ImportPatch<decltype(&GetFileSize)> patch("GetFileSize", &failSizeQuery);
        sink->write(errorOf("a"));
        sink->write(errorOf("b"));
    }
    sink->write(errorOf("c"));
    EXPECT_EQ(folder.content("p-1.log"), lineOf("a"));
    EXPECT_EQ(folder.content("p-2.log"), lineOf("b") + lineOf("c"));
}

TEST_F(TextFileSinkTest, KnowsThatAFileOfManyGibibytesIsFull) {
    {
        const Handle file(
            CreateFileW(folder.path("p-0.log").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
        LARGE_INTEGER end;
        end.QuadPart = (std::int64_t{4} << 30) + 1; // one byte in 32 bits
        ASSERT_TRUE(SetFilePointerEx(file.get(), end, nullptr, FILE_BEGIN) && SetEndOfFile(file.get()));
    }
    const auto sink = startSink();
    EXPECT_THAT(folder.names(), ElementsAre("p-0.log", "p-1.log"));
}

TEST_F(TextFileSinkTest, BeginsTheNextFileAfterItWasClosed) {
    const auto sink = startSink();
    sink->close();
    sink->write(errorOf("a"));
    EXPECT_EQ(folder.content("p-1.log"), lineOf("a"));
}

TEST_F(TextFileSinkTest, ClosesItsFile) {
    const auto sink = startSink();
    EXPECT_FALSE(openExisting(folder.path("p-0.log"), GENERIC_READ, 0));
    sink->close();
    EXPECT_TRUE(openExisting(folder.path("p-0.log"), GENERIC_READ, 0));
    EXPECT_NO_THROW(sink->close());
}

TEST_F(TextFileSinkTest, LetsOthersReadItsFileAndNothingElse) {
    const auto sink = startSink();
    EXPECT_TRUE(openExisting(folder.path("p-0.log"), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE));
    EXPECT_FALSE(openExisting(folder.path("p-0.log"), GENERIC_WRITE, shareAll));
    EXPECT_FALSE(DeleteFileW(folder.path("p-0.log").c_str()));
}

struct Opening {
    DWORD access;
    DWORD share;
    DWORD disposition;
    DWORD flags;
    bool hasSecurity = false;
    bool hasTemplate = false;

    friend bool operator==(const Opening&, const Opening&) = default;
};
std::vector<Opening> openings;

HANDLE WINAPI noteOpening(const wchar_t*, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security, DWORD disposition,
                          DWORD flags, HANDLE templateFile) {
    openings.push_back({access, share, disposition, flags, security != nullptr, templateFile != nullptr});
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
}

TEST_F(TextFileSinkTest, AppendsAtTheStartAndReplacesAfterwards) {
    const auto sink = makeSink();
    openings.clear();
    {
        const DebugOutputCapture output;
        const ImportPatch<decltype(&CreateFileW)> patch("CreateFileW", &noteOpening);
        sink->start(); // its record tries the next file
    }
    const Opening append{GENERIC_WRITE, FILE_SHARE_READ, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL};
    const Opening replace{GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL};
    EXPECT_EQ(openings, (std::vector{append, replace}));
}

unsigned flushes;

BOOL WINAPI countFlushes(HANDLE) {
    ++flushes;
    return TRUE;
}

TEST_F(TextFileSinkTest, FlushesTheFileThatIsOpen) {
    flushes = 0;
    const auto sink = makeSink();
    const ImportPatch<decltype(&FlushFileBuffers)> patch("FlushFileBuffers", &countFlushes);
    sink->flush();
    EXPECT_EQ(flushes, 0U);
    sink->start();
    sink->flush();
    EXPECT_EQ(flushes, 1U);
}

// Without a file

TEST_F(TextFileSinkTest, WritesToTheDebuggerWhileItsFileIsInUse) {
    folder.make("p-1.log", "x");
    folder.make("p-2.log", "x");
    const auto sink = makeSink(roomy, 4);
    Handle first = openExisting(folder.path("p-1.log"), GENERIC_READ, 0);
    const Handle second = openExisting(folder.path("p-2.log"), GENERIC_READ, 0);
    ASSERT_TRUE(first && second);
    {
        const DebugOutputCapture output;
        sink->write(errorOf("a"));
        sink->write(errorOf(""));
        EXPECT_THAT(output.lines(), ElementsAre(sharingViolation(), std::string(testHead) + "a\n", sharingViolation(),
                                                std::string(testHead) + "\n"));
    }
    sink->write(errorOf("c")); // nobody holds the third
    EXPECT_EQ(folder.content("p-3.log"), lineOf("c"));
}

TEST_F(TextFileSinkTest, StartsWithoutAFileWhenItIsInUse) {
    folder.make("p-0.log", "x");
    const Handle used = openExisting(folder.path("p-0.log"), GENERIC_READ, 0);
    const auto sink = makeSink(roomy, 1);
    {
        const DebugOutputCapture output;
        sink->start();
        const auto lines = output.lines();
        ASSERT_THAT(lines, SizeIs(3)); // the record tries again
        EXPECT_EQ(lines[0], sharingViolation());
        EXPECT_EQ(lines[1], sharingViolation());
        EXPECT_THAT(lines[2], testing::EndsWith("TextFileSink        (   60) TextFileSink selectedFile=\n"));
    }
    EXPECT_FALSE(openExisting(folder.path("p-0.log"), GENERIC_WRITE, shareAll)); // still with the other one
}

TEST_F(TextFileSinkTest, ComesBackOnceItsFileIsFree) {
    folder.make("p-0.log", "x");
    const auto sink = makeSink(roomy, 1);
    {
        const DebugOutputCapture output;
        const Handle used = openExisting(folder.path("p-0.log"), GENERIC_READ, 0);
        sink->write(errorOf("a"));
        EXPECT_EQ(output.count(std::string(testHead) + "a"), 1U);
    }
    sink->write(errorOf("b"));
    EXPECT_EQ(folder.content("p-0.log"), lineOf("b"));
}

TEST_F(TextFileSinkTest, MakesItsFolderAgainWhenItHasVanished) {
    TextFileSink sink(folder.path("a\\b"), L"p-", 10, 8, nullptr);
    sink.start();
    sink.close();
    std::filesystem::remove_all(folder.path("a"));
    sink.write(errorOf("a"));
    EXPECT_EQ(folder.content("a\\b\\p-1.log"), lineOf("a"));
}

TEST_F(TextFileSinkTest, SurvivesAFolderThatCannotBeMadeAgain) {
    TextFileSink sink(folder.path("a"), L"p-", 10, 8, nullptr);
    std::filesystem::remove(folder.path("a"));
    folder.make("a", "a file where the folder was");
    {
        const DebugOutputCapture output;
        sink.start();
        sink.write(errorOf("a"));
        EXPECT_EQ(output.count(std::string(testHead) + "a\n"), 1U);
    }
    std::filesystem::remove(folder.path("a"));
    sink.write(errorOf("b"));
    EXPECT_EQ(folder.content("a\\p-3.log"), lineOf("b"));
}

void* WINAPI failHeapAlloc(HANDLE, DWORD, SIZE_T) {
    return nullptr;
}

TEST_F(TextFileSinkTest, DropsARecordForWhichThereIsNoMemory) {
    const auto sink = makeSink();
    const std::string message(5000, 'x');
    const Record record = errorOf(message);
    {
        const ImportPatch<decltype(&HeapAlloc)> patch("HeapAlloc", &failHeapAlloc);
        sink->write(record);
    }
    EXPECT_THAT(folder.names(), IsEmpty());
    sink->write(record);
    EXPECT_THAT(folder.names(), SizeIs(1));
}

// Keeping the folder small

class CountingEraser final : public FileEraser {
public:
    void erase() override { ++count; }
    unsigned count = 0;
};
class FailingEraser final : public FileEraser {
public:
    void erase() override { throw ErrorException({"Test", 1}, "No."); }
};

TEST_F(TextFileSinkTest, TidiesTheFolderBeforeEachFile) {
    const auto eraser = boost::make_shared<CountingEraser>();
    const auto sink = makeSink(10, 4, eraser);
    EXPECT_EQ(eraser->count, 0U);
    sink->start();
    EXPECT_EQ(eraser->count, 1U);
    sink->write(errorOf("a"));
    EXPECT_EQ(eraser->count, 2U);
    sink->setThreshold(Severity::fatal);
    sink->write(errorOf("b"));
    EXPECT_EQ(eraser->count, 2U);
}

TEST_F(TextFileSinkTest, ClosesItsFileBeforeTheFolderIsTidied) {
    folder.make("p-0.log", std::string(1000, 'x'));
    const auto sink = makeSink(10, 4, boost::make_shared<FileEraserImpl>(folder.path(), L"p-*.log", 0));
    sink->start();
    EXPECT_THAT(folder.lines("p-0.log"), SizeIs(1)); // what was selected went, too
    sink->write(errorOf("a"));
    EXPECT_THAT(folder.names(), ElementsAre("p-1.log"));
    EXPECT_EQ(folder.content("p-1.log"), lineOf("a"));
}

TEST_F(TextFileSinkTest, WritesWhenTheFolderCannotBeTidied) {
    const auto sink = makeSink(roomy, 4, boost::make_shared<FailingEraser>());
    sink->start();
    sink->write(errorOf("a"));
    EXPECT_THAT(folder.content("p-0.log"), testing::EndsWith(lineOf("a")));
}

TEST_F(TextFileSinkTest, KeepsNoHandle) {
    const std::size_t before = countOpenHandles();
    {
        const auto sink = startSink(10, 4);
        for (int count = 0; count < 50; ++count) {
            sink->write(errorOf("a"));
        }
        EXPECT_EQ(countOpenHandles(), before + 1);
    }
    EXPECT_EQ(countOpenHandles(), before);
}

TEST_F(TextFileSinkTest, TakesTheRecordsOfACore) {
    const auto core = CoreImpl::create();
    core->addSink(boost::shared_ptr<Sink>(startSink().release()));
    core->createLogger().warn({"Test", 1}) << "message";
    core->flush();
    core->shutdown(ShutdownMode::silent);
    ASSERT_THAT(folder.lines("p-0.log"), SizeIs(2));
    EXPECT_THAT(folder.lines("p-0.log")[1], testing::EndsWith(" warn   Test                (    1) message"));
}

} // namespace
