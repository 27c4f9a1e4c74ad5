#pragma once

#include <windows.h>

#include <chrono>
#include <cstdint>

namespace JY::Test {

/// How many times as long as another a build that counts its lines may take.
#ifdef JY_LINES_ARE_COUNTED
constexpr int countingAllowance = 5;
#else
constexpr int countingAllowance = 1;
#endif

/// The processor time that `call` takes on this thread: what other programs do on a busy machine does not count.
template <class Call>
std::chrono::milliseconds processorTimeOf(const Call& call) {
    const auto now = [] {
        FILETIME ignored{};
        FILETIME kernel{};
        FILETIME user{};
        GetThreadTimes(GetCurrentThread(), &ignored, &ignored, &kernel, &user);
        const auto hundredNanoseconds = [](FILETIME time) {
            return (std::int64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
        };
        return hundredNanoseconds(kernel) + hundredNanoseconds(user);
    };
    const std::int64_t start = now();
    call();
    return std::chrono::milliseconds((now() - start) / 10'000);
}

} // namespace JY::Test
