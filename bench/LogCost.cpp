#include "bench/LogCost.h"

#include "bench/Stopwatch.h"
#include "log/Core.h"
#include "log/CoreImpl.h"
#include "log/SnapshotTextFileSink.h"
#include "log/TextFileSink.h"

#include <boost/make_shared.hpp>

#include <array>
#include <filesystem>
#include <stdexcept>
#include <typeinfo>

namespace JY::Bench {

namespace {

constexpr SourceFile here{"Bench"};
constexpr unsigned rounds = 200'000;
constexpr unsigned writingRounds = 20'000;
constexpr std::uint32_t eachSize = 1024 * 1024;
constexpr std::uint32_t maxWrap = 8;
constexpr std::uint32_t keptRecords = 1000;

/// A log as the module sets it up, in a folder of its own.
class Log {
public:
    explicit Log(Log2::Severity textThreshold) {
        std::filesystem::create_directories(folder_);
        const auto text =
            boost::make_shared<Log2::TextFileSink>(folder_.wstring(), L"bench", eachSize, maxWrap, nullptr);
        text->setThreshold(textThreshold);
        core_->addSink(text);
    }
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;
    ~Log() {
        Log2::setCore(nullptr);
        core_->shutdown(Log2::ShutdownMode::silent);
        std::filesystem::remove_all(folder_);
    }

    void addSnapshot() {
        const auto sink = boost::make_shared<Log2::SnapshotTextFileSink>(folder_.wstring(), L"bench_", eachSize,
                                                                         maxWrap, nullptr, keptRecords);
        sink->setThreshold(Log2::Severity::trace);
        core_->addSink(sink);
    }
    void install() { Log2::setCore(core_); }
    /// Whether a record has come into the text file.
    bool hasWritten() const { return !std::filesystem::is_empty(folder_); }

private:
    std::filesystem::path folder_ = std::filesystem::temp_directory_path() / L"JyFlvBench";
    boost::shared_ptr<Log2::CoreImpl> core_ = Log2::CoreImpl::create();
};

template <class Body>
double secondsPerRound(unsigned count, const Body& body) {
    body(0U); // warm
    const Stopwatch stopwatch;
    for (unsigned round = 0; round < count; ++round) {
        body(round);
    }
    return stopwatch.seconds() / count;
}

double secondsPerInfoRecord(unsigned count) {
    const Log2::Logger log = Log2::untraced();
    return secondsPerRound(
        count, [&](unsigned round) { log.info(here()) << "NaluSize=" << round << " BufferSize=" << round; });
}

} // namespace

double secondsPerDroppedRecord() {
    Log log(Log2::Severity::warn);
    log.install();
    return secondsPerInfoRecord(rounds);
}

double secondsPerRecord(Log2::Severity textThreshold) {
    Log log(textThreshold);
    log.addSnapshot();
    log.install();
    const bool toBeWritten = textThreshold <= Log2::Severity::info;
    const double seconds = secondsPerInfoRecord(toBeWritten ? writingRounds : rounds);
    if (log.hasWritten() != toBeWritten) {
        throw std::runtime_error("the text file does not keep to its threshold");
    }
    return seconds;
}

double secondsPerDump() {
    static constexpr std::array<unsigned char, 32> bytes{0x00, 0x00, 0x00, 0x01, 0x65, 0x88, 0x84, 0x40};
    Log log(Log2::Severity::warn);
    log.addSnapshot();
    log.install();
    const Log2::Logger logger = Log2::untraced();
    return secondsPerRound(rounds, [&](unsigned round) {
        logger.info(here()) << "VideoData(" << round << ")=" << HexDump{bytes.data(), bytes.size()};
    });
}

double secondsPerTracedFunction() {
    Log log(Log2::Severity::warn);
    log.addSnapshot();
    log.install();
    return secondsPerRound(rounds, [](unsigned) { Log2::traceMember(here(), typeid(Log), "function"); });
}

} // namespace JY::Bench
