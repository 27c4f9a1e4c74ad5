#pragma once

#include <chrono>
#include <future>
#include <thread>
#include <utility>

namespace JY::Test {

/// Runs `call` on another thread and tells whether it comes back in time. A call that does not goes on, so it must own
/// what it uses.
template <class Call>
bool returnsInTime(Call call, std::chrono::milliseconds limit = std::chrono::seconds(5)) {
    std::packaged_task<void()> task(std::move(call));
    std::future<void> done = task.get_future();
    std::thread(std::move(task)).detach();
    return done.wait_for(limit) == std::future_status::ready;
}

} // namespace JY::Test
