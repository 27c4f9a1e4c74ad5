// Exceptions and streams keep the order of their operations, behind a destructor that takes the first two places.

#include "tests/support/VirtualSlot.h"
#include "util/Exception.h"
#include "util/Stream.h"

#include <gtest/gtest.h>
#include <type_traits>

namespace {

using JY::Exception;
using JY::Stream;
using JY::Test::slotOf;

} // namespace

TEST(InterfaceOrder, OfExceptions) {
    EXPECT_TRUE(std::has_virtual_destructor_v<Exception>);
    EXPECT_EQ(slotOf(&Exception::getMessage), 2U);
    EXPECT_EQ(slotOf(&Exception::getDescription), 3U);
}

TEST(InterfaceOrder, OfStreams) {
    EXPECT_TRUE(std::has_virtual_destructor_v<Stream>);
    EXPECT_EQ(slotOf(&Stream::read), 2U);
    EXPECT_EQ(slotOf(&Stream::skip), 3U);
    EXPECT_EQ(slotOf(&Stream::tell), 4U);
    EXPECT_EQ(slotOf(&Stream::seek), 5U);
    EXPECT_EQ(slotOf(&Stream::setLimit), 6U);
    EXPECT_EQ(slotOf(&Stream::remaining), 7U);
    EXPECT_EQ(slotOf(&Stream::clearLimit), 8U);
}
