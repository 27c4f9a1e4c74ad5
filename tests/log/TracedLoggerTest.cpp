#include "log/CoreImpl.h"
#include "log/Severity.h"
#include "log/SinkBase.h"
#include "tests/support/Allocations.h"
#include "util/ErrorException.h"

#include <boost/make_shared.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace JY;
using namespace JY::Log2;
using testing::ElementsAre;

constexpr SourceFile here{"TracedLoggerTest"};

/// Keeps each record as "severity file(line) message".
class KeepingSink final : public SinkBase {
public:
    void flush() override {}
    void close() override {}
    std::vector<std::string> kept;

protected:
    void doWrite(const Record& record) override {
        TextBuffer text;
        text << severityName(record.severity) << ' ' << record.position.file << '(' << record.position.line << ") "
             << record.message;
        kept.push_back(text.str());
    }
};

class TracedLogger : public testing::Test {
protected:
    TracedLogger() {
        sink->setThreshold(Severity::trace);
        core->addSink(sink);
    }

    const boost::shared_ptr<CoreImpl> core = CoreImpl::create();
    const boost::shared_ptr<KeepingSink> sink = boost::make_shared<KeepingSink>();
};

TEST_F(TracedLogger, OfAFunctionWritesBothRecordsAtTheSeverityAndPlaceGiven) {
    { const auto log = core->createLogger(here.at(7), "f", Severity::notice); }
    EXPECT_THAT(sink->kept, ElementsAre("notice TracedLoggerTest(7) ENTER: f", "notice TracedLoggerTest(7) EXIT: f"));
}

TEST_F(TracedLogger, OfAMemberWritesBothRecordsAtTheSeverityAndPlaceGiven) {
    { const auto log = core->createLogger(here.at(8), typeid(ErrorException), "f", Severity::warn); }
    EXPECT_THAT(sink->kept, ElementsAre("warn TracedLoggerTest(8) ENTER: JY::ErrorException::f",
                                        "warn TracedLoggerTest(8) EXIT: JY::ErrorException::f"));
}

TEST_F(TracedLogger, WritesItsFirstRecordAtOnceAndItsLastAtTheEnd) {
    {
        const auto log = core->createLogger(here.at(7), "f", Severity::trace);
        EXPECT_THAT(sink->kept, ElementsAre("trace TracedLoggerTest(7) ENTER: f"));
        log.error(here.at(9)) << "inside";
        EXPECT_EQ(sink->kept.size(), 2U);
    }
    EXPECT_THAT(sink->kept, ElementsAre("trace TracedLoggerTest(7) ENTER: f", "error TracedLoggerTest(9) inside",
                                        "trace TracedLoggerTest(7) EXIT: f"));
}

TEST_F(TracedLogger, IsHeldToTheThresholdOfTheMoment) {
    sink->setThreshold(Severity::fatal);
    {
        const auto log = core->createLogger(here.at(7), "f", Severity::trace);
        log.error(here.at(9)) << "before";
        sink->setThreshold(Severity::trace);
        log.debug(here.at(10)) << "between";
        sink->setThreshold(Severity::debug);
    }
    EXPECT_THAT(sink->kept, ElementsAre("debug TracedLoggerTest(10) between"));
}

TEST_F(TracedLogger, WritesItsLastRecordEvenWhenItsFirstWasDropped) {
    sink->setThreshold(Severity::fatal);
    {
        const auto log = core->createLogger(here.at(8), typeid(ErrorException), "f", Severity::trace);
        sink->setThreshold(Severity::trace);
    }
    EXPECT_THAT(sink->kept, ElementsAre("trace TracedLoggerTest(8) EXIT: JY::ErrorException::f"));
}

TEST_F(TracedLogger, WithoutMemoryForItsFirstRecordWritesItsLastOneWhole) {
    const std::string longName(600, 'f'); // more than a record has room for
    {
        const JY::Test::FailingAllocation failure(1);
        const auto log = core->createLogger(here.at(7), longName, Severity::trace);
        EXPECT_TRUE(failure.hasFailed());
    }
    EXPECT_THAT(sink->kept, ElementsAre("trace TracedLoggerTest(7) EXIT: " + longName));
}

TEST_F(TracedLogger, OfALongNameWritesBothRecordsWhole) {
    const std::string longName(600, 'f');
    { const auto log = core->createLogger(here.at(8), typeid(ErrorException), longName, Severity::trace); }
    EXPECT_THAT(sink->kept, ElementsAre("trace TracedLoggerTest(8) ENTER: JY::ErrorException::" + longName,
                                        "trace TracedLoggerTest(8) EXIT: JY::ErrorException::" + longName));
}

TEST_F(TracedLogger, ThatIsMovedWritesItsLastRecordOnce) {
    {
        auto log = core->createLogger(here.at(7), "f", Severity::trace);
        const auto moved = std::move(log);
        moved.warn(here.at(9)) << "inside";
    }
    EXPECT_THAT(sink->kept, ElementsAre("trace TracedLoggerTest(7) ENTER: f", "warn TracedLoggerTest(9) inside",
                                        "trace TracedLoggerTest(7) EXIT: f"));
}

TEST_F(TracedLogger, WritesToASinkThatCameLater) {
    const auto later = boost::make_shared<KeepingSink>();
    later->setThreshold(Severity::trace);
    {
        const auto log = core->createLogger(here.at(7), "f", Severity::trace);
        core->addSink(later);
        log.debug(here.at(9)) << "to both";
    }
    EXPECT_THAT(later->kept, ElementsAre("debug TracedLoggerTest(9) to both", "trace TracedLoggerTest(7) EXIT: f"));
    EXPECT_EQ(sink->kept.size(), 3U);
}

TEST_F(TracedLogger, IsCountedAmongTheLiveOnes) {
    const auto function = core->createLogger(here.at(7), "f", Severity::trace);
    const auto member = core->createLogger(here.at(8), typeid(ErrorException), "f", Severity::trace);
    { const auto gone = core->createLogger(here.at(9), "g", Severity::trace); }
    core->shutdown(ShutdownMode::reportWarning);
    EXPECT_EQ(sink->kept.back(), "warn Core(34) There are some Logger instances exists. =2");
}

} // namespace
