#include "log/Core.h"

#include "log/CoreImpl.h"
#include "log/DebugOutSink.h"
#include "tests/support/LogCapture.h"
#include "util/ApiErrorException.h"

#include <boost/make_shared.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <numeric>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace JY;
using namespace JY::Log2;
using Test::CapturedRecord;
using Test::LogCapture;
using testing::ElementsAre;

constexpr SourceFile here{"CoreTest"};

/// Counts the operations of the sink interface and keeps the messages.
class RecordingSink final : public Sink {
public:
    explicit RecordingSink(std::vector<std::string>& calls, std::string name) : calls_(calls), name_(std::move(name)) {}
    void flush() override { calls_.push_back(name_ + " flush"); }
    void close() override { calls_.push_back(name_ + " close"); }
    void write(const Record& record) override { calls_.push_back(name_ + " " + std::string(record.message)); }
    void setThreshold(Severity) override {}

private:
    std::vector<std::string>& calls_;
    std::string name_;
};

struct Traced {
    virtual ~Traced() = default;
    void run() const { const auto log = traceMember(here.at(7), typeid(*this), "run"); }
};
struct Derived final : Traced {};

TEST(Trace, OfAMemberWritesEnterAndExitWithTheRunTimeClass) {
    const LogCapture capture;
    Derived().run();
    const auto records = capture.records();
    ASSERT_EQ(records.size(), 2U);
    EXPECT_TRUE(records[0].message.starts_with("ENTER: ") && records[0].message.ends_with("Derived::run"));
    EXPECT_EQ(records[1].message, "EXIT: " + records[0].message.substr(7));
    for (const auto& record : records) {
        EXPECT_EQ(record.severity, Severity::trace);
        EXPECT_EQ(record.file, "CoreTest");
        EXPECT_EQ(record.line, 7);
        EXPECT_EQ(record.threadId, GetCurrentThreadId());
    }
}

TEST(Trace, LabelOfAMemberIsClassAndFunction) {
    const LogCapture capture;
    { const auto log = traceMember(here(), typeid(ApiErrorException), "code"); }
    EXPECT_THAT(capture.messages(true),
                ElementsAre("ENTER: JY::ApiErrorException::code", "EXIT: JY::ApiErrorException::code"));
}

TEST(Trace, OfAFreeFunctionWritesItsNameAlone) {
    const LogCapture capture;
    { const auto log = traceFunction(here(), "DllGetClassObject"); }
    EXPECT_THAT(capture.messages(true), ElementsAre("ENTER: DllGetClassObject", "EXIT: DllGetClassObject"));
}

TEST(Trace, WritesExitWhenAnExceptionPasses) {
    const LogCapture capture;
    try {
        const auto log = traceFunction(here(), "f");
        throw 1;
    } catch (int) {
        EXPECT_EQ(capture.count("EXIT: f"), 1U);
    }
}

TEST(Trace, IsWrittenOnceWhenTheLoggerMoves) {
    const LogCapture capture;
    {
        auto first = traceFunction(here(), "f");
        const Logger second(std::move(first));
    }
    EXPECT_THAT(capture.messages(true), ElementsAre("ENTER: f", "EXIT: f"));
}

TEST(Logger, WithoutATraceWritesWhatItIsGivenOnly) {
    const LogCapture capture;
    untraced().warn(here.at(3)) << "text" << 5 << L"wide";
    ASSERT_EQ(capture.records().size(), 1U);
    const auto record = capture.records().front();
    EXPECT_EQ(record.message, "text5wide");
    EXPECT_EQ(record.severity, Severity::warn);
    EXPECT_EQ(record.line, 3);
}

TEST(Logger, WritesEachSeverity) {
    const LogCapture capture;
    const auto log = untraced();
    log.trace(here()) << "0";
    log.debug(here()) << "1";
    log.info(here()) << "2";
    log.warn(here()) << "3";
    log.notice(here()) << "4";
    log.error(here()) << "5";
    log.fatal(here()) << "6";
    log.record(here(), static_cast<Severity>(7)) << "7";
    for (const auto& record : capture.records()) {
        EXPECT_EQ(std::to_string(static_cast<int>(record.severity)), record.message);
    }
    EXPECT_EQ(capture.records().size(), 8U);
}

