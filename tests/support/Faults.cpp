#include "tests/support/Faults.h"

#define JY_UNCHECKED __attribute__((noinline, no_sanitize("undefined")))

namespace JY::Test {

JY_UNCHECKED int readFrom(const volatile int* address) {
    return *address;
}

JY_UNCHECKED void writeTo(volatile int* address) {
    *address = 1;
}

JY_UNCHECKED int divide(int dividend, int divisor) {
    const volatile int denominator = divisor;
    return dividend / denominator;
}

JY_UNCHECKED void callAt(void (*function)()) {
    void (*volatile target)() = function;
    target();
}

} // namespace JY::Test
