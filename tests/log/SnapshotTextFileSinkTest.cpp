#include "log/SnapshotTextFileSink.h"

#include "log/FileEraserImpl.h"
#include "tests/log/LogFolder.h"
#include "tests/log/Records.h"
#include "tests/log/Sha1.h"
#include "tests/support/Allocations.h"
#include "tests/support/DebugOutputCapture.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/OpenHandles.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/FatalException.h"

#include <wincrypt.h>
#include <windows.h>

#include <boost/make_shared.hpp>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace JY;
using namespace JY::Log2;
using Test::allocationsOf;
using Test::countOpenHandles;
using Test::DebugOutputCapture;
using Test::errorOf;
using Test::failEachAllocationOf;
using Test::ImportPatch;
using Test::liveBlocks;
using Test::LogFolder;
using Test::recordOf;
using Test::rotatedDigest;
using Test::testHead;
using Test::thrownIn;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::uint32_t roomy = 0x100000;
const std::string beginText = "Begin snapshot.-----";
const std::string endText = "End snapshot.----- Digest=";
/// Of no data: da39a3ee5e6b4b0d3255bfef95601890afd80709 with each byte rotated left by one bit.
const std::string emptyDigest = "b57247ddbcd6961a64aa7fdf2bc030215fb10e12";

/// What follows the head of a line.
std::string messageOf(const std::string& line) {
    return line.substr(testHead.size());
}

struct Block {
    std::vector<std::string> messages;
    std::string bytes; ///< of the kept records
    std::string digest;
};

/// The whole blocks of a text.
std::vector<Block> blocksOf(std::string text) {
    std::vector<Block> blocks;
    Block block;
    for (std::size_t end = 0; (end = text.find("\r\n")) != std::string::npos; text.erase(0, end + 2)) {
        const std::string message = messageOf(text.substr(0, end));
        if (message == beginText) {
            block = {};
        } else if (message.starts_with(endText)) {
            block.digest = message.substr(endText.size());
            blocks.push_back(block);
        } else {
            block.messages.push_back(message);
            block.bytes += text.substr(0, end + 2);
        }
    }
    return blocks;
}

class SnapshotTextFileSinkTest : public testing::Test {
protected:
    /// A sink that keeps every record.
    std::unique_ptr<SnapshotTextFileSink> makeSink(std::uint32_t maxRecords = 1000, std::uint32_t maxEachSize = roomy,
                                                   boost::shared_ptr<FileEraser> eraser = nullptr) const {
        auto sink = std::make_unique<SnapshotTextFileSink>(folder.path(), L"p-s-", maxEachSize, 100U, std::move(eraser),
                                                           maxRecords);
        sink->setThreshold(Severity::trace);
        return sink;
    }
    std::vector<Block> blocks() const { return blocksOf(folder.content("p-s-0.log")); }
    /// The messages of the only block.
    std::vector<std::string> snapshotMessages() const {
        const auto all = blocks();
        return all.size() == 1 ? all.front().messages : std::vector<std::string>{"no single block"};
    }

    LogFolder folder;
};

TEST_F(SnapshotTextFileSinkTest, IsMadeUnderTheConditionsOfATextFileSink) {
    EXPECT_EQ(thrownIn<FatalException>([&] { makeSink(1, 0x40000001); }), "Too large maxEachSize. @TextFileSink");
    EXPECT_EQ(thrownIn<ErrorException>([] { SnapshotTextFileSink(L"C:\\%JY_UNKNOWN%", L"p", 1, 1, nullptr, 1); }),
              "Illegal % in log path. @TextFileSink");
}

TEST_F(SnapshotTextFileSinkTest, IsBothASinkAndASnapshot) {
    const boost::shared_ptr<Sink> sink(makeSink().release());
    EXPECT_NE(dynamic_cast<SinkSnapshot*>(sink.get()), nullptr);
}

TEST_F(SnapshotTextFileSinkTest, MakesNoFileBeforeTheFirstSnapshot) {
    const auto sink = makeSink();
    sink->write(errorOf("a"));
    sink->flush();
    EXPECT_THAT(folder.names(), IsEmpty());
    sink->snapshot();
    EXPECT_THAT(folder.names(), ElementsAre("p-s-0.log"));
}

