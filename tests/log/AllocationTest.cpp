#include "log/CoreImpl.h"
#include "log/DebugOutSink.h"
#include "tests/support/Allocations.h"
#include "util/ApiErrorException.h"

#include <boost/make_shared.hpp>

#include <gtest/gtest.h>

namespace {

using namespace JY;
using namespace JY::Log2;
using Test::allocationsOf;

constexpr SourceFile here{"AllocationTest"};

TEST(Record, OfOrdinaryLengthIsBuiltAndSentWithoutAllocating) {
    const auto core = CoreImpl::create();
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
    EXPECT_EQ(allocationsOf(traced).count, 0U);
    setCore(nullptr);
}

} // namespace
