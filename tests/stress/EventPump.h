#pragma once

#include "tests/stress/HeapObject.h"
#include "tests/stress/StressedSource.h"

#include <mfobjects.h>
#include <windows.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <random>

namespace JY::Test {

/// Takes a source's events in a callback, one after the other, as players do, and calls the source from inside it now
/// and then, its Shutdown too. Refers to the source until that is shut down, or until it lets go.
class EventPump final : public HeapObject<IMFAsyncCallback> {
public:
    EventPump(std::shared_ptr<StressedSource> source, std::uint64_t seed) : source_(std::move(source)), random_(seed) {}

    /// Asks for the first event.
    void run();
    /// Has the next callback give the reference back without asking for another event: it may be the last.
    void letGo() { isToLetGo_ = true; }

    HRESULT STDMETHODCALLTYPE GetParameters(DWORD*, DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult* result) override;

private:
    std::shared_ptr<StressedSource> held() const;
    void askForNext(StressedSource& source);
    void callSomething(StressedSource& source);

    mutable std::mutex mutex_; // guards the reference
    std::shared_ptr<StressedSource> source_;
    std::mt19937_64 random_; // used in the callback only, which is never called twice at once
    std::atomic<bool> isToLetGo_{false};
};

} // namespace JY::Test