TEST_F(SnapshotTextFileSinkTest, WritesBeginAndEndOnlyWhenItHasNoRecords) {
    makeSink()->snapshot();
    const auto lines = folder.lines("p-s-0.log");
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_EQ(messageOf(lines[0]), beginText);
    EXPECT_EQ(messageOf(lines[1]), endText + emptyDigest);
}

TEST_F(SnapshotTextFileSinkTest, WritesBeginAndEndAsNoticesOfItsOwn) {
    makeSink()->snapshot();
    char head[64];
    std::snprintf(head, sizeof head, " %08lx notice SnapshotTextFileSink(", GetCurrentThreadId());
    EXPECT_THAT(folder.lines("p-s-0.log"), ElementsAre(HasSubstr(head), HasSubstr(head)));
}

TEST_F(SnapshotTextFileSinkTest, WritesTheRecordsAsATextFileSinkDoes) {
    const auto sink = makeSink();
    sink->write(errorOf("first"));
    sink->write(errorOf(""));
    sink->write(recordOf(Severity::trace, "FlvTag", 65, "third"));
    sink->snapshot();
    ASSERT_THAT(blocks(), SizeIs(1));
    EXPECT_EQ(blocks()[0].bytes, std::string(testHead) + "first\r\n" + std::string(testHead) + "\r\n" +
                                     "2026/03/04 05:06:07.008 00000abc trace  FlvTag              (   65) third\r\n");
    EXPECT_EQ(blocks()[0].digest, "050ca8c9c8cc7fd2cbe407c479490f084ce04b41");
    EXPECT_EQ(blocks()[0].digest, rotatedDigest(blocks()[0].bytes));
}

TEST_F(SnapshotTextFileSinkTest, KeepsTheLastRecords) {
    const auto sink = makeSink(3);
    for (const char* message : {"a", "b", "c", "d", "e"}) {
        sink->write(errorOf(message));
    }
    sink->snapshot();
    EXPECT_THAT(snapshotMessages(), ElementsAre("c", "d", "e"));
}

TEST_F(SnapshotTextFileSinkTest, OfNoRecordsWritesEmptyBlocks) {
    const auto sink = makeSink(0);
    sink->write(errorOf("a"));
    sink->snapshot();
    EXPECT_THAT(snapshotMessages(), IsEmpty());
    EXPECT_EQ(blocks()[0].digest, emptyDigest);
}

TEST_F(SnapshotTextFileSinkTest, KeepsWhatPassesItsThresholdOnly) {
    const auto sink = makeSink();
    sink->setThreshold(Severity::fatal);
    sink->write(errorOf("dropped"));
    sink->write(recordOf(Severity::fatal, "Test", 1, "kept"));
    sink->snapshot(); // its own records are not held to the threshold
    EXPECT_THAT(snapshotMessages(), ElementsAre("kept"));
}

TEST_F(SnapshotTextFileSinkTest, KeepsItsRecordsAfterASnapshot) {
    const auto sink = makeSink();
    sink->write(errorOf("a"));
    sink->snapshot();
    sink->write(errorOf("b"));
    sink->snapshot();
    const auto all = blocks();
    ASSERT_THAT(all, SizeIs(2));
    EXPECT_THAT(all[0].messages, ElementsAre("a"));
    EXPECT_THAT(all[1].messages, ElementsAre("a", "b")); // begin and end records are not among them
    EXPECT_EQ(all[1].digest, rotatedDigest(all[1].bytes));
}

TEST_F(SnapshotTextFileSinkTest, CopiesMessages) {
    const auto sink = makeSink();
    std::string message = "original";
    sink->write(errorOf(message));
    message = "replaced";
    sink->snapshot();
    EXPECT_THAT(snapshotMessages(), ElementsAre("original"));
}

TEST_F(SnapshotTextFileSinkTest, WritesHugeMessages) {
    const auto sink = makeSink(1000, 0x40000000);
    sink->write(errorOf(std::string(3'000'000, 'x')));
    sink->snapshot();
    ASSERT_THAT(blocks(), SizeIs(1));
    EXPECT_EQ(blocks()[0].bytes.size(), testHead.size() + 3'000'002);
    EXPECT_EQ(blocks()[0].digest, rotatedDigest(blocks()[0].bytes));
}

