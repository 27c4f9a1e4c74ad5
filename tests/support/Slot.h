#pragma once

#include <cstddef>
#include <cstring>

namespace JY::Test {

/// The place of a virtual function in its class's table, counted from 0: a pointer to one holds the offset in the table
/// plus 1. A virtual destructor takes two places. An overload is chosen by its type, `slotOf<void(int)>(&C::f)`.
template <class Function, class Class>
std::size_t slotOf(Function Class::*function) {
    std::size_t offset = 0;
    std::memcpy(&offset, &function, sizeof offset);
    return (offset - 1) / sizeof(void*);
}

} // namespace JY::Test
