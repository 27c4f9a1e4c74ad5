#include "tests/streams/StreamTest.h"

#include <atomic>
#include <new>

namespace {
std::atomic<long> allocations{0};
}

void* operator new(std::size_t size) {
    ++allocations;
    if (void* const memory = HeapAlloc(GetProcessHeap(), 0, size)) {
        return memory;
    }
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    HeapFree(GetProcessHeap(), 0, memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    HeapFree(GetProcessHeap(), 0, memory);
}

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro::Fs;

/// How many allocations of the module 50 requests take, Media Foundation's own not counted.
template <class Request>
long allocationsOf(const Request& request) {
    request(); // the first one looks class names up
    const long before = allocations;
    for (int count = 0; count < 50; ++count) {
        request();
    }
    return allocations - before;
}

class AllocationTest : public StreamTest {
protected:
    /// Records kept for a test would count.
    AllocationTest() { Log2::setCore(nullptr); }

    template <class S>
    long allocationsOfRequests(const FlvBuilder& file) {
        const ComPtr<S> stream = createStream<S>();
        parser.addHandler(*stream.Get());
        parser.open(file.build());
        const long result = allocationsOf([&] { EXPECT_EQ(stream->RequestSample(nullptr), S_OK); });
        parser.clearHandler();
        return result;
    }

    /// What the queue of samples takes when it begins another block.
    static constexpr long ofTheQueue = 1;
};

TEST_F(AllocationTest, AudioSamplesTakeNoMemoryOfTheirOwn) {
    FlvBuilder file;
    for (std::uint32_t frame = 0; frame < 60; ++frame) {
        file.aacRaw(23 * frame, Bytes(400, 0x21));
    }
    EXPECT_LE(allocationsOfRequests<FlvAudioStream>(file), ofTheQueue);
}

TEST_F(AllocationTest, VideoSamplesTakeNoMemoryOfTheirOwn) {
    FlvBuilder file;
    file.avcSequenceHeader(0);
    for (std::uint32_t frame = 0; frame < 60; ++frame) {
        file.avcNalus(40 * frame, FlvBuilder::key, {Bytes(4000, 0x65)});
    }
    EXPECT_LE(allocationsOfRequests<FlvVideoStream>(file), ofTheQueue);
}

} // namespace
