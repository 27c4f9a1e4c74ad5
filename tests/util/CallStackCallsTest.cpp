// What the call stack asks of the system, and what it makes of odd answers.

#include "tests/support/ImportPatch.h"
#include "util/CallStack.h"
#include "util/ErrorException.h"

#include <windows.h>

#include <gtest/gtest.h>
#include <string>

namespace {

using namespace JY;
using Test::ImportPatch;

constexpr SourceFile here{"CallStackCallsTest"};

void* codeOf(void (*function)()) {
    return reinterpret_cast<void*>(function);
}
void oneFunction() {}
void* const oneAddress = codeOf(&oneFunction);
void* const otherAddress = reinterpret_cast<void*>(&GetTickCount);

struct Capture {
    ULONG skipped = 0;
    ULONG count = 0;
    bool wantsFrames = false;
    bool wantsHash = false;
} asked;

USHORT WINAPI noteCapture(ULONG skipped, ULONG count, PVOID* frames, PULONG hash) {
    asked = {skipped, count, frames != nullptr, hash != nullptr};
    return 0;
}

USHORT WINAPI captureWithAGap(ULONG, ULONG, PVOID* frames, PULONG) {
    frames[0] = oneAddress;
    frames[1] = nullptr;
    frames[2] = otherAddress;
    return 3;
}

USHORT WINAPI captureTwo(ULONG, ULONG, PVOID* frames, PULONG) {
    frames[0] = oneAddress;
    frames[1] = otherAddress;
    return 2;
}

/// Says that there are two frames and gives one.
USHORT WINAPI captureTooFew(ULONG, ULONG, PVOID* frames, PULONG) {
    frames[0] = oneAddress;
    return 2;
}

using CaptureFunction = decltype(&RtlCaptureStackBackTrace);

std::string stackBy(CaptureFunction capture) {
    const ImportPatch<CaptureFunction> patch("RtlCaptureStackBackTrace", capture);
    return ErrorException(here(), "x").callStack();
}

} // namespace

TEST(CallStackCalls, AsksForThirtyFramesBeyondTheThreeOfItsOwn) {
    EXPECT_EQ(stackBy(&noteCapture), "");
    EXPECT_EQ(asked.skipped, 3U);
    EXPECT_EQ(asked.count, 30U);
    EXPECT_TRUE(asked.wantsFrames);
    EXPECT_FALSE(asked.wantsHash);
}

TEST(CallStackCalls, JoinsTheFramesThatItIsGiven) {
    EXPECT_EQ(stackBy(&captureTwo), describeModuleAddress(oneAddress) + "," + describeModuleAddress(otherAddress));
}

TEST(CallStackCalls, EndsAtTheFirstFrameWithoutAnAddress) {
    EXPECT_EQ(stackBy(&captureWithAGap), describeModuleAddress(oneAddress));
}

TEST(CallStackCalls, DoesNotShowTheFramesOfTheCaptureBefore) {
    stackBy(&captureTwo);
    EXPECT_EQ(stackBy(&captureTooFew), describeModuleAddress(oneAddress));
}
