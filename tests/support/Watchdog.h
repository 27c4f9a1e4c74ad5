#pragma once

#include <windows.h>

#include <atomic>
#include <chrono>
#include <list>
#include <mutex>
#include <string>
#include <thread>

namespace JY::Test {

/// Ends the process when one of the threads that it watches stands still, or when the process crashes: says so and
/// writes the stacks of all threads to the standard error output first. One for a process.
class Watchdog {
public:
    /// One watched thread's sign of life. Any thread may give it.
    class Heart {
    public:
        Heart(std::string name, DWORD threadId) : name_(std::move(name)), threadId_(threadId) { beat(); }

        void beat() { lastBeat_ = GetTickCount64(); }

    private:
        friend class Watchdog;

        const std::string name_;
        const DWORD threadId_;
        std::atomic<ULONGLONG> lastBeat_{0};
    };

    /// Watches the calling thread for as long as the object lives.
    class Watch {
    public:
        Watch(Watchdog& watchdog, std::string name);
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;
        ~Watch();

        /// The thread is getting on.
        void beat() { heart_->beat(); }

    private:
        Watchdog& watchdog_;
        std::list<Heart>::iterator heart_;
    };

    /// `patience`: how long a thread may go without a beat.
    explicit Watchdog(std::chrono::milliseconds patience);
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;
    ~Watchdog();

    /// Exit code of a process that was ended.
    static constexpr UINT exitCode = 3;

private:
    void watch(const std::stop_token& stop);
    void endIfStandingStill();

    const std::chrono::milliseconds patience_;
    std::mutex mutex_; // guards the list
    std::list<Heart> hearts_;
    LPTOP_LEVEL_EXCEPTION_FILTER previousFilter_;
    std::jthread thread_;
};

} // namespace JY::Test
