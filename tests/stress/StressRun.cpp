#include "tests/stress/StressRun.h"

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace JY::Test {

namespace {

constexpr ULONGLONG lifeOfSharedSources = 300; // milliseconds

/// Ends shared sources when their time has come, so that who waits for their events gets on.
void retireSharedSources(const std::stop_token& stop, SharedSources& shared) {
    while (!stop.stop_requested()) {
        shared.retire(lifeOfSharedSources);
        Sleep(20);
    }
    shared.retire(0);
}

} // namespace

std::uint64_t runStressClients(const LoadedModule& module, const Films& films, Watchdog& watchdog, unsigned threads,
                               std::uint64_t seed, std::chrono::milliseconds duration) {
    SharedSources shared;
    std::atomic<std::uint64_t> actions{0};
    const auto end = std::chrono::steady_clock::now() + duration;
    const auto work = [&](unsigned index) {
        Watchdog::Watch watch(watchdog, "client " + std::to_string(index));
        StressClient client({module, films, shared}, seed * 1000 + index);
        while (std::chrono::steady_clock::now() < end) {
            client.step();
            ++actions;
            watch.beat();
        }
        client.leave();
    };
    std::jthread retiring([&](const std::stop_token& stop) { retireSharedSources(stop, shared); });
    std::vector<std::jthread> clients;
    for (unsigned index = 0; index < threads; ++index) {
        clients.emplace_back(work, index);
    }
    clients.clear();
    return actions;
}

} // namespace JY::Test
