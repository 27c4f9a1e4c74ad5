#include "tests/fuzz/GuardedHeap.h"

#include "tests/fuzz/FaultWatch.h"
#include "tests/support/Faults.h"
#include "util/StructureException.h"
#include "util/StructuredExceptionGuard.h"

#include <windows.h>

#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using namespace JY;
using Fuzz::GuardedHeap;

constexpr std::uint32_t accessViolation = 0xC0000005;
constexpr std::uint32_t illegalInstruction = 0xC000001D;

template <class Body>
std::uint32_t codeOfFault(Body body) {
    const TranslatorScope translator(translateStructuredException);
    try {
        callTranslated(body);
    } catch (const StructureException& exception) {
        return exception.code();
    }
    return 0;
}

std::uint32_t codeOfReading(const volatile std::uint8_t* place) {
    return codeOfFault([=] { static_cast<void>(*place); });
}

std::uint32_t codeOfWriting(volatile std::uint8_t* place) {
    return codeOfFault([=] { *place = 1; });
}

class GuardedHeapTest : public testing::Test {
protected:
    std::uint8_t* allocate(std::size_t size, std::size_t alignment = 16) {
        return static_cast<std::uint8_t*>(heap.allocate(size, alignment));
    }

    GuardedHeap heap{1024};
};

TEST_F(GuardedHeapTest, FaultsOneByteBehindABlock) {
    for (const std::size_t size : {1U, 2U, 3U, 7U, 8U, 15U, 16U, 17U, 4095U, 4096U, 4097U, 100'000U}) {
        std::uint8_t* const block = allocate(size);
        EXPECT_EQ(codeOfWriting(block + size - 1), 0U) << size;
        EXPECT_EQ(codeOfReading(block + size), accessViolation) << size;
        EXPECT_EQ(codeOfWriting(block + size), accessViolation) << size;
    }
}

TEST_F(GuardedHeapTest, FaultsBehindWholeWordsAlignedAsPointers) {
    std::uint8_t* const block = allocate(28);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(void*), 0U);
    EXPECT_EQ(codeOfWriting(block + 31), 0U);
    EXPECT_EQ(codeOfWriting(block + 32), accessViolation);
}

TEST_F(GuardedHeapTest, FaultsInABlockThatHasBeenFreed) {
    std::uint8_t* const block = allocate(10);
    EXPECT_EQ(codeOfReading(block), 0U);
    heap.free(block);
    EXPECT_EQ(codeOfReading(block), accessViolation);
    EXPECT_EQ(codeOfWriting(block), accessViolation);
}

TEST_F(GuardedHeapTest, KeepsFreedBlocksAwayUntilItsAddressesAreUsedUp) {
    std::uint8_t* const first = allocate(10);
    heap.free(first);
    for (int count = 1; count < 512; ++count) { // two pages each
        void* const block = allocate(10);
        ASSERT_NE(block, nullptr);
        EXPECT_NE(block, first);
        heap.free(block);
    }
    EXPECT_EQ(codeOfReading(first), accessViolation);
    EXPECT_EQ(allocate(10), first);
    EXPECT_EQ(codeOfReading(first), 0U);
}

TEST_F(GuardedHeapTest, GoesRoundBlocksThatAreInUse) {
    std::uint8_t* const kept = allocate(10);
    *kept = 7;
    for (int count = 0; count < 2000; ++count) {
        void* const block = allocate(5000);
        ASSERT_NE(block, nullptr);
        heap.free(block);
    }
    EXPECT_EQ(*kept, 7);
}

TEST_F(GuardedHeapTest, TrapsWhenABlockIsFreedTwice) {
    std::uint8_t* const block = allocate(10);
    heap.free(block);
    EXPECT_EQ(codeOfFault([&] { heap.free(block); }), illegalInstruction);
}

TEST_F(GuardedHeapTest, AlignsAsAsked) {
    for (const std::size_t alignment : {1U, 2U, 8U, 16U, 64U, 4096U}) {
        for (const std::size_t multiple : {1U, 2U, 3U, 5U}) {
            const auto block = reinterpret_cast<std::uintptr_t>(allocate(alignment * multiple, alignment));
            EXPECT_EQ(block % alignment, 0U) << alignment;
        }
    }
}

TEST_F(GuardedHeapTest, FillsItsBlocks) {
    EXPECT_EQ(*allocate(1), GuardedHeap::pattern);
    EXPECT_EQ(allocate(5000)[4999], GuardedHeap::pattern);
}

TEST_F(GuardedHeapTest, GivesABlockForNothing) {
    EXPECT_NE(allocate(0), nullptr);
}

TEST_F(GuardedHeapTest, KnowsItsOwnBlocks) {
    int other = 0;
    EXPECT_FALSE(heap.owns(&other));
    const void* const block = allocate(10);
    EXPECT_TRUE(heap.owns(block));
    EXPECT_FALSE(heap.owns(&other));
}

TEST_F(GuardedHeapTest, RefusesMoreThanItHas) {
    EXPECT_EQ(allocate(1024 * GuardedHeap::pageSize), nullptr);
    EXPECT_NE(allocate(1023 * GuardedHeap::pageSize), nullptr);
    EXPECT_EQ(allocate(1), nullptr);
}

TEST(GuardedHeap, RefusesMoreBlocksThanItMayHave) {
    GuardedHeap heap(1024, 2);
    void* const first = heap.allocate(1, 1);
    EXPECT_NE(heap.allocate(1, 1), nullptr);
    EXPECT_EQ(heap.allocate(1, 1), nullptr);
    heap.free(first);
    EXPECT_NE(heap.allocate(1, 1), nullptr);
}

TEST(FaultWatch, NotesAFaultThatIsHandled) {
    Fuzz::FaultWatch watch;
    EXPECT_EQ(watch.take(), "");
    EXPECT_EQ(codeOfFault([] { JY::Test::readFrom(nullptr); }), accessViolation);
    const std::string fault = watch.take();
    EXPECT_THAT(fault, testing::StartsWith("fault 0xC0000005, 1 in all, access 0 of 0x0, at fuzzer_tests.exe+0x"));
    EXPECT_THAT(fault.substr(fault.find("called by")), testing::HasSubstr(" fuzzer_tests.exe+0x"));
    EXPECT_EQ(watch.take(), "");
}

} // namespace
