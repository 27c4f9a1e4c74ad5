#include "util/CallStack.h"

#include "tests/support/DebugOutputCapture.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/SymbolHandler.h"
#include "util/ErrorException.h"
#include "util/StackLock.h"
#include "util/TextBuffer.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mutex>
#include <regex>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace JY;
using Test::DebugOutputCapture;
using Test::ImportPatch;
using Test::SymbolHandler;
using Test::SymbolLookupScope;
using testing::ElementsAre;

constexpr SourceFile here{"CallStackTest"};

std::string ownModule() {
    char path[MAX_PATH];
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    const std::string whole = path;
    return whole.substr(whole.rfind('\\') + 1);
}

std::vector<std::string> framesOf(const std::string& stack) {
    std::vector<std::string> frames;
    std::size_t start = 0;
    while (start <= stack.size()) {
        const std::size_t end = std::min(stack.find(',', start), stack.size());
        frames.push_back(stack.substr(start, end - start));
        start = end + 1;
    }
    return frames;
}

[[gnu::noinline]] std::string stackThrownHere() {
    try {
        throw ErrorException(here(), "x");
    } catch (const ErrorException& exception) {
        return exception.callStack();
    }
}

std::size_t offsetIn(const std::string& frame) {
    return std::stoull(frame.substr(frame.find(':') + 1), nullptr, 16);
}

TEST(CallStack, FramesWithoutSymbolsAreSectionOffsetAndModule) {
    const auto frames = framesOf(stackThrownHere());
    ASSERT_GE(frames.size(), 2U);
    const std::regex form("[0-9a-f]+:[0-9a-f]+\\([^()]+\\)|Fail[123]");
    for (const std::string& frame : frames) {
        EXPECT_TRUE(std::regex_match(frame, form)) << frame;
    }
    EXPECT_NE(frames.front().find("(" + ownModule() + ")"), std::string::npos);
}

/// Constructs and returns, so that the throw site is surely in this function.
[[gnu::noinline]] std::string stackOfThrowSite() {
    const ErrorException exception(here(), "x");
    return exception.callStack();
}

TEST(CallStack, BeginsAtTheThrowSite) {
    const std::string function = describeModuleAddress(reinterpret_cast<const void*>(&stackOfThrowSite));
    const std::string first = framesOf(stackOfThrowSite()).front();
    EXPECT_GT(offsetIn(first), offsetIn(function));
    EXPECT_LT(offsetIn(first), offsetIn(function) + 0x200);
}

[[gnu::noipa]] std::string recurse(int depth) {
    if (depth == 0) {
        return ErrorException(here(), "x").callStack();
    }
    const std::string stack = recurse(depth - 1);
    return stack + ""; // keeps this from being a tail call
}

TEST(CallStack, ShowsRecursionOnce) {
    const auto frames = framesOf(recurse(8));
    const auto shallow = framesOf(recurse(2));
    EXPECT_EQ(frames.size(), shallow.size());
    for (std::size_t i = 1; i < frames.size(); ++i) {
        EXPECT_NE(frames[i], frames[i - 1]);
    }
}

[[gnu::noipa]] std::string oddStep(int depth);

[[gnu::noipa]] std::string evenStep(int depth) {
    const std::string stack = depth == 0 ? ErrorException(here(), "x").callStack() : oddStep(depth - 1);
    return stack + ""; // keeps this from being a tail call
}

std::string oddStep(int depth) {
    const std::string stack = evenStep(depth - 1);
    return stack + "";
}

TEST(CallStack, KeepsThirtyOfADeeperStack) {
    EXPECT_LT(framesOf(evenStep(2)).size(), 30U);
    const auto frames = framesOf(evenStep(60)); // no frame is equal to the one beside it
    ASSERT_EQ(frames.size(), 30U);
    EXPECT_EQ(frames.back(), frames[27]);
    EXPECT_NE(frames.back(), frames[28]);
}

TEST(CallStack, IsCapturedByManyThreadsAtOnce) {
    std::atomic<int> good{0};
    std::vector<std::jthread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 50; ++round) {
                good += stackThrownHere().empty() ? 0 : 1;
            }
        });
    }
    threads.clear();
    EXPECT_EQ(good, 400);
}

TEST(SymbolSwitch, IsOffAndGivesNoNames) {
    EXPECT_FALSE(symbolLookupEnabled);
    const StackFrame frame = lookUpSymbol(reinterpret_cast<const void*>(&stackThrownHere));
    EXPECT_TRUE(frame.name.empty());
    EXPECT_TRUE(frame.file.empty());
}

class SymbolLookup : public testing::Test {
    const SymbolLookupScope scope_;
};

TEST_F(SymbolLookup, ThatFailsGivesNoNames) {
    const StackFrame frame = lookUpSymbol(reinterpret_cast<const void*>(&stackThrownHere)); // no symbols are loaded
    EXPECT_TRUE(frame.name.empty());
    EXPECT_TRUE(frame.file.empty());
}

