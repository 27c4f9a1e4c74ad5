#include "tests/fuzz/Controller.h"

#include "tests/fuzz/RunVerdict.h"
#include "tests/fuzz/SharedProgress.h"
#include "tests/fuzz/WorkerSettings.h"
#include "tests/support/TempFile.h"

#include <windows.h>

#include <array>
#include <cstdio>
#include <stdexcept>

namespace JY::Fuzz {

namespace {

constexpr ULONGLONG reportInterval = 120'000; ///< milliseconds
constexpr DWORD lookInterval = 100;           ///< milliseconds

/// This program as a worker.
class WorkerProcess {
public:
    explicit WorkerProcess(const Options& options) {
        std::array<wchar_t, 4096> program{};
        GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
        std::wstring line = L'"' + std::wstring(program.data()) + L'"' + toArguments(options);
        STARTUPINFOW start{};
        start.cb = sizeof start;
        if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &process_)) {
            throw std::runtime_error("A worker cannot be started.");
        }
        CloseHandle(process_.hThread);
    }
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;
    ~WorkerProcess() { CloseHandle(process_.hProcess); }

    bool endsWithin(DWORD milliseconds) const {
        return WaitForSingleObject(process_.hProcess, milliseconds) == WAIT_OBJECT_0;
    }
    void kill() const {
        TerminateProcess(process_.hProcess, 1);
        WaitForSingleObject(process_.hProcess, INFINITE);
    }

private:
    PROCESS_INFORMATION process_{};
};

/// A temporary folder for this process from now on, and for those it starts. It takes along what a worker that ends
/// badly leaves behind.
class TemporaryFolder {
public:
    TemporaryFolder() {
        SetEnvironmentVariableW(L"TMP", folder_.path().c_str());
        SetEnvironmentVariableW(L"TEMP", folder_.path().c_str());
    }

private:
    const Test::TempFolder folder_;
};

using Number = unsigned long long; // as printf takes it

class Controller {
public:
    explicit Controller(const Options& options)
        : options_(options), name_(L"jy-fuzz-" + std::to_wstring(GetCurrentProcessId())), shared_(name_),
          progress_(shared_.get()), start_(GetTickCount64()) {}

    std::uint64_t run();

private:
    ULONGLONG seconds() const { return (GetTickCount64() - start_) / 1000; }
    bool isOver() const;
    Options optionsOfWorker() const;
    void runWorker();
    bool getsOn(const WorkerProcess& worker);
    void report(const char* text);
    void judge();
    void print() const;

    const Options options_;
    const TemporaryFolder folder_;
    /// Set by every worker for itself; these remove what one that ends badly leaves behind.
    const WorkerSettings settings_;
    const std::wstring name_;
    SharedProgress shared_;
    Progress& progress_;
    const ULONGLONG start_;
    std::uint64_t next_ = 0;
    std::uint64_t workers_ = 0;
    ULONGLONG nextReport_ = reportInterval;
};

std::uint64_t Controller::run() {
    for (next_ = options_.first; !isOver();) {
        runWorker();
    }
    judge();
    print();
    return progress_.findings;
}

bool Controller::isOver() const {
    return next_ - options_.first >= options_.count || (options_.seconds != 0 && seconds() >= options_.seconds);
}

Options Controller::optionsOfWorker() const {
    Options options = options_;
    options.first = next_;
    options.count = options_.count - (next_ - options_.first);
    const std::uint64_t passed = seconds();
    if (options_.seconds != 0) {
        options.seconds = options_.seconds > passed ? options_.seconds - passed : 1; // 0 would be no limit
    }
    options.progress = name_;
    return options;
}

void Controller::runWorker() {
    progress_.current = next_;
    progress_.hasFinished = false;
    ++workers_;
    const WorkerProcess worker(optionsOfWorker());
    if (!getsOn(worker)) {
        report("the worker does not get on");
        worker.kill();
        next_ = progress_.current + 1;
    } else if (!progress_.hasFinished) {
        report("the worker has ended");
        next_ = progress_.current + 1;
    } else {
        next_ = progress_.current;
    }
}

/// Waits for the worker's end; false when it stays at one case.
bool Controller::getsOn(const WorkerProcess& worker) {
    std::uint64_t seen = progress_.current;
    ULONGLONG since = GetTickCount64();
    while (!worker.endsWithin(lookInterval)) {
        if (seen != progress_.current) {
            seen = progress_.current;
            since = GetTickCount64();
        }
        if (GetTickCount64() - since > options_.patience * 1000) {
            return false;
        }
        if (GetTickCount64() - start_ > nextReport_) {
            nextReport_ += reportInterval;
            print();
        }
    }
    return true;
}

void Controller::report(const char* text) {
    ++progress_.findings;
    std::printf("case %llu of seed %llu: %s\n", Number{progress_.current}, Number{options_.seed}, text);
    std::fflush(stdout);
}

void Controller::judge() {
    for (const char* shortcoming : shortcomingsOf(progress_)) {
        ++progress_.findings;
        std::printf("the run from case %llu of seed %llu: %s\n", Number{options_.first}, Number{options_.seed},
                    shortcoming);
    }
}

void Controller::print() const {
    std::printf("%llu s, %llu workers, %llu cases, %llu findings\n", Number{seconds()}, Number{workers_},
                Number{progress_.cases}, Number{progress_.findings});
    std::printf("  not opened, as the search for script data would not end: %llu\n", Number{progress_.searchedForEver});
    std::printf("  a stream waited at the end of the file: %llu\n", Number{progress_.waitedForEver});
    std::printf("  opened: %llu, with samples: %llu, samples: %llu of %llu bytes\n", Number{progress_.opened},
                Number{progress_.withSamples}, Number{progress_.samples}, Number{progress_.sampleBytes});
    std::printf("  memory and handles looked at: %llu times\n", Number{progress_.consumptionChecks});
    std::printf("  slowest: case %llu, %llu ms\n", Number{progress_.slowestCase},
                Number{progress_.slowestMilliseconds});
    for (const Progress::Result& result : progress_.results) {
        if (result.count != 0) {
            std::printf("  %-14s 0x%08lX %llu\n", callNames[static_cast<std::size_t>(result.call)],
                        static_cast<unsigned long>(result.result), Number{result.count});
        }
    }
    std::fflush(stdout);
}

} // namespace

std::uint64_t control(const Options& options) {
    return Controller(options).run();
}

} // namespace JY::Fuzz
