#include "util/CallStack.h"

#include "util/ErrorException.h"
#include "util/StackLock.h"
#include "util/TextBuffer.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <mutex>
#include <regex>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace JY;

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

/// An exception and the address that the call making it returns to, named as a frame.
struct Thrown {
    std::string stack;
    std::string site;
};

[[gnu::noinline]] Thrown throwHere() {
    try {
        throw ErrorException(here(), "x");
    } catch (const ErrorException& exception) {
        return {exception.callStack(), ""};
    }
}

std::size_t offsetIn(const std::string& frame) {
    return std::stoull(frame.substr(frame.find(':') + 1), nullptr, 16);
}

TEST(CallStack, FramesWithoutSymbolsAreSectionOffsetAndModule) {
    const auto frames = framesOf(throwHere().stack);
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

TEST(CallStack, HoldsThirtyFramesAtMost) {
    EXPECT_LE(framesOf(recurse(100)).size(), 30U);
}

TEST(CallStack, IsCapturedByManyThreadsAtOnce) {
    std::atomic<int> good{0};
    std::vector<std::jthread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 50; ++round) {
                good += throwHere().stack.empty() ? 0 : 1;
            }
        });
    }
    threads.clear();
    EXPECT_EQ(good, 400);
}

TEST(SymbolLookup, IsOffAndGivesNoNames) {
    EXPECT_FALSE(symbolLookupEnabled);
    const StackFrame frame = lookUpSymbol(reinterpret_cast<const void*>(&throwHere));
    EXPECT_TRUE(frame.name.empty());
    EXPECT_TRUE(frame.file.empty());
}

TEST(SymbolLookup, ThatFailsGivesNoNames) {
    symbolLookupEnabled = true; // no symbol handler has been initialised
    const StackFrame frame = lookUpSymbol(reinterpret_cast<const void*>(&throwHere));
    symbolLookupEnabled = false;
    EXPECT_TRUE(frame.name.empty());
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
