// What one thread does with the parser waits for what another one does.

#include "flv/FlvFileParserImpl.h"
#include "tests/flv/RecordingHandler.h"
#include "tests/support/FlvBuilder.h"
#include "tests/support/TempFile.h"

#include <atomic>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <thread>
#include <utility>

namespace {

using namespace JY::Pictaro::Fs;
using JY::Pictaro::TimePosition;
using JY::Test::AudioHandler;
using JY::Test::FlvBuilder;
using JY::Test::TempFile;

AudioHandler& otherHandler() {
    static AudioHandler handler;
    return handler;
}

struct Operation {
    const char* name;
    void (*run)(FlvFileParser& parser);
};

void PrintTo(const Operation& operation, std::ostream* out) {
    *out << operation.name;
}

const Operation operations[] = {
    {"clearHandler", [](FlvFileParser& parser) { parser.clearHandler(); }},
    {"addHandler", [](FlvFileParser& parser) { parser.addHandler(otherHandler()); }},
    {"readOneTag", [](FlvFileParser& parser) { parser.readOneTag(); }},
    {"setFilePosition", [](FlvFileParser& parser) { parser.setFilePosition(9); }},
    {"seekPosition", [](FlvFileParser& parser) { parser.seekPosition(TimePosition(20'000)); }}};

class FlvFileParserLock : public testing::TestWithParam<Operation> {
protected:
    FlvFileParserLock() { parser.addHandler(handler); }

    /// Starts the operation on another thread and tells whether it has waited for this one.
    bool operationWaits() {
        other = std::thread([this] {
            GetParam().run(parser);
            hasEnded = true;
        });
        Sleep(50); // time for what does not wait
        return !hasEnded;
    }
    void expectEnd() {
        ASSERT_TRUE(other.joinable());
        other.join();
        EXPECT_TRUE(hasEnded);
    }

    TempFile temp{FlvBuilder().mp3(0, {1}).mp3(10, {2}).mp3(20, {3}).mp3(30, {4}).build()};
    FlvFileParserImpl parser{temp.path()};
    AudioHandler handler;
    std::thread other;
    std::atomic<bool> hasEnded = false;
};

INSTANTIATE_TEST_SUITE_P(EachOperation, FlvFileParserLock, testing::ValuesIn(operations),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

} // namespace

TEST_P(FlvFileParserLock, IsHeldWhileATagIsRead) {
    bool waited = false;
    handler.onHandle = [&](JY::Stream&) {
        handler.onHandle = nullptr;
        waited = operationWaits();
    };
    parser.readOneTag();
    expectEnd();
    EXPECT_TRUE(waited);
}

TEST_P(FlvFileParserLock, IsHeldWhileASeekWalks) {
    bool waited = false;
    bool hasWalked = false;
    handler.isSeekPoint = [&](auto&, auto&) {
        if (!std::exchange(hasWalked, true)) {
            waited = operationWaits();
        }
        return true;
    };
    parser.seekPosition(TimePosition(30'000));
    expectEnd();
    EXPECT_TRUE(waited);
}
