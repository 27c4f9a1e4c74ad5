#include "tests/support/Watchdog.h"

#include "tests/support/ThreadStacks.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace JY::Test {

namespace {

/// Without the end of the libraries, which could wait for what stands still.
[[noreturn]] void endProcess() {
    std::fflush(stdout);
    std::fflush(stderr);
    TerminateProcess(GetCurrentProcess(), Watchdog::exitCode);
    std::abort();
}

LONG WINAPI tellOfCrash(EXCEPTION_POINTERS* exception) {
    std::fprintf(stderr, "watchdog: crash, exception 0x%08lx at %p\n", exception->ExceptionRecord->ExceptionCode,
                 exception->ExceptionRecord->ExceptionAddress);
    writeStack(stderr, GetCurrentThreadId(), *exception->ContextRecord);
    writeThreadStacks(stderr);
    endProcess();
}

} // namespace

Watchdog::Watch::Watch(Watchdog& watchdog, std::string name) : watchdog_(watchdog) {
    const std::lock_guard guard(watchdog_.mutex_);
    heart_ = watchdog_.hearts_.emplace(watchdog_.hearts_.end(), std::move(name), GetCurrentThreadId());
}

Watchdog::Watch::~Watch() {
    const std::lock_guard guard(watchdog_.mutex_);
    watchdog_.hearts_.erase(heart_);
}

Watchdog::Watchdog(std::chrono::milliseconds patience)
    : patience_(patience), previousFilter_(SetUnhandledExceptionFilter(&tellOfCrash)),
      thread_([this](const std::stop_token& stop) { watch(stop); }) {}

Watchdog::~Watchdog() {
    thread_.request_stop();
    thread_.join();
    SetUnhandledExceptionFilter(previousFilter_);
}

void Watchdog::watch(const std::stop_token& stop) {
    const auto pause = std::min<std::chrono::milliseconds>(patience_ / 10, std::chrono::milliseconds(200));
    while (!stop.stop_requested()) {
        std::this_thread::sleep_for(pause);
        endIfStandingStill();
    }
}

void Watchdog::endIfStandingStill() {
    const std::lock_guard guard(mutex_);
    const ULONGLONG now = GetTickCount64();
    bool standsStill = false;
    for (const Heart& heart : hearts_) {
        const ULONGLONG last = heart.lastBeat_;
        if (now > last && now - last > static_cast<ULONGLONG>(patience_.count())) {
            std::fprintf(stderr, "watchdog: %s (thread %lu) has not got on for %llu ms\n", heart.name_.c_str(),
                         heart.threadId_, now - last);
            standsStill = true;
        }
    }
    if (standsStill) {
        writeThreadStacks(stderr);
        endProcess();
    }
}

} // namespace JY::Test
