#include "tests/fuzz/Worker.h"

#include "tests/fuzz/Consumption.h"
#include "tests/fuzz/EndlessFile.h"
#include "tests/fuzz/FaultWatch.h"
#include "tests/fuzz/FileClient.h"
#include "tests/fuzz/Finding.h"
#include "tests/fuzz/Mutator.h"
#include "tests/fuzz/Patience.h"
#include "tests/fuzz/WorkerSettings.h"

#include <mfapi.h>
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <optional>

namespace JY::Fuzz {

namespace {

constexpr std::uint64_t casesOfAProcess = 20'000;
constexpr std::uint64_t casesToWarmUp = 100; ///< until memory and handles have their usual number
constexpr std::uint64_t casesBetweenChecks = 100;

class MediaFoundation {
public:
    MediaFoundation() { MFStartup(MF_VERSION, MFSTARTUP_FULL); }
    MediaFoundation(const MediaFoundation&) = delete;
    MediaFoundation& operator=(const MediaFoundation&) = delete;
    ~MediaFoundation() { MFShutdown(); }
};

class Worker {
public:
    Worker(const Options& options, Progress& progress)
        : options_(options), progress_(progress), module_(options.module.c_str()), client_(module_, progress),
          mutator_(buildCorpus()), end_(GetTickCount64() + options.seconds * 1000) {}

    void run();

private:
    bool isTimeOver() const { return options_.seconds != 0 && GetTickCount64() >= end_; }
    void runCase(std::uint64_t number);
    template <class Step>
    void attempt(std::uint64_t number, const Step& step);
    void report(std::uint64_t number, const std::string& text);
    void reportNewRecords(std::uint64_t number);
    void noteTime(std::uint64_t number, std::uint64_t milliseconds);
    void watchConsumption(std::uint64_t number);
    void checkConsumption(std::uint64_t number);

    const Options& options_;
    Progress& progress_;
    const MediaFoundation mediaFoundation_;
    const WorkerSettings settings_;
    FaultWatch faults_;
    const Test::LoadedModule module_;
    FileClient client_;
    const Mutator mutator_;
    const ULONGLONG end_;
    std::size_t knownRecords_ = 0; ///< bytes
    std::uint64_t done_ = 0;       ///< cases
    std::optional<Consumption> usual_;
    bool isModuleUsable_ = true;
};

void Worker::run() {
    while (done_ < std::min(options_.count, casesOfAProcess) && isModuleUsable_ && !isTimeOver()) {
        const std::uint64_t number = options_.first + done_;
        progress_.current = number;
        const Patience patience;
        runCase(number);
        noteTime(number, patience.processorMilliseconds());
        ++progress_.cases;
        ++done_;
        watchConsumption(number);
    }
    if (done_ != 0) {
        checkConsumption(options_.first + done_ - 1);
    }
    progress_.current = options_.first + done_;
    progress_.hasFinished = true;
}

void Worker::runCase(std::uint64_t number) {
    Random random = Random::ofCase(options_.seed, number);
    const Bytes file = mutator_.makeFile(random);
    if (isSearchedForEver(file)) {
        ++progress_.searchedForEver;
        return;
    }
    try {
        attempt(number, [&] { client_.use(file, random); });
        attempt(number, [&] { client_.requireUnused(); });
    } catch (const Hang& hang) {
        isModuleUsable_ = false;
        report(number, hang.what());
    }
    if (const std::string fault = faults_.take(); !fault.empty()) {
        report(number, fault);
    }
    reportNewRecords(number);
}

/// Reports what is found, but lets a hang through.
template <class Step>
void Worker::attempt(std::uint64_t number, const Step& step) {
    try {
        step();
    } catch (const Hang&) {
        throw;
    } catch (const Finding& finding) {
        report(number, finding.what());
    }
}

void Worker::report(std::uint64_t number, const std::string& text) {
    ++progress_.findings;
    std::printf("case %llu of seed %llu: %s\n", static_cast<unsigned long long>(number),
                static_cast<unsigned long long>(options_.seed), text.c_str());
    std::fflush(stdout);
}

/// A record that is fatal tells of a mistake in the module, or of a client's. The header is none.
void Worker::reportNewRecords(std::uint64_t number) {
    const auto path = settings_.log.path() + L"\\JyFlvSource-" + std::to_wstring(GetCurrentProcessId()) + L"-0.log";
    WIN32_FILE_ATTRIBUTE_DATA attributes{};
    GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &attributes);
    if (attributes.nFileSizeLow == knownRecords_) {
        return;
    }
    const std::string text = settings_.log.text();
    const std::string fresh = text.substr(std::min(knownRecords_, text.size()));
    knownRecords_ = attributes.nFileSizeLow;
    if (fresh.find(" fatal ") != std::string::npos) {
        report(number, fresh);
    }
}

void Worker::noteTime(std::uint64_t number, std::uint64_t milliseconds) {
    if (milliseconds > progress_.slowestMilliseconds) {
        progress_.slowestMilliseconds = milliseconds;
        progress_.slowestCase = number;
    }
}

void Worker::watchConsumption(std::uint64_t number) {
    if (done_ == casesToWarmUp) {
        usual_.emplace(progress_);
    } else if (done_ % casesBetweenChecks == 0) {
        checkConsumption(number);
    }
}

/// There is nothing to compare with before the process has warmed up, and nothing to learn after a hang.
void Worker::checkConsumption(std::uint64_t number) {
    if (usual_ && done_ > casesToWarmUp && isModuleUsable_) {
        ++progress_.consumptionChecks;
        attempt(number, [&] { usual_->check(); });
    }
}

} // namespace

void work(const Options& options, Progress& progress) {
    Worker(options, progress).run();
}

} // namespace JY::Fuzz
