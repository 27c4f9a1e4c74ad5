#include "log/CoreImpl.h"
#include "log/DebugOutSink.h"
#include "util/ApiErrorException.h"

#include <windows.h>

#include <boost/make_shared.hpp>

#include <atomic>
#include <gtest/gtest.h>
#include <new>

namespace {
std::atomic<long> allocations{0};
}

void* operator new(std::size_t size) {
    ++allocations;
    if (void* const memory = HeapAlloc(GetProcessHeap(), 0, size)) {
        return memory;
    }
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    HeapFree(GetProcessHeap(), 0, memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    HeapFree(GetProcessHeap(), 0, memory);
}

namespace {

using namespace JY;
using namespace JY::Log2;

constexpr SourceFile here{"AllocationTest"};

TEST(Record, OfOrdinaryLengthIsBuiltAndSentWithoutAllocating) {
    const auto core = boost::make_shared<CoreImpl>();
    const auto sink = boost::make_shared<DebugOutSink>();
    sink->setThreshold(Severity::trace);
    core->addSink(sink);
    setCore(core);
    const auto traced = [] {
        const auto log = traceMember(here(), typeid(ApiErrorException), "RequestSample");
        log.info(here()) << "NaluSize=" << 12345 << " BufferSize=" << 67890U << L" wide " << GUID{}
                         << HexDump{"0123456789abcdef0123456789abcdef", 32};
    };
    traced(); // the first call looks the class name up
    const long before = allocations;
    traced();
    EXPECT_EQ(allocations - before, 0);
    setCore(nullptr);
}

} // namespace
