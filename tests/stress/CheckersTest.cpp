// What the load is judged by must itself find what is wrong.

#include "tests/stress/EventOrder.h"
#include "tests/stress/FilmSamples.h"
#include "tests/stress/Findings.h"
#include "tests/stress/ModuleClient.h"
#include "tests/stress/ProcessUse.h"
#include "tests/stress/StressOptions.h"
#include "tests/stress/WorkDone.h"
#include "tests/support/ProgramRun.h"

#include <mfobjects.h>

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <regex>
#include <stdexcept>
#include <string>

namespace {

using namespace JY::Test;

struct SourceEvent {
    DWORD type;
    bool hasValue = false;
};

/// What the order finds wrong with the last of these events, the others being right.
std::string lastFinding(const std::vector<SourceEvent>& events) {
    SourceEventOrder order(2);
    std::string finding;
    for (const SourceEvent& event : events) {
        EXPECT_EQ(finding, "");
        finding = order.take(event.type, event.hasValue);
    }
    return finding;
}

const std::vector<SourceEvent> started{{MENewStream}, {MENewStream}, {MESourceStarted, true}};

std::vector<SourceEvent> startedAnd(const std::vector<SourceEvent>& more) {
    std::vector<SourceEvent> events = started;
    events.insert(events.end(), more.begin(), more.end());
    return events;
}

TEST(SourceEventOrder, TakesEveryTransition) {
    EXPECT_EQ(lastFinding(started), "");
    EXPECT_EQ(lastFinding(startedAnd({{MEUpdatedStream}, {MEUpdatedStream}, {MESourceSeeked, true}})), "");
    EXPECT_EQ(lastFinding(startedAnd({{MESourceStarted}})), "");
    EXPECT_EQ(lastFinding(startedAnd(
                  {{MESourcePaused}, {MEUpdatedStream}, {MEUpdatedStream}, {MESourceStarted}, {MESourceStopped}})),
              "");
    EXPECT_EQ(lastFinding(startedAnd({{MESourcePaused}, {MEUpdatedStream}, {MEUpdatedStream}, {MESourceSeeked}})), "");
    EXPECT_EQ(
        lastFinding(startedAnd({{MESourceStopped}, {MEUpdatedStream}, {MEUpdatedStream}, {MESourceStarted, true}})),
        "");
    EXPECT_EQ(lastFinding({{MEExtendedType}, {MEEndOfPresentation}}), "");
}

TEST(SourceEventOrder, FindsATransitionThatCannotBe) {
    EXPECT_NE(lastFinding({{MESourcePaused}}), "");
    EXPECT_NE(lastFinding({{MESourceStopped}}), "");
    EXPECT_NE(lastFinding({{MESourceSeeked}}), "");
    EXPECT_NE(lastFinding({{MESourceStarted, true}}), "");
    EXPECT_NE(lastFinding({{MEUpdatedStream}}), "");
    EXPECT_NE(lastFinding({{MENewStream}, {MENewStream}, {MESourceStarted}}), "");
    EXPECT_NE(lastFinding({{MENewStream}, {MENewStream}, {MENewStream}}), "");
    EXPECT_NE(lastFinding(startedAnd({{MENewStream}})), "");
    EXPECT_NE(lastFinding(startedAnd({{MESourcePaused}, {MESourcePaused}})), "");
    EXPECT_NE(lastFinding(startedAnd({{MESourcePaused}, {MESourceStarted}})), "");
    EXPECT_NE(lastFinding(startedAnd({{MESourcePaused}, {MEEndOfPresentation}})), "");
    EXPECT_NE(lastFinding(startedAnd({{MEStreamStarted}})), "");
}

TEST(SourceEventOrder, FindsATransitionThatIsTornApart) {
    EXPECT_NE(lastFinding({{MENewStream}, {MEExtendedType}}), "");
    EXPECT_NE(lastFinding({{MENewStream}, {MEEndOfPresentation}}), "");
    EXPECT_NE(lastFinding({{MENewStream}, {MESourceStarted, true}}), "");
    EXPECT_NE(lastFinding(startedAnd({{MEUpdatedStream}, {MESourceSeeked}})), "");
    EXPECT_NE(lastFinding(startedAnd({{MEUpdatedStream}, {MEUpdatedStream}, {MESourceStopped}})), "");
}

std::string lastStreamFinding(const std::vector<DWORD>& events) {
    StreamEventOrder order;
    std::string finding;
    for (const DWORD event : events) {
        EXPECT_EQ(finding, "");
        finding = order.take(event);
    }
    return finding;
}

TEST(StreamEventOrder, TakesWhatMayCome) {
    EXPECT_EQ(lastStreamFinding({MEMediaSample, MEStreamStarted, MEMediaSample, MEStreamSeeked, MEStreamPaused,
                                 MEExtendedType, MEStreamStarted, MEEndOfStream, MEStreamStopped, MEMediaSample}),
              "");
}

TEST(StreamEventOrder, FindsWhatMayNot) {
    EXPECT_NE(lastStreamFinding({MEStreamSeeked}), "");
    EXPECT_NE(lastStreamFinding({MEStreamPaused}), "");
    EXPECT_NE(lastStreamFinding({MEStreamStarted, MEStreamStarted}), "");
    EXPECT_NE(lastStreamFinding({MEStreamStarted, MEStreamPaused, MEMediaSample}), "");
    EXPECT_NE(lastStreamFinding({MEStreamStarted, MEStreamPaused, MEEndOfStream}), "");
    EXPECT_NE(lastStreamFinding({MESourceStarted}), "");
}

TEST(FilmSamples, KnowsEverySampleAndNoOther) {
    const auto file = secondsFilm(3);
    const FilmSamples samples(file);
    EXPECT_EQ(samples.count(FilmSamples::audioStream), 4U);
    EXPECT_EQ(samples.count(FilmSamples::videoStream), 4U);
    EXPECT_EQ(samples.lastTime(), 30'000'000);
    EXPECT_TRUE(samples.contains(FilmSamples::audioStream, 20'000'000, Bytes{0x21, 0x10, 2}));
    EXPECT_FALSE(samples.contains(FilmSamples::audioStream, 20'000'000, Bytes{0x21, 0x10, 3}));
    EXPECT_FALSE(samples.contains(FilmSamples::audioStream, 10'000'000, Bytes{0x21, 0x10, 2}));
    EXPECT_FALSE(samples.contains(FilmSamples::videoStream, 20'000'000, Bytes{0x21, 0x10, 2}));
    EXPECT_EQ(samples.sizesAt(FilmSamples::videoStream, 10'000'000), (std::vector<std::size_t>{8 + 7 + 9}));
}

TEST(Findings, CountResultsThatAreNotExpected) {
    EXPECT_EQ(Findings::expectOneOf("Method", S_OK, {E_FAIL, S_OK}), S_OK);
    EXPECT_EQ(Findings::count(), 0U);
    EXPECT_EQ(Findings::expectOneOf("Method", E_FAIL, {S_OK}), E_FAIL);
    EXPECT_EQ(Findings::count(), 1U);
    Findings::clear();
}

TEST(ProcessUse, LossIsFoundInHandlesHeapsAndMemory) {
    const ProcessUse before{30, 20'000'000, 5'000'000};
    EXPECT_EQ(lossBetween(before, before, 0), "");
    EXPECT_EQ(lossBetween(before, {29, 20'000'000, 5'000'000}, 0), "");
    EXPECT_NE(lossBetween(before, {39, 20'000'000, 5'000'000}, 0), "");
    EXPECT_NE(lossBetween(before, {30, 20'000'000, 6'000'000}, 0), "");
    EXPECT_NE(lossBetween(before, {30, 27'000'000, 5'000'000}, 0), "");
    EXPECT_EQ(lossBetween(before, {30, 22'560'000, 7'560'000}, 2'560'000), "");
    EXPECT_NE(lossBetween(before, {30, 25'000'000, 10'000'000}, 2'560'000), "");
}

TEST(ProcessUse, CountsWhatIsInUseOfTheHeaps) {
    const ProcessUse before = measureAtRest();
    const std::unique_ptr<void, decltype(&std::free)> block(std::malloc(1'000'000), &std::free);
    ASSERT_NE(block, nullptr);
    const ProcessUse after = measureAtRest();
    EXPECT_GE(after.heapBytes, before.heapBytes + 1'000'000);
    EXPECT_LE(after.heapBytes, before.heapBytes + 1'100'000);
}

TEST(WorkDone, TooLittleIsFound) {
    EXPECT_NE(lackOfWork(0, 0, 1), "");
    EXPECT_NE(lackOfWork(1199, 12'000, 60), "");
    EXPECT_NE(lackOfWork(1200, 11'999, 60), "");
    EXPECT_EQ(lackOfWork(1200, 12'000, 60), "");
}

TEST(StressOptions, AreReadAndRefused) {
    const StressOptions options =
        parseStressOptions({"--seconds", "5", "--seed", "123456789012", "--threads", "3", "--patience", "7"});
    EXPECT_EQ(options.seconds, 5U);
    EXPECT_EQ(options.seed, 123456789012U);
    EXPECT_EQ(options.threads, 3U);
    EXPECT_EQ(options.patience, 7U);
    EXPECT_THROW(parseStressOptions({"--seconds"}), std::invalid_argument);
    EXPECT_THROW(parseStressOptions({"--seconds", "0"}), std::invalid_argument);
    EXPECT_THROW(parseStressOptions({"--seconds", "5x"}), std::invalid_argument);
    EXPECT_THROW(parseStressOptions({"--minutes", "5"}), std::invalid_argument);
}

/// What stands below "thread N" up to the next thread.
std::string stackOf(const std::string& output, const std::string& thread) {
    const std::size_t start = output.find("\nthread " + thread + "\r\n");
    const std::size_t end = output.find("\nthread ", start + 1);
    return start == std::string::npos ? std::string() : output.substr(start, end - start);
}

std::string threadNamed(const std::string& output, const std::string& name) {
    std::smatch match;
    return std::regex_search(output, match, std::regex(name + " is thread ([0-9]+)")) ? match[1].str() : "none";
}

TEST(Watchdog, TellsTheStacksOfThreadsThatWaitForEachOther) {
    const ProgramRun run = runProgramBeside(L"stress.exe", {L"--deadlock", L"--patience", L"1"});
    EXPECT_EQ(run.output.find("passed"), std::string::npos);
    EXPECT_TRUE(std::regex_search(run.errors, std::regex("watchdog: (one|other) \\(thread [0-9]+\\) has not got on")))
        << run.errors;
    for (const char* const name : {"one", "other"}) {
        const std::string thread = threadNamed(run.output, name);
        const std::string stack = stackOf(run.errors, thread);
        EXPECT_NE(stack.find("ntdll.dll+0x"), std::string::npos) << run.errors;
        EXPECT_NE(stack.find("stress.exe+0x"), std::string::npos) << run.errors;
    }
}

TEST(Watchdog, TellsTheStackOfACrash) {
    const ProgramRun run = runProgramBeside(L"stress.exe", {L"--crash"});
    EXPECT_EQ(run.output.find("passed"), std::string::npos);
    EXPECT_NE(run.errors.find("watchdog: crash, exception 0xc0000005 at"), std::string::npos) << run.errors;
    EXPECT_NE(run.errors.find("stress.exe+0x"), std::string::npos) << run.errors;
}

} // namespace