TEST(Logger, StreamsAnExceptionWithClassAndDescription) {
    const LogCapture capture;
    const ApiErrorException exception(here.at(44), "CreateFile", 2);
    untraced().error(here()) << exception;
    EXPECT_THAT(capture.messages(),
                ElementsAre("Exception caught. class JY::ApiErrorException, " + exception.getDescription()));
}

TEST(Logger, WithoutACoreDiscardsEverything) {
    setCore(nullptr);
    const auto log = traceFunction(here(), "f");
    log.fatal(here()) << "gone";
    untraced().fatal(here()) << "gone";
    const LogCapture capture;
    log.fatal(here()) << "still gone";
    EXPECT_TRUE(capture.records().empty());
}

TEST(Logger, KeepsItsCoreAlive) {
    std::vector<std::string> calls;
    auto core = CoreImpl::create();
    core->addSink(boost::make_shared<RecordingSink>(calls, "a"));
    {
        const auto log = core->createLogger();
        core.reset();
        log.warn(here()) << "x";
    }
    EXPECT_THAT(calls, ElementsAre("a x"));
}

/// Counts the sinks of its kind that have gone.
class CountedSink final : public Sink {
public:
    explicit CountedSink(int& gone) : gone_(gone) {}
    CountedSink(const CountedSink&) = delete;
    CountedSink& operator=(const CountedSink&) = delete;
    ~CountedSink() override { ++gone_; }
    void flush() override {}
    void close() override {}
    void write(const Record&) override {}
    void setThreshold(Severity) override {}

private:
    int& gone_;
};

TEST(Core, GoesWithItsOwnerWhenItHasNoLogger) {
    int gone = 0;
    auto core = CoreImpl::create();
    core->addSink(boost::make_shared<CountedSink>(gone));
    { const auto logger = core->createLogger(); }
    boost::shared_ptr<Core> second = core;
    core.reset();
    EXPECT_EQ(gone, 0);
    second.reset();
    EXPECT_EQ(gone, 1);
}

TEST(Core, GoesWithItsLastLoggerWhenItsOwnerHasGoneBefore) {
    int gone = 0;
    auto core = CoreImpl::create();
    core->addSink(boost::make_shared<CountedSink>(gone));
    {
        const auto last = core->createLogger();
        { const auto other = core->createLogger(); }
        core.reset();
        EXPECT_EQ(gone, 0);
    }
    EXPECT_EQ(gone, 1);
}

TEST(Record, CarriesTheTimeOfItsSending) {
    class TimeSink final : public SinkBase {
    public:
        void flush() override {}
        void close() override {}
        SYSTEMTIME time{};

    protected:
        void doWrite(const Record& record) override { time = record.time; }
    };
    const auto core = CoreImpl::create();
    const auto sink = boost::make_shared<TimeSink>();
    core->addSink(sink);
    const auto log = core->createLogger();
    SYSTEMTIME before{};
    {
        auto builder = log.warn(here());
        builder << "x";
        Sleep(20);
        GetLocalTime(&before);
    }
    SYSTEMTIME after{};
    GetLocalTime(&after);
    const auto ticks = [](const SYSTEMTIME& time) {
        FILETIME file{};
        SystemTimeToFileTime(&time, &file);
        return ULARGE_INTEGER{{file.dwLowDateTime, file.dwHighDateTime}}.QuadPart;
    };
    EXPECT_LE(ticks(before), ticks(sink->time));
    EXPECT_LE(ticks(sink->time), ticks(after));
}

TEST(Core, PassesRecordsToItsSinksInTheOrderOfAdding) {
    std::vector<std::string> calls;
    const auto core = CoreImpl::create();
    core->addSink(boost::make_shared<RecordingSink>(calls, "a"));
    core->addSink(boost::make_shared<RecordingSink>(calls, "b"));
    core->createLogger().trace(here()) << "x";
    EXPECT_THAT(calls, ElementsAre("a x", "b x"));
}

