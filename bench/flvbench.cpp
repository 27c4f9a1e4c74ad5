// flvbench: measures the module beside this program and prints figures, one a line: a name and a number.
#include "bench/BareClient.h"
#include "bench/FilmClient.h"
#include "bench/LogCost.h"
#include "bench/ModuleClient.h"
#include "bench/Stopwatch.h"
#include "tools/Failure.h"
#include "tools/Program.h"

#include <mfapi.h>
#include <psapi.h>
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace {

using JY::Bench::FilmClient;
using JY::Bench::ModuleClient;
using JY::Bench::Stopwatch;
using JY::Tools::UsageError;

constexpr const char* usage = "samples FILM | open FILM | seek FILM SECONDS | log";
constexpr LONGLONG ticksPerSecond = 10'000'000;
constexpr unsigned openings = 20;

void print(const char* name, double value) {
    std::printf("%s %.9g\n", name, value);
}

/// Bytes of memory that the process has had at most.
double peakMemory() {
    PROCESS_MEMORY_COUNTERS counters{};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return static_cast<double>(counters.PeakWorkingSetSize);
}

/// Seconds that the samples of a film take, from the first request on.
double takeFilm(const ModuleClient& module, const std::wstring& film, const std::function<void(std::uint32_t)>& visit) {
    FilmClient client(module.open(film));
    client.start(0);
    const Stopwatch stopwatch;
    client.takeAll(visit);
    return stopwatch.seconds();
}

void measureSamples(const std::wstring& film) {
    const ModuleClient module;
    takeFilm(module, film, [](std::uint32_t) {});
    print("peak_bytes", peakMemory()); // before this program itself keeps anything of the film
    std::vector<std::uint32_t> sizes;
    const double taken = takeFilm(module, film, [&](std::uint32_t size) { sizes.push_back(size); });
    const Stopwatch bareTime;
    JY::Bench::pushBareSamples(film, sizes);
    const double bare = bareTime.seconds();
    print("samples", static_cast<double>(sizes.size()));
    print("module_seconds", taken);
    print("bare_seconds", bare);
}

void measureOpening(const std::wstring& film) {
    const ModuleClient module;
    double least = std::numeric_limits<double>::max();
    for (unsigned opening = 0; opening < openings; ++opening) {
        const Stopwatch stopwatch;
        const FilmClient client(module.open(film));
        least = std::min(least, stopwatch.seconds());
    }
    print("open_seconds", least);
}

void measureSeek(const std::wstring& film, double seconds) {
    const ModuleClient module;
    const Stopwatch opened;
    FilmClient client(module.open(film));
    const double opening = opened.seconds();
    const Stopwatch sought;
    client.start(static_cast<LONGLONG>(seconds * ticksPerSecond));
    client.firstPicture();
    print("seek_seconds", sought.seconds());
    print("open_and_seek_seconds", opening + sought.seconds());
}

void measureLog() {
    print("dropped_record_seconds", JY::Bench::secondsPerDroppedRecord());
    print("kept_record_seconds", JY::Bench::secondsPerKeptRecord());
    print("written_record_seconds", JY::Bench::secondsPerWrittenRecord());
    print("traced_function_seconds", JY::Bench::secondsPerTracedFunction());
}

void measure(const std::vector<std::wstring>& arguments) {
    const std::wstring command = arguments.empty() ? L"" : arguments.front();
    if (command == L"samples" && arguments.size() == 2) {
        measureSamples(arguments[1]);
    } else if (command == L"open" && arguments.size() == 2) {
        measureOpening(arguments[1]);
    } else if (command == L"seek" && arguments.size() == 3) {
        measureSeek(arguments[1], std::stod(arguments[2]));
    } else if (command == L"log" && arguments.size() == 1) {
        measureLog();
    } else {
        throw UsageError("no measurement is called like that");
    }
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    return JY::Tools::runProgram(count, arguments, usage, [](const JY::Tools::CommandLine& line) {
        JY::Tools::check(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "CoInitializeEx");
        JY::Tools::check(MFStartup(MF_VERSION, MFSTARTUP_FULL), "MFStartup");
        measure(line.arguments);
        MFShutdown();
        CoUninitialize();
        return JY::Tools::exitSuccess;
    });
}