TEST_F(SymbolLookup, GivesNameFileAndLine) {
    const SymbolHandler handler({"function"});
    const StackFrame frame = lookUpSymbol(reinterpret_cast<const void*>(1));
    EXPECT_EQ(frame.name, "function");
    EXPECT_EQ(frame.file, "file.cpp");
    EXPECT_EQ(frame.line, 12U);
}

TEST_F(SymbolLookup, GivesTheDisplacementInPlaceOfAnUnknownLine) {
    const SymbolHandler handler({"function"}, 1, false);
    const StackFrame frame = lookUpSymbol(reinterpret_cast<const void*>(1));
    EXPECT_EQ(frame.name, "function");
    EXPECT_EQ(frame.file, "?");
    EXPECT_EQ(frame.line, 7U);
}

TEST_F(SymbolLookup, GivesTheNameAloneOfASymbolWithoutAnAddress) {
    const SymbolHandler handler({"function"}, 0);
    const StackFrame frame = lookUpSymbol(reinterpret_cast<const void*>(1));
    EXPECT_EQ(frame.name, "function");
    EXPECT_TRUE(frame.file.empty());
}

TEST_F(SymbolLookup, EndsTheCallStackBehindTheEntryOfTheModule) {
    for (const std::string entry : {"main", "DllCanUnloadNow"}) {
        const SymbolHandler handler({"one", "one", "two", entry, "beyond"});
        EXPECT_EQ(recurse(8), "one@file.cpp:12,two@file.cpp:12," + entry + "@file.cpp:12");
    }
}

TEST_F(SymbolLookup, DoesNotEndTheCallStackAtALongerName) {
    const SymbolHandler handler({"mainLoop", "two", "main", "beyond"}, 0);
    EXPECT_EQ(recurse(8), "mainLoop,two,main");
}

USHORT WINAPI captureNothing(ULONG, ULONG, PVOID*, PULONG) {
    return 0;
}

TEST(CallStack, IsEmptyWhenNothingCanBeCaptured) {
    const ImportPatch<decltype(&RtlCaptureStackBackTrace)> patch("RtlCaptureStackBackTrace", &captureNothing);
    EXPECT_EQ(stackThrownHere(), "");
}

DWORD WINAPI findNoFileName(HMODULE, LPSTR, DWORD) {
    SetLastError(0x1234);
    return 0;
}

TEST(DescribeModuleAddress, AnswersFail2ForAModuleWithoutAFileAndTellsTheDebuggerWhy) {
    const ImportPatch<decltype(&GetModuleFileNameA)> patch("GetModuleFileNameA", &findNoFileName);
    const DebugOutputCapture output;
    EXPECT_EQ(describeModuleAddress(reinterpret_cast<const void*>(&stackThrownHere)), "Fail2");
    EXPECT_THAT(output.lines(), ElementsAre("GetModuleFileNameA failed. 1234"));
}

TEST(DescribeModuleAddress, GivesSectionOffsetAndFileName) {
    const auto* const base = reinterpret_cast<const char*>(GetModuleHandleW(nullptr));
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const IMAGE_SECTION_HEADER& text = *IMAGE_FIRST_SECTION(nt);
    EXPECT_EQ(describeModuleAddress(base + text.VirtualAddress + 0x1a), "1:1a(" + ownModule() + ")");
}

TEST(DescribeModuleAddress, AnswersFail1OutsideAnyModule) {
    EXPECT_EQ(describeModuleAddress(reinterpret_cast<const void*>(1)), "Fail1");
}

TEST(DescribeModuleAddress, TellsTheDebuggerWhyItAnsweredFail1) {
    const DebugOutputCapture output;
    EXPECT_EQ(describeModuleAddress(reinterpret_cast<const void*>(1)), "Fail1");
    EXPECT_THAT(output.lines(), ElementsAre("GetModuleHandleExA failed. 7e")); // ERROR_MOD_NOT_FOUND
}

TEST(DescribeModuleAddress, TakesTheNullAddressForTheProgramAsTheSystemDoes) {
    EXPECT_EQ(describeModuleAddress(nullptr), "Fail3");
}

TEST(DescribeModuleAddress, AnswersFail3OutsideAnySection) {
    EXPECT_EQ(describeModuleAddress(GetModuleHandleW(nullptr)), "Fail3"); // the headers belong to no section
}

TEST(StackLock, IsMadeByTheFirstOfManyThreadsAndExcludesTheOthers) {
    static StackLock lock;
    int count = 0;
    std::vector<std::jthread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 1000; ++round) {
                const std::lock_guard guard(lock);
                ++count;
            }
        });
    }
    threads.clear();
    EXPECT_EQ(count, 8000);
}

} // namespace
