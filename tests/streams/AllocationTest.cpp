#include "tests/streams/StreamTest.h"
#include "tests/support/Allocations.h"

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro::Fs;

/// A sink at its first threshold, "warn", as a module that runs without trouble has them.
class CountingSink final : public Log2::SinkBase {
public:
    void flush() override {}
    void close() override {}

    unsigned written = 0;

protected:
    void doWrite(const Log2::Record&) override { ++written; }
};

/// Memory of the module alone: Media Foundation's own is not counted.
class AllocationTest : public StreamTest {
protected:
    /// Records kept for a test would count.
    AllocationTest() { Log2::setCore(nullptr); }

    static constexpr std::uint64_t requests = 50;

    /// How many allocations these requests take.
    template <class S>
    std::uint64_t allocationsOfRequests(const FlvBuilder& file) {
        const ComPtr<S> stream = createStream<S>();
        const auto request = [&] { EXPECT_EQ(stream->RequestSample(nullptr), S_OK); };
        parser.addHandler(*stream.Get());
        parser.open(file.build());
        request(); // the first one looks class names up
        const Allocations taken = allocationsOf([&] {
            for (std::uint64_t count = 0; count < requests; ++count) {
                request();
            }
        });
        parser.clearHandler();
        return taken.count;
    }

    static FlvBuilder audioFile() {
        FlvBuilder file;
        for (std::uint32_t frame = 0; frame < 60; ++frame) {
            file.aacRaw(23 * frame, Bytes(400, 0x21));
        }
        return file;
    }
    static FlvBuilder mp3File() {
        FlvBuilder file;
        for (std::uint32_t frame = 0; frame < 60; ++frame) {
            file.mp3(26 * frame, join({Mp3Header().bytes(), Bytes(400, 0x21)}));
        }
        return file;
    }
    static FlvBuilder videoFile() {
        FlvBuilder file;
        file.avcSequenceHeader(0);
        for (std::uint32_t frame = 0; frame < 60; ++frame) {
            file.avcNalus(40 * frame, FlvBuilder::key, {Bytes(4000, 0x65)});
        }
        return file;
    }

    /// What the queue of samples takes: a block for every 32 of them.
    static constexpr std::uint64_t ofTheQueue = requests / 32 + 1;
};

TEST_F(AllocationTest, AudioSamplesTakeNoMemoryOfTheirOwn) {
    EXPECT_LE(allocationsOfRequests<FlvAudioStream>(audioFile()), ofTheQueue);
}

TEST_F(AllocationTest, Mp3SamplesTakeTheMemoryOfTheirHandlersAlone) {
    EXPECT_LE(allocationsOfRequests<FlvAudioStream>(mp3File()), requests + ofTheQueue);
}

TEST_F(AllocationTest, VideoSamplesTakeNoMemoryOfTheirOwn) {
    EXPECT_LE(allocationsOfRequests<FlvVideoStream>(videoFile()), ofTheQueue);
}

TEST_F(AllocationTest, SamplesTakeNoMemoryWhileTheirRecordsAreDropped) {
    const auto sink = boost::make_shared<CountingSink>();
    const auto core = Log2::CoreImpl::create();
    core->addSink(sink);
    Log2::setCore(core);
    EXPECT_LE(allocationsOfRequests<FlvAudioStream>(audioFile()), ofTheQueue);
    EXPECT_LE(allocationsOfRequests<FlvVideoStream>(videoFile()), ofTheQueue);
    EXPECT_EQ(sink->written, 0U);
    Log2::untraced().warn({"AllocationTest", 1}) << "The sink is in use.";
    EXPECT_EQ(sink->written, 1U);
    Log2::setCore(nullptr);
}

} // namespace