/// Drops everything, and says so beforehand.
class DroppingSink final : public Sink {
public:
    explicit DroppingSink(unsigned& written) : written_(written) {}
    void flush() override {}
    void close() override {}
    void write(const Record&) override { ++written_; }
    void setThreshold(Severity) override {}
    bool wants(Severity) const override { return false; }

private:
    unsigned& written_;
};

TEST(Core, RecordThatNoSinkWantsIsNotMade) {
    unsigned written = 0;
    const auto core = CoreImpl::create();
    core->addSink(boost::make_shared<DroppingSink>(written));
    core->createLogger().fatal(here()) << "x";
    EXPECT_EQ(written, 0U);
}

TEST(Core, RecordThatOneSinkWantsIsOfferedToAll) {
    unsigned written = 0;
    std::vector<std::string> calls;
    const auto core = CoreImpl::create();
    core->addSink(boost::make_shared<DroppingSink>(written));
    core->addSink(boost::make_shared<RecordingSink>(calls, "a"));
    core->createLogger().trace(here()) << "x";
    EXPECT_EQ(written, 1U);
    EXPECT_THAT(calls, ElementsAre("a x"));
}

TEST(SinkBase, WantsWhatItsThresholdLetsThrough) {
    DebugOutSink sink;
    EXPECT_FALSE(sink.wants(Severity::info));
    EXPECT_TRUE(sink.wants(Severity::warn));
    sink.setThreshold(Severity::fatal);
    EXPECT_FALSE(sink.wants(Severity::error));
    EXPECT_TRUE(sink.wants(Severity::fatal));
}

TEST(Core, FlushesEverySink) {
    std::vector<std::string> calls;
    const auto core = CoreImpl::create();
    core->addSink(boost::make_shared<RecordingSink>(calls, "a"));
    core->addSink(boost::make_shared<RecordingSink>(calls, "b"));
    core->flush();
    EXPECT_THAT(calls, ElementsAre("a flush", "b flush"));
}

TEST(CoreShutdown, ClosesAndForgetsItsSinks) {
    std::vector<std::string> calls;
    const auto core = CoreImpl::create();
    core->addSink(boost::make_shared<RecordingSink>(calls, "a"));
    core->shutdown(ShutdownMode::reportWarning);
    core->createLogger().fatal(here()) << "x";
    EXPECT_THAT(calls, ElementsAre("a close"));
}

/// What a core of two live loggers tells its sink when it is shut down.
CapturedRecord reportOfTwoLiveLoggers(ShutdownMode mode) {
    class LastRecordSink final : public Sink {
    public:
        void flush() override {}
        void close() override {}
        void write(const Record& record) override {
            last = {record.severity, record.position.file, record.position.line, record.threadId,
                    std::string(record.message)};
        }
        void setThreshold(Severity) override {}
        CapturedRecord last;
    };
    const auto core = CoreImpl::create();
    const auto sink = boost::make_shared<LastRecordSink>();
    core->addSink(sink);
    const auto first = core->createLogger();
    const auto second = core->createLogger();
    core->shutdown(mode);
    return sink->last;
}

TEST(CoreShutdown, ReportsLiveLoggersAsAWarning) {
    const CapturedRecord report = reportOfTwoLiveLoggers(ShutdownMode::reportWarning);
    EXPECT_EQ(report.severity, Severity::warn);
    EXPECT_EQ(report.message, "There are some Logger instances exists. =2");
    EXPECT_EQ(report.file, "Core");
    EXPECT_EQ(report.line, 34);
}

TEST(CoreShutdown, ReportsLiveLoggersAsFatalWhenAskedTo) {
    const CapturedRecord report = reportOfTwoLiveLoggers(ShutdownMode::reportFatal);
    EXPECT_EQ(report.severity, Severity::fatal);
    EXPECT_EQ(report.message, "There are some Logger instances exists. =2");
    EXPECT_EQ(report.file, "Core");
    EXPECT_EQ(report.line, 34);
}

