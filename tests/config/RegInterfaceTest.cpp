#include "config/RegInterface.h"

#include "tests/support/VirtualSlot.h"

#include <gtest/gtest.h>
#include <type_traits>

namespace {

using JY::Test::slotOf;
using JY::Utl::ByteString;
using JY::Utl::RegInterface;

template <class Value>
using Setter = void(HKEY, const std::wstring&, const std::wstring&, const Value&, REGSAM);
template <class Number>
using NumberSetter = void(HKEY, const std::wstring&, const std::wstring&, Number, REGSAM);
using ValueQuestion = bool(HKEY, const std::wstring&, const std::wstring&, REGSAM);
using KeyQuestion = bool(HKEY, const std::wstring&, REGSAM);

} // namespace

TEST(RegInterface, OperationsKeepTheirOrder) {
    EXPECT_EQ(slotOf<ValueQuestion>(&RegInterface::isExist), 0U);
    EXPECT_EQ(slotOf<KeyQuestion>(&RegInterface::isExist), 1U);
    EXPECT_EQ(slotOf(&RegInterface::getUInt), 2U);
    EXPECT_EQ(slotOf(&RegInterface::getULongLong), 3U);
    EXPECT_EQ(slotOf(&RegInterface::getString), 4U);
    EXPECT_EQ(slotOf(&RegInterface::getBinary), 5U);
    EXPECT_EQ(slotOf<Setter<ByteString>>(&RegInterface::setValue), 6U);
    EXPECT_EQ(slotOf<Setter<std::wstring>>(&RegInterface::setValue), 7U);
    EXPECT_EQ(slotOf<NumberSetter<std::uint32_t>>(&RegInterface::setValue), 8U);
    EXPECT_EQ(slotOf<NumberSetter<std::uint64_t>>(&RegInterface::setValue), 9U);
    EXPECT_EQ(slotOf(&RegInterface::deleteValue), 10U);
    EXPECT_EQ(slotOf(&RegInterface::deleteKey), 11U);
}

TEST(RegInterface, HasNoVirtualDestructor) {
    EXPECT_FALSE(std::has_virtual_destructor_v<RegInterface>);
}
