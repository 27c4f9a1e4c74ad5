// flvbench: measures the module beside this program and prints figures, one a line: a name and a number.
#include "bench/BareClient.h"
#include "bench/FilmClient.h"
#include "bench/LogCost.h"
#include "bench/Median.h"
#include "bench/ModuleClient.h"
#include "bench/Stopwatch.h"
#include "tools/Failure.h"
#include "tools/Program.h"

#include <mfapi.h>
#include <psapi.h>
#include <windows.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace {

using JY::Bench::FilmClient;
using JY::Bench::median;
using JY::Bench::ModuleClient;
using JY::Bench::Stopwatch;
using JY::Log2::Severity;
using JY::Tools::UsageError;

constexpr const char* usage = "samples FILM | memory FILM SECONDS | open FILM TIMES | seek FILM SECONDS TIMES | log\n";
constexpr LONGLONG ticksPerSecond = 10'000'000;

void print(const std::string& name, double value) {
    std::printf("%s %.9g\n", name.c_str(), value);
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

/// Seconds that it takes to start a film at a time (seconds) and to get its first picture there.
double seek(FilmClient& client, double time) {
    const Stopwatch stopwatch;
    client.start(static_cast<LONGLONG>(time * ticksPerSecond));
    client.firstPicture();
    return stopwatch.seconds();
}

void measureSamples(const std::wstring& film) {
    const ModuleClient module;
    std::vector<std::uint32_t> sizes;
    takeFilm(module, film, [&](std::uint32_t size) { sizes.push_back(size); });
    const double taken = takeFilm(module, film, [](std::uint32_t) {});
    const Stopwatch bareTime;
    JY::Bench::pushBareSamples(film, sizes);
    const double bare = bareTime.seconds();
    print("samples", static_cast<double>(sizes.size()));
    print("module_seconds", taken);
    print("bare_seconds", bare);
}

/// Of a process that seeks in a film and plays it to its end, and of the same process before it opens the film.
void measureMemory(const std::wstring& film, double time) {
    const ModuleClient module;
    print("peak_bytes_before", peakMemory());
    {
        FilmClient client(module.open(film));
        seek(client, time);
    }
    takeFilm(module, film, [](std::uint32_t) {});
    print("peak_bytes", peakMemory());
}

void measureOpening(const std::wstring& film, unsigned long times) {
    const ModuleClient module;
    std::vector<double> openings;
    for (unsigned long opening = 0; opening < times; ++opening) {
        const Stopwatch stopwatch;
        const FilmClient client(module.open(film));
        openings.push_back(stopwatch.seconds());
    }
    print("open_seconds", median(openings));
}

/// How many samples follow where a seek comes out: this tells how far it went, which times do not, since they wrap.
unsigned long samplesLeft(const ModuleClient& module, const std::wstring& film, double time) {
    FilmClient client(module.open(film));
    seek(client, time);
    unsigned long count = 1; // the picture
    client.takeAll([&](std::uint32_t) { ++count; });
    return count;
}

/// Every seek in a newly opened film, so that it finds nothing that one before it has left.
void measureSeek(const std::wstring& film, double time, unsigned long times) {
    const ModuleClient module;
    std::vector<double> seeks;
    std::vector<double> openingsAndSeeks;
    for (unsigned long round = 0; round < times; ++round) {
        const Stopwatch stopwatch;
        FilmClient client(module.open(film));
        seeks.push_back(seek(client, time));
        openingsAndSeeks.push_back(stopwatch.seconds());
    }
    print("seek_seconds", median(seeks));
    print("open_and_seek_seconds", median(openingsAndSeeks));
    print("samples_left", samplesLeft(module, film, time));
}

void measureLog() {
    print("dropped_seconds", JY::Bench::secondsPerDroppedRecord());
    for (const Severity threshold : {Severity::trace, Severity::debug, Severity::info, Severity::warn, Severity::notice,
                                     Severity::error, Severity::fatal}) {
        print(std::string(JY::Log2::severityName(threshold)) + "_seconds", JY::Bench::secondsPerRecord(threshold));
    }
    print("dump_seconds", JY::Bench::secondsPerDump());
    print("traced_function_seconds", JY::Bench::secondsPerTracedFunction());
}

unsigned long number(const std::wstring& text) {
    const unsigned long value = std::stoul(text);
    if (value == 0) {
        throw UsageError("nothing can be measured no times");
    }
    return value;
}

void measure(const std::vector<std::wstring>& arguments) {
    const std::wstring command = arguments.empty() ? L"" : arguments.front();
    if (command == L"samples" && arguments.size() == 2) {
        measureSamples(arguments[1]);
    } else if (command == L"memory" && arguments.size() == 3) {
        measureMemory(arguments[1], std::stod(arguments[2]));
    } else if (command == L"open" && arguments.size() == 3) {
        measureOpening(arguments[1], number(arguments[2]));
    } else if (command == L"seek" && arguments.size() == 4) {
        measureSeek(arguments[1], std::stod(arguments[2]), number(arguments[3]));
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
