#include "tests/fuzz/Patience.h"

namespace JY::Fuzz {

namespace {

std::uint64_t ticksOf(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

std::uint64_t processorTime() {
    FILETIME created{};
    FILETIME ended{};
    FILETIME kernel{};
    FILETIME user{};
    GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user);
    return (ticksOf(kernel) + ticksOf(user)) / 10'000;
}

} // namespace

Patience::Patience(std::uint64_t workMilliseconds, std::uint64_t waitMilliseconds)
    : mostWork_(workMilliseconds), longestWait_(waitMilliseconds), started_(GetTickCount64()),
      startedProcessor_(processorTime()) {}

bool Patience::isOver() const {
    return processorMilliseconds() > mostWork_ || GetTickCount64() - started_ >= longestWait_;
}

std::uint64_t Patience::processorMilliseconds() const {
    return processorTime() - startedProcessor_;
}

} // namespace JY::Fuzz