TEST_F(SnapshotTextFileSinkTest, AppendsToTheFileOfItsPrefixThatIsThere) {
    folder.make("p-s-3.log", "before\r\n");
    const auto sink = makeSink();
    sink->snapshot();
    EXPECT_THAT(folder.names(), ElementsAre("p-s-3.log"));
    EXPECT_THAT(folder.lines("p-s-3.log"), ElementsAre("before", EndsWith(beginText), EndsWith(endText + emptyDigest)));
}

TEST_F(SnapshotTextFileSinkTest, WritesIntoTheFileThatIsOpen) {
    const auto sink = makeSink();
    sink->snapshot();
    folder.make("p-s-1.log", ""); // would be found, were a file looked for again
    sink->snapshot();
    EXPECT_THAT(blocks(), SizeIs(2));
    EXPECT_EQ(folder.content("p-s-1.log"), "");
}

TEST_F(SnapshotTextFileSinkTest, GoesOnWithItsFileAfterItWasClosed) {
    const auto sink = makeSink();
    sink->snapshot();
    sink->close();
    sink->snapshot();
    EXPECT_THAT(folder.names(), ElementsAre("p-s-0.log"));
    EXPECT_THAT(blocks(), SizeIs(2));
}

TEST_F(SnapshotTextFileSinkTest, ChangesFilesWithinABlock) {
    const auto sink = makeSink(1000, 300);
    for (int count = 0; count < 20; ++count) {
        sink->write(errorOf("record " + std::to_string(count)));
    }
    sink->snapshot();
    EXPECT_GT(folder.names().size(), 4U);
    std::string whole;
    for (std::size_t index = 0; index < folder.names().size(); ++index) {
        whole += folder.content("p-s-" + std::to_string(index) + ".log");
    }
    const auto all = blocksOf(whole);
    ASSERT_THAT(all, SizeIs(1));
    EXPECT_THAT(all[0].messages, SizeIs(20));
    EXPECT_EQ(all[0].digest, rotatedDigest(all[0].bytes));
}

TEST_F(SnapshotTextFileSinkTest, TidiesTheFolderBeforeItsFile) {
    folder.make("old.log", "x");
    const auto sink = makeSink(1000, roomy, boost::make_shared<FileEraserImpl>(folder.path(), L"*.log", 0));
    sink->write(errorOf("a"));
    EXPECT_THAT(folder.names(), ElementsAre("old.log"));
    sink->snapshot();
    EXPECT_THAT(folder.names(), ElementsAre("p-s-0.log"));
}

TEST_F(SnapshotTextFileSinkTest, WritesToTheDebuggerWithoutAFile) {
    SnapshotTextFileSink sink(folder.path("a"), L"p-s-", roomy, 8, nullptr, 10);
    sink.write(errorOf("a"));
    std::filesystem::remove(folder.path("a"));
    folder.make("a", "a file where the folder was");
    const DebugOutputCapture output;
    EXPECT_NO_THROW(sink.snapshot());
    EXPECT_EQ(output.count(beginText + "\n"), 1U);
    EXPECT_EQ(output.count(std::string(testHead) + "a\n"), 1U);
    EXPECT_EQ(output.count(endText + emptyDigest + "\n"), 1U); // nothing was written into a file
}

TEST_F(SnapshotTextFileSinkTest, KeepsNoHandle) {
    { makeSink()->snapshot(); } // the first one loads the cryptographic service
    const std::size_t before = countOpenHandles();
    {
        const auto sink = makeSink(10, 100);
        for (int count = 0; count < 20; ++count) {
            sink->write(errorOf("a"));
            sink->snapshot();
        }
    }
    EXPECT_EQ(countOpenHandles(), before);
}

// Failures

