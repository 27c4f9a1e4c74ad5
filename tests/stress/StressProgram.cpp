// Load on the module as it is shipped: many threads that do with media sources whatever clients do, at the wrong
// moments too. Ends with "stress: passed" when every result and every sample was right, nothing stood still, and
// everything that was taken has been given back.
//   --seconds N   how long (60)        --threads N    how many clients (16)
//   --seed N      what they do (1)     --patience N   seconds that one of them may stand still (20)
//   --control     the same calls of Media Foundation without the module: what the system itself loses
//   --deadlock    two threads that wait for each other: what the watchdog tells
//   --crash       a fault: the same
// JY_MEDIA_DIR names the folder with real films; without it there are small ones only.

#include "tests/module/ModuleLog.h"
#include "tests/source/ClientObjects.h"
#include "tests/stress/Control.h"
#include "tests/stress/Deadlock.h"
#include "tests/stress/Findings.h"
#include "tests/stress/ModuleUse.h"
#include "tests/stress/ProcessUse.h"
#include "tests/stress/StressOptions.h"
#include "tests/stress/StressRun.h"
#include "tests/stress/WorkDone.h"
#include "tests/stress/WorkItems.h"
#include "tests/support/Faults.h"

#include <mfapi.h>
#include <windows.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>

namespace {

using namespace JY::Test;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr const wchar_t* moduleName = L"JyFlvSource.dll";

/// Media Foundation for a scope.
class MediaFoundation {
public:
    MediaFoundation() { Findings::expectOneOf("MFStartup", MFStartup(MF_VERSION, MFSTARTUP_FULL), {S_OK}); }
    MediaFoundation(const MediaFoundation&) = delete;
    MediaFoundation& operator=(const MediaFoundation&) = delete;
    ~MediaFoundation() { MFShutdown(); }
};

void require(bool isRight, const std::string& what) {
    if (!isRight) {
        Findings::add(what);
    }
}

/// Nothing of the module or of its clients is left.
void requireUnused(const LoadedModule& module) {
    require(becomesUnused(module), "the module is still in use");
    require(becomesTrue([] { return liveHeapObjects == 0; }),
            std::to_string(liveHeapObjects) + " objects of the clients are still referred to");
}

void comparePrivateUse(const ProcessUse& before, const ProcessUse& after, std::uint64_t items) {
    const double lostWithEach = bytesLostWithAWorkItem();
    std::printf("before: %s\nafter:  %s, %llu work items, with each of which the system loses %.1f bytes\n",
                before.text().c_str(), after.text().c_str(), items, lostWithEach);
    const std::string loss =
        lossBetween(before, after, static_cast<std::size_t>(lostWithEach * static_cast<double>(items)));
    require(loss.empty(), loss);
}

void requireWork(unsigned runLength) {
    std::printf("%llu samples compared, %llu calls succeeded\n", comparedSamples.load(), successfulCalls.load());
    const std::string lack = lackOfWork(comparedSamples, successfulCalls, runLength);
    require(lack.empty(), lack);
}

void stress(const StressOptions& options, Watchdog& watchdog) {
    const MediaFoundation mediaFoundation;
    const Films films;
    const LoadedModule module;
    const auto run = [&](std::uint64_t seed, milliseconds duration) {
        const std::uint64_t actions = runStressClients(module, films, watchdog, options.threads, seed, duration);
        std::printf("seed %llu: %llu actions in %lld ms\n", seed, actions, static_cast<long long>(duration.count()));
        std::fflush(stdout);
        requireUnused(module);
    };
    const milliseconds whole = seconds(options.seconds);
    run(options.seed, whole / 4); // until everything that is made once is there
    const ProcessUse before = measureAtRest();
    const std::uint64_t itemsBefore = workItems.load();
    run(options.seed + 1, whole - whole / 4);
    comparePrivateUse(before, measureAtRest(), workItems.load() - itemsBefore);
    requireWork(options.seconds);
    std::printf("%s", StressClient::account().c_str());
}

/// The module goes when it is let go, and comes again.
void requireUnloading() {
    require(GetModuleHandleW(moduleName) == nullptr, "the module has not been unloaded");
    {
        const LoadedModule module;
        require(module.makeHandler() != nullptr, "the module makes no handler when it is loaded again");
        requireUnused(module);
    }
    require(GetModuleHandleW(moduleName) == nullptr, "the module has not been unloaded the second time");
}

void run(const StressOptions& options) {
    Watchdog watchdog{seconds(options.patience)};
    if (options.isDeadlock) {
        standStill(watchdog);
    } else if (options.isCrash) {
        writeTo(nullptr);
    } else if (options.isControl) {
        const MediaFoundation mediaFoundation;
        measureSystem(watchdog);
    } else {
        const ModuleLog log;
        stress(options, watchdog);
        requireUnloading();
    }
}

} // namespace

int main(int count, char** arguments) {
    try {
        run(parseStressOptions({arguments + 1, arguments + count}));
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "stress: %s\n", exception.what());
        return 2;
    }
    if (Findings::count() != 0) {
        std::fprintf(stderr, "stress: %u findings\n", Findings::count());
        return 1;
    }
    std::puts("stress: passed");
    return 0;
}
