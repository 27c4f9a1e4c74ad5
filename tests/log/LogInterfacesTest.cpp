// The log's interfaces keep the order of their operations.

#include "log/Core.h"
#include "log/InternalCoreInterface.h"
#include "log/Sink.h"
#include "tests/support/VirtualSlot.h"

#include <gtest/gtest.h>
#include <type_traits>

namespace {

using namespace JY;
using namespace JY::Log2;
using Test::slotOf;

using TracedMember = Logger(SourcePosition, const std::type_info&, std::string_view, Severity);
using TracedFunction = Logger(SourcePosition, std::string_view, Severity);
using Untraced = Logger();

TEST(LogInterfaces, CoreKeepsItsOrder) {
    EXPECT_EQ(slotOf(&Core::addSink), 0U);
    EXPECT_EQ(slotOf(&Core::flush), 1U);
    EXPECT_EQ(slotOf(&Core::shutdown), 2U);
    EXPECT_EQ(slotOf<TracedMember>(&Core::createLogger), 3U);
    EXPECT_EQ(slotOf<TracedFunction>(&Core::createLogger), 4U);
    EXPECT_EQ(slotOf<Untraced>(&Core::createLogger), 5U);
    EXPECT_TRUE(std::has_virtual_destructor_v<Core>); // comes last, as the places above leave no room before them
}

TEST(LogInterfaces, LoggersSideOfTheCoreKeepsItsOrder) {
    EXPECT_EQ(slotOf(&InternalCoreInterface::write), 0U);
    EXPECT_EQ(slotOf(&InternalCoreInterface::releaseLogger), 1U);
    EXPECT_FALSE(std::has_virtual_destructor_v<InternalCoreInterface>);
}

TEST(LogInterfaces, SinkKeepsItsOrderBehindItsDestructor) {
    EXPECT_TRUE(std::has_virtual_destructor_v<Sink>);
    EXPECT_EQ(slotOf(&Sink::flush), 2U);
    EXPECT_EQ(slotOf(&Sink::close), 3U);
    EXPECT_EQ(slotOf(&Sink::write), 4U);
    EXPECT_EQ(slotOf(&Sink::setThreshold), 5U);
}

} // namespace