TEST(CoreShutdown, IsSilentWithoutLiveLoggersOrWhenAskedToBe) {
    std::vector<std::string> calls;
    {
        const auto core = CoreImpl::create();
        core->addSink(boost::make_shared<RecordingSink>(calls, "a"));
        { const auto gone = core->createLogger(); }
        core->shutdown(ShutdownMode::reportFatal);
    }
    {
        const auto core = CoreImpl::create();
        core->addSink(boost::make_shared<RecordingSink>(calls, "b"));
        const auto alive = core->createLogger();
        core->shutdown(ShutdownMode::silent);
    }
    EXPECT_THAT(calls, ElementsAre("a close", "b close"));
}

class ThrowingSink final : public Sink {
public:
    void flush() override {}
    void close() override { throw 1; }
    void write(const Record&) override { throw 1; }
    void setThreshold(Severity) override {}
};

TEST(Logger, SurvivesASinkThatThrows) {
    const auto core = CoreImpl::create();
    core->addSink(boost::make_shared<ThrowingSink>());
    EXPECT_NO_THROW(core->createLogger().warn(here()) << "x");
}

TEST(Core, SinkThatThrowsDoesNotKeepTheRecordFromTheOthers) {
    std::vector<std::string> calls;
    const auto core = CoreImpl::create();
    core->addSink(boost::make_shared<RecordingSink>(calls, "a"));
    core->addSink(boost::make_shared<ThrowingSink>());
    core->addSink(boost::make_shared<RecordingSink>(calls, "b"));
    core->createLogger().warn(here()) << "x";
    EXPECT_THAT(calls, ElementsAre("a x", "b x"));
}

TEST(CoreShutdown, ClosesEverySinkEvenWhenOneThrows) {
    std::vector<std::string> calls;
    const auto core = CoreImpl::create();
    core->addSink(boost::make_shared<RecordingSink>(calls, "a"));
    core->addSink(boost::make_shared<ThrowingSink>());
    core->addSink(boost::make_shared<RecordingSink>(calls, "b"));
    EXPECT_NO_THROW(core->shutdown(ShutdownMode::silent));
    core->createLogger().fatal(here()) << "x";
    EXPECT_THAT(calls, ElementsAre("a close", "b close"));
}

constexpr int threadCount = 8;
constexpr int roundCount = 500;

TEST(Core, KeepsEveryRecordOfManyThreads) {
    const LogCapture capture;
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < threadCount; ++thread) {
            threads.emplace_back([thread] {
                for (int round = 0; round < roundCount; ++round) {
                    untraced().warn(here.at(round)) << thread;
                }
            });
        }
    }
    std::map<std::string, std::vector<int>> roundsOfThreads;
    for (const CapturedRecord& record : capture.records()) {
        roundsOfThreads[record.message].push_back(record.line);
    }
    std::vector<int> everyRound(roundCount);
    std::iota(everyRound.begin(), everyRound.end(), 0);
    EXPECT_EQ(roundsOfThreads.size(), static_cast<std::size_t>(threadCount));
    for (const auto& [thread, rounds] : roundsOfThreads) {
        EXPECT_EQ(rounds, everyRound) << thread;
    }
}

TEST(Core, LiveCountIsExactUnderManyThreads) {
    std::vector<std::string> calls;
    const auto core = CoreImpl::create();
    core->addSink(boost::make_shared<RecordingSink>(calls, "a"));
    const auto alive = core->createLogger();
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < threadCount; ++thread) {
            threads.emplace_back([&core] {
                for (int round = 0; round < roundCount; ++round) {
                    auto logger = core->createLogger();
                    const Logger moved(std::move(logger));
                }
            });
        }
    }
    core->shutdown(ShutdownMode::reportWarning);
    EXPECT_THAT(calls, ElementsAre("a There are some Logger instances exists. =1", "a close"));
}

TEST(SetCore, ReleasesThePreviousCoreAfterTheExchange) {
    class LastWordsSink final : public Sink {
    public:
        ~LastWordsSink() override { untraced().warn(here()) << "last words"; }
        void flush() override {}
        void close() override {}
        void write(const Record&) override {}
        void setThreshold(Severity) override {}
    };
    {
        const auto previous = CoreImpl::create();
        previous->addSink(boost::make_shared<LastWordsSink>());
        setCore(previous);
    }
    const LogCapture capture; // its core takes the place of the one whose end is logged
    EXPECT_THAT(capture.messages(), ElementsAre("last words"));
}

} // namespace
