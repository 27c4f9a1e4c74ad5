#include "log/DebugOutSink.h"
#include "log/LineFormat.h"
#include "log/Severity.h"
#include "log/SinkBase.h"
#include "tests/log/Records.h"
#include "tests/support/DebugOutputCapture.h"

#include <atomic>
#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace JY;
using namespace JY::Log2;
using JY::Test::recordOf;
using testing::ElementsAre;
using testing::IsEmpty;

std::string headOf(const Record& record) {
    SourceColumn column{};
    TextBuffer text;
    appendLineHead(text, record, column);
    return text.str();
}

TEST(Severity, HasANameForEachNumber) {
    const std::vector<std::string> names{"trace", "debug", "info", "warn", "notice", "error", "fatal"};
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(severityName(static_cast<Severity>(i)), names[i]);
    }
}

TEST(Severity, OutsideTheTableIsUnknown) {
    EXPECT_STREQ(severityName(static_cast<Severity>(7)), "Unknown");
    EXPECT_STREQ(severityName(static_cast<Severity>(-1)), "Unknown");
}

TEST(LineHead, HoldsTimeThreadSeverityFileAndLine) {
    EXPECT_EQ(headOf(recordOf(Severity::warn, "FlvTag", 65, "")),
              "2026/03/04 05:06:07.008 00000abc warn   FlvTag              (   65) ");
}

TEST(LineHead, CutsASourceNameAfterTwentyCharacters) {
    EXPECT_EQ(headOf(recordOf(Severity::notice, "abcdefghijklmnopqrstuvwxy", 123456, "")),
              "2026/03/04 05:06:07.008 00000abc notice abcdefghijklmnopqrst(123456) ");
}

TEST(LineHead, WritesAnUnknownSeverity) {
    EXPECT_EQ(headOf(recordOf(static_cast<Severity>(7), "f", 1, "")),
              "2026/03/04 05:06:07.008 00000abc Unknown f                   (    1) ");
}

TEST(LineHead, WritesMinusOneAsUnknown) {
    EXPECT_EQ(headOf(recordOf(static_cast<Severity>(-1), "f", 1, "")),
              "2026/03/04 05:06:07.008 00000abc Unknown f                   (    1) ");
}

class KeepingSink final : public SinkBase {
public:
    void flush() override {}
    void close() override {}
    std::vector<std::string> kept;

protected:
    void doWrite(const Record& record) override { kept.emplace_back(record.message); }
};

void writeOneOfEach(Sink& sink) {
    for (int severity = 0; severity <= 6; ++severity) {
        const std::string message = severityName(static_cast<Severity>(severity));
        sink.write(recordOf(static_cast<Severity>(severity), "f", 1, message));
    }
}

TEST(SinkBase, KeepsWarnAndAboveAtFirst) {
    KeepingSink sink;
    writeOneOfEach(sink);
    EXPECT_THAT(sink.kept, ElementsAre("warn", "notice", "error", "fatal"));
}

TEST(SinkBase, FollowsItsThreshold) {
    KeepingSink sink;
    sink.setThreshold(Severity::notice);
    writeOneOfEach(sink);
    EXPECT_THAT(sink.kept, ElementsAre("notice", "error", "fatal"));
    sink.kept.clear();
    sink.setThreshold(Severity::trace);
    writeOneOfEach(sink);
    EXPECT_EQ(sink.kept.size(), 7U);
}

TEST(DebugOutSink, SendsOneLineToTheDebugger) {
    const JY::Test::DebugOutputCapture output;
    DebugOutSink sink;
    sink.write(recordOf(Severity::info, "FlvTag", 65, "dropped"));
    sink.write(recordOf(Severity::error, "FlvTag", 65, "kept"));
    EXPECT_THAT(output.lines(),
                ElementsAre("2026/03/04 05:06:07.008 00000abc error  FlvTag              (   65) kept\n"));
}

TEST(DebugOutSink, GoesOnAfterItWasFlushedAndClosed) {
    const JY::Test::DebugOutputCapture output;
    DebugOutSink sink;
    sink.flush();
    sink.close();
    EXPECT_THAT(output.lines(), IsEmpty());
    sink.write(recordOf(Severity::error, "FlvTag", 65, "later"));
    EXPECT_EQ(output.count("(   65) later\n"), 1U);
}

/// Stays in its first record until it is let go, as a thread does that was stopped there.
class StuckSink final : public SinkBase {
public:
    void flush() override {}
    void close() override {}

    std::atomic<bool> isInside = false;
    std::atomic<bool> mayLeave = false;
    std::atomic<int> records = 0;

protected:
    void doWrite(const Record&) override {
        ++records;
        isInside = true;
        while (!mayLeave) {
            std::this_thread::yield();
        }
    }
};

TEST(SinkBase, ChangesItsThresholdBetweenTwoRecordsOnly) {
    StuckSink sink;
    std::jthread writer([&] { sink.write(recordOf(Severity::error, "f", 1, "first")); });
    while (!sink.isInside) {
        std::this_thread::yield();
    }
    std::atomic<bool> changed = false;
    std::jthread changer([&] {
        sink.setThreshold(Severity::fatal);
        changed = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(changed);
    sink.mayLeave = true;
    writer.join();
    changer.join();
    sink.write(recordOf(Severity::error, "f", 1, "dropped"));
    EXPECT_EQ(sink.records, 1);
}

TEST(SinkBase, TakesNothingMoreOnceItWasAbandonedWhileBusy) {
    StuckSink sink;
    std::jthread stopped([&] { sink.write(recordOf(Severity::error, "f", 1, "stuck")); });
    while (!sink.isInside) {
        std::this_thread::yield();
    }
    sink.abandonIfBusy();
    sink.write(recordOf(Severity::error, "f", 1, "would wait for ever"));
    sink.mayLeave = true;
    stopped.join();
    EXPECT_EQ(sink.records, 1);
}

TEST(SinkBase, GoesOnWhenItIsNotBusy) {
    StuckSink sink;
    sink.mayLeave = true;
    sink.abandonIfBusy();
    sink.write(recordOf(Severity::error, "f", 1, ""));
    EXPECT_EQ(sink.records, 1);
}

} // namespace
