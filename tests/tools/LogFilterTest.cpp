#include "tools/LogFilter.h"

#include "tests/tools/LogText.h"

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

LogRecord record(std::string_view message, const TestHead& head = {}) {
    const std::string text = recordText(message, head);
    return {*readLogHead(text), text};
}

TEST(LogFilter, AcceptsEverythingUnasked) {
    TestHead trace;
    trace.severity = "trace";
    EXPECT_TRUE(LogFilter{}.accepts(record("message", trace)));
    EXPECT_TRUE(LogFilter{}.accepts(record("")));
}

TEST(LogFilter, TakesASeverityAndThoseAbove) {
    const std::vector<std::string> names{"trace", "debug", "info", "warn", "notice", "error", "fatal", "Unknown"};
    for (std::size_t least = 0; least < names.size(); ++least) {
        LogFilter filter;
        filter.severity = *severityNamed(names[least]);
        for (std::size_t number = 0; number < names.size(); ++number) {
            TestHead head;
            head.severity = names[number];
            EXPECT_EQ(filter.accepts(record("", head)), number >= least) << names[least] << ' ' << names[number];
        }
    }
}

TEST(LogFilter, TakesAnyOfTheThreads) {
    LogFilter filter;
    filter.threads = {1, 0xfffffffe};
    TestHead head;
    for (const auto& [thread, taken] : {std::pair{1U, true}, {2U, false}, {0xfffffffeU, true}}) {
        head.thread = thread;
        EXPECT_EQ(filter.accepts(record("", head)), taken);
    }
}

TEST(LogFilter, TakesAnyOfTheSourcesByWhatTheLogShows) {
    LogFilter filter;
    filter.sources = {"FlvByteStreamHandlerImpl", "flvtag"};
    TestHead head;
    for (const auto& [source, taken] : {std::pair{"FlvByteStreamHandlerImpl", true},
                                        {"FlvByteStreamHandlerOther", true}, // the same 20 characters
                                        {"FlvByteStreamHandle", false},
                                        {"FlvTag", true},
                                        {"FlvTagX", false},
                                        {"FlvTa", false}}) {
        head.source = source;
        EXPECT_EQ(filter.accepts(record("", head)), taken) << source;
    }
}

TEST(LogFilter, TakesASpanOfTimeWithBothEnds) {
    LogFilter filter;
    filter.since = readLogTime(timeAt(1000));
    filter.until = readLogTime(timeAt(2000));
    for (const auto& [time, taken] : {std::pair{999U, false}, {1000U, true}, {2000U, true}, {2001U, false}}) {
        EXPECT_EQ(filter.accepts(record("", headAt(time))), taken) << time;
    }
}

bool hasText(const LogRecord& record, const char* text) {
    LogFilter filter;
    filter.text.assign(text);
    return filter.accepts(record);
}

TEST(LogFilter, LooksForTextInTheMessageOnly) {
    EXPECT_TRUE(hasText(record("a tag=5"), "Tag="));
    EXPECT_TRUE(hasText(record("one\r\ntwo TAG=5"), "Tag="));
    EXPECT_FALSE(hasText(record("FlvTag"), "Tag="));
    EXPECT_FALSE(hasText(record("message"), "FlvTag"));
    EXPECT_TRUE(hasText(record("caf\xE9"), "\xE9"));
    EXPECT_FALSE(hasText(record("cafe"), "\xE9"));
}

TEST(LogFilter, WantsEveryConditionMet) {
    LogFilter filter;
    filter.threads = {0x1a4};
    filter.severity = LogSeverity::error;
    EXPECT_FALSE(filter.accepts(record("")));
    filter.severity = LogSeverity::info;
    EXPECT_TRUE(filter.accepts(record("")));
}

} // namespace
} // namespace JY::Tools