BOOL WINAPI failReading(HCRYPTHASH, DWORD, BYTE*, DWORD*, DWORD) {
    SetLastError(14);
    return FALSE;
}
BOOL WINAPI failHashing(HCRYPTHASH, const BYTE*, DWORD, DWORD) {
    SetLastError(11);
    return FALSE;
}
BOOL WINAPI failAcquiring(HCRYPTPROV*, const wchar_t*, const wchar_t*, DWORD, DWORD) {
    SetLastError(12);
    return FALSE;
}
BOOL WINAPI failCreating(HCRYPTPROV, ALG_ID, HCRYPTKEY, DWORD, HCRYPTHASH*) {
    SetLastError(13);
    return FALSE;
}
void* WINAPI failHeapAlloc(HANDLE, DWORD, SIZE_T) {
    return nullptr;
}

class FailingSnapshot : public SnapshotTextFileSinkTest {
protected:
    FailingSnapshot() { sink->write(errorOf("a")); }

    /// What a snapshot throws while a call fails.
    template <class Function>
    std::string failure(const char* call, Function replacement) {
        const ImportPatch<Function> patch(call, replacement);
        return thrownIn<ApiErrorException>([&] { sink->snapshot(); });
    }
    /// The messages in the file, and that the sink still writes blocks.
    std::vector<std::string> messagesSoFar() {
        std::vector<std::string> messages;
        for (const std::string& line : folder.lines("p-s-0.log")) {
            messages.push_back(messageOf(line));
        }
        sink->write(errorOf("b"));
        sink->snapshot();
        EXPECT_THAT(blocks(), SizeIs(1));
        EXPECT_THAT(blocks().back().messages, ElementsAre("a", "b"));
        EXPECT_EQ(blocks().back().digest, rotatedDigest(blocks().back().bytes));
        return messages;
    }

    std::unique_ptr<SnapshotTextFileSink> sink = makeSink();
};

TEST_F(FailingSnapshot, WithoutADigestThrowsAndHasNoEnd) {
    EXPECT_EQ(failure("CryptGetHashParam", &failReading), "CryptGetHashParam: (0xe) @Sha1Calculator");
    EXPECT_THAT(messagesSoFar(), ElementsAre(beginText, "a"));
}

TEST_F(FailingSnapshot, WithoutTheCryptographicServiceThrowsAfterItsBegin) {
    EXPECT_EQ(failure("CryptAcquireContextW", &failAcquiring), "CryptAcquireContext: (0xc) @Sha1Calculator");
    EXPECT_THAT(messagesSoFar(), ElementsAre(beginText));
}

TEST_F(FailingSnapshot, WithoutAHashThrowsAfterItsBegin) {
    EXPECT_EQ(failure("CryptCreateHash", &failCreating), "CryptCreateHash: (0xd) @Sha1Calculator");
    EXPECT_THAT(messagesSoFar(), ElementsAre(beginText));
}

TEST_F(FailingSnapshot, ThrowsWhenARecordCannotBeHashed) {
    EXPECT_EQ(failure("CryptHashData", &failHashing), "CryptHashData: (0xb) @Sha1Calculator");
    // The record was written; what follows stands behind it.
    EXPECT_THAT(folder.content("p-s-0.log"), EndsWith(std::string(testHead) + "a\r\n"));
    EXPECT_NO_THROW(sink->snapshot());
    EXPECT_EQ(folder.lines("p-s-0.log").back().substr(testHead.size()),
              endText + rotatedDigest(std::string(testHead) + "a\r\n"));
}

decltype(&WriteFile) systemWriteFile;

/// Writes half of each message and nothing of line ends.
BOOL WINAPI writeAPart(HANDLE file, const void* data, DWORD size, DWORD* written, OVERLAPPED*) {
    const bool isHead = size == testHead.size();
    *written = 0;
    return size == 2 || systemWriteFile(file, data, isHead ? size : size / 2, written, nullptr);
}

TEST_F(SnapshotTextFileSinkTest, DigestCoversWhatWasWritten) {
    const auto sink = makeSink(2);
    sink->write(errorOf("abcdef"));
    systemWriteFile = &WriteFile;
    {
        const ImportPatch<decltype(&WriteFile)> patch("WriteFile", &writeAPart);
        sink->snapshot();
    }
    const std::string content = folder.content("p-s-0.log");
    const std::string kept = std::string(testHead) + "abc";
    EXPECT_THAT(content, HasSubstr(kept));
    // The digest, too, is half of its record: its first digits tell.
    const std::string end = endText + rotatedDigest(kept);
    EXPECT_THAT(content, EndsWith(end.substr(0, end.size() / 2)));
}

