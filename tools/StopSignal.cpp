#include "tools/StopSignal.h"

#include "tools/Failure.h"

#include <atomic>

namespace JY::Tools {

namespace {

/// For the handler, which is given nothing and runs on a thread of the system's.
std::atomic<HANDLE> stopEvent{nullptr};

BOOL WINAPI stop(DWORD) {
    return SetEvent(stopEvent);
}

} // namespace

StopSignal::StopSignal() : event_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
    if (event_ == nullptr) {
        throw Failure(HRESULT_FROM_WIN32(GetLastError()), "CreateEvent");
    }
    stopEvent = event_;
    SetConsoleCtrlHandler(stop, TRUE);
}

StopSignal::~StopSignal() {
    SetConsoleCtrlHandler(stop, FALSE);
    stopEvent = nullptr;
    CloseHandle(event_);
}

bool StopSignal::waitFor(std::chrono::milliseconds time) const {
    return WaitForSingleObject(event_, static_cast<DWORD>(time.count())) == WAIT_OBJECT_0;
}

} // namespace JY::Tools
