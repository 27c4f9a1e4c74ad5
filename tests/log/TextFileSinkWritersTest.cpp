#include "log/FileEraserImpl.h"
#include "log/TextFileSink.h"
#include "tests/log/LogFolder.h"
#include "tests/log/Records.h"
#include "util/Handle.h"
#include "util/JYWin32.h"
#include "util/String.h"

#include <windows.h>

#include <boost/make_shared.hpp>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace JY;
using namespace JY::Log2;
using Test::errorOf;
using Test::LogFolder;
using Test::recordOf;
using Test::testHead;
using testing::ElementsAre;

/// Several threads, sinks and processes at once.
class TextFileSinkWritersTest : public testing::Test {
protected:
    LogFolder folder;
};

constexpr int threadCount = 4;
constexpr int roundCount = 200;

/// Threads that write "thread/round" each to every sink.
void writeFromManyThreads(const std::vector<Sink*>& sinks, std::size_t padding) {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([=] {
            static constexpr std::array files{"A", "Bbbbbbbbbbbbbbbbbbbb", "Cccccc", "Ddddddddddddddddddddddddd"};
            for (int round = 0; round < roundCount; ++round) {
                const std::string message =
                    std::to_string(thread) + "/" + std::to_string(round) + "/" + std::string(padding, 'x');
                for (Sink* const sink : sinks) {
                    sink->write(recordOf(Severity::error, files[static_cast<std::size_t>(thread)], thread, message));
                }
            }
        });
    }
}

/// Whether a line came from `writeFromManyThreads`, whole.
bool isWhole(const std::string& line) {
    static constexpr std::array heads{"A                   (    0) 0/", "Bbbbbbbbbbbbbbbbbbbb(    1) 1/",
                                      "Cccccc              (    2) 2/", "Dddddddddddddddddddd(    3) 3/"};
    return std::ranges::any_of(heads, [&](const std::string& head) {
        return line.starts_with("2026/03/04 05:06:07.008 00000abc error  " + head);
    });
}

TEST_F(TextFileSinkWritersTest, WritesEveryRecordOfManyThreadsWhole) {
    TextFileSink sink(folder.path(), L"p-", 0x40000000, 8, nullptr);
    TextFileSink other(folder.path(), L"q-", 0x40000000, 8, nullptr); // renders under a lock of its own
    writeFromManyThreads({&sink, &other}, 30);
    for (const std::string name : {"p-1.log", "q-1.log"}) {
        auto lines = folder.lines(name);
        EXPECT_EQ(lines.size(), static_cast<std::size_t>(threadCount) * roundCount);
        EXPECT_TRUE(std::ranges::all_of(lines, isWhole));
        std::ranges::sort(lines);
        EXPECT_EQ(std::ranges::unique(lines).size(), 0U);
    }
}

TEST_F(TextFileSinkWritersTest, KeepsLinesWholeWhileItChangesFiles) {
    TextFileSink sink(folder.path(), L"p-", 2000, 3, nullptr);
    writeFromManyThreads({&sink}, 30);
    EXPECT_THAT(folder.names(), ElementsAre("p-0.log", "p-1.log", "p-2.log"));
    for (const std::string& name : folder.names()) {
        const auto lines = folder.lines(name);
        EXPECT_FALSE(lines.empty());
        EXPECT_TRUE(std::ranges::all_of(lines, isWhole)) << name;
    }
}

/// Another run of this program, which writes into `folder` as `process`.
class WritingProcess {
public:
    WritingProcess(const std::wstring& folder, unsigned process) {
        SetEnvironmentVariableW(L"JY_TEST_FOLDER", folder.c_str());
        SetEnvironmentVariableW(L"JY_TEST_PROCESS", std::to_wstring(process).c_str());
        std::wstring command = L"\"" + getModulePath(nullptr) +
                               L"\" --gtest_also_run_disabled_tests --gtest_brief=1 "
                               L"--gtest_filter=TextFileSinkWriter.DISABLED_Writes";
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &info_)) {
            process_ = Handle(info_.hProcess);
            thread_ = Handle(info_.hThread);
        }
        SetEnvironmentVariableW(L"JY_TEST_FOLDER", nullptr);
        SetEnvironmentVariableW(L"JY_TEST_PROCESS", nullptr);
    }
    bool ends() const { return process_ && WaitForSingleObject(process_.get(), 60'000) == WAIT_OBJECT_0; }

private:
    PROCESS_INFORMATION info_{};
    Handle process_;
    Handle thread_;
};

std::wstring environment(const wchar_t* name) {
    wchar_t value[MAX_PATH + 1];
    return {value, GetEnvironmentVariableW(name, value, MAX_PATH + 1)};
}

constexpr std::uint32_t processFileSize = 4000;
constexpr std::uint64_t processBudget = 20'000;

/// What a process of the test below does; run by that test only.
TEST(TextFileSinkWriter, DISABLED_Writes) {
    const std::wstring folder = environment(L"JY_TEST_FOLDER");
    const std::wstring process = environment(L"JY_TEST_PROCESS");
    ASSERT_FALSE(folder.empty());
    const auto eraser = boost::make_shared<FileEraserImpl>(folder, L"log-*.log", processBudget);
    TextFileSink sink(folder, L"log-" + process + L"-", processFileSize, 4, eraser);
    sink.start();
    const std::string message = toNarrow(process) + "/";
    for (int round = 0; round < 1000; ++round) {
        sink.write(errorOf(message + std::to_string(round)));
    }
    std::ofstream(std::filesystem::path(folder) / (process + L".done")) << "done";
}

TEST_F(TextFileSinkWritersTest, SharesAFolderAmongProcesses) {
    {
        const std::array<WritingProcess, 3> processes{
            WritingProcess(folder.path(), 1), WritingProcess(folder.path(), 2), WritingProcess(folder.path(), 3)};
        for (const WritingProcess& process : processes) {
            EXPECT_TRUE(process.ends());
        }
    }
    std::uint64_t total = 0;
    std::size_t done = 0;
    for (const std::string& name : folder.names()) {
        done += name.ends_with(".done") ? 1U : 0U;
        total += name.ends_with(".log") ? folder.content(name).size() : 0U;
        for (const std::string& line : folder.lines(name)) {
            // Whole, and in a file of its own process.
            const bool isSelection = line.find("TextFileSink selectedFile=") != std::string::npos;
            EXPECT_TRUE(isSelection || line.starts_with(std::string(testHead) + name.substr(4, 1) + "/"))
                << name << ": " << line;
        }
    }
    EXPECT_EQ(done, 3U);
    EXPECT_GT(total, 0U);
    // Files that are open, and one that each process has begun since it tidied, may come on top.
    EXPECT_LE(total, processBudget + 2 * 3 * (processFileSize + 200));
}

} // namespace