TEST_F(FailingSnapshot, LeavesTheLockFree) {
    failure("CryptGetHashParam", &failReading);
    std::jthread([&] { sink->write(errorOf("b")); }).join();
    sink->snapshot();
    EXPECT_THAT(blocks().back().messages, ElementsAre("a", "b"));
}

TEST_F(SnapshotTextFileSinkTest, DropsARecordForWhichThereIsNoMemory) {
    const auto sink = makeSink(2);
    sink->write(errorOf("a"));
    sink->write(errorOf("b"));
    const std::string message(5000, 'x');
    {
        const ImportPatch<decltype(&HeapAlloc)> patch("HeapAlloc", &failHeapAlloc);
        EXPECT_NO_THROW(sink->write(errorOf(message)));
    }
    sink->snapshot();
    EXPECT_THAT(snapshotMessages(), ElementsAre("a", "b"));
}

TEST_F(SnapshotTextFileSinkTest, GoesOnWhicheverAllocationOfASnapshotFails) {
    const auto sink = makeSink(2);
    sink->write(errorOf("a"));
    sink->snapshot();
    const std::uint64_t before = liveBlocks();
    const std::uint64_t failures = failEachAllocationOf([&] {
        try {
            sink->snapshot();
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(liveBlocks(), before);
        }
    });
    EXPECT_GT(failures, 0U);
    EXPECT_THAT(blocks().back().messages, ElementsAre("a"));
    EXPECT_EQ(blocks().back().digest, rotatedDigest(blocks().back().bytes));
    EXPECT_EQ(liveBlocks(), before);
}

// Costs

TEST_F(SnapshotTextFileSinkTest, TakesLittleMemoryBeforeItsFirstRecord) {
    // For its paths; the records' storage grows with them.
    EXPECT_LT(allocationsOf([&] { makeSink(1'000'000); }).bytes, 8192U);
}

TEST_F(SnapshotTextFileSinkTest, KeepsARecordWithoutAllocatingOnceItIsWarm) {
    const auto sink = makeSink(100);
    const std::string message(500, 'x');
    const auto writeAll = [&] {
        for (int count = 0; count < 300; ++count) {
            sink->write(errorOf(message));
        }
    };
    writeAll();
    EXPECT_EQ(allocationsOf(writeAll).count, 0U);
}

// Several threads

TEST_F(SnapshotTextFileSinkTest, WritesWholeBlocksWhileRecordsCome) {
    const auto sink = makeSink(50, 0x40000000);
    const auto other = std::make_unique<TextFileSink>(folder.path("other"), L"p-", 0x40000000U, 8U, nullptr);
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 3; ++thread) {
            threads.emplace_back([&, thread] {
                for (int round = 0; round < 500; ++round) {
                    const std::string message = std::to_string(thread) + "/" + std::to_string(round);
                    sink->write(recordOf(Severity::trace, "Abcdefghijklmnopqrstuvwxyz", thread, message));
                    other->write(recordOf(Severity::error, "B", thread, message)); // renders meanwhile
                }
            });
        }
        threads.emplace_back([&] {
            for (int round = 0; round < 30; ++round) {
                sink->snapshot();
            }
        });
    }
    sink->snapshot();
    const auto all = blocks();
    EXPECT_THAT(all, SizeIs(31));
    EXPECT_THAT(all.back().messages, SizeIs(50));
    for (const Block& block : all) {
        EXPECT_EQ(block.digest, rotatedDigest(block.bytes));
    }
    const auto lines = blocks().back().bytes;
    for (std::size_t start = 0; start < lines.size(); start = lines.find("\r\n", start) + 2) {
        EXPECT_EQ(lines.substr(start, 60), "2026/03/04 05:06:07.008 00000abc trace  Abcdefghijklmnopqrst");
    }
}

} // namespace
