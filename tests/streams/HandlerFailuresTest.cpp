// In which order the codec handlers call Media Foundation and record, as it shows where a call fails, and what is left
// then. The same for all codecs.

#include "streams/AacAudioDataHandler.h"
#include "streams/AvcVideoDataHandler.h"
#include "streams/Mp3AudioDataHandler.h"
#include "tests/streams/MediaFoundationCalls.h"
#include "tests/streams/MediaFoundationObjects.h"
#include "tests/streams/StreamTest.h"
#include "util/ApiErrorException.h"

#include <iterator>
#include <memory>
#include <span>
#include <type_traits>
#include <vector>

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro::Fs;
using Log2::Severity;
using Pictaro::TimePosition;

const Bytes mp3Frame = join({Mp3Header().bytes(), {1, 2, 3}});

struct Aac {
    using Handler = AacAudioDataHandler;
    using Header = FlvAudioTag;
    static constexpr const char* dataRecord = "AudioData(";
    static constexpr const char* sizeRecord = "AacRawSize=3";
    static FlvBuilder description() { return FlvBuilder().aacSequenceHeader(0); }
    static FlvBuilder frame(std::uint32_t milliseconds) { return FlvBuilder().aacRaw(milliseconds, {1, 2, 3}); }
};

struct Mp3 {
    using Handler = Mp3AudioDataHandler;
    using Header = FlvAudioTag;
    static constexpr const char* dataRecord = "AudioData(";
    static constexpr const char* sizeRecord = "streamHeadPosition - tagHeadPosition=0";
    static FlvBuilder description() { return FlvBuilder().mp3(0, mp3Frame); }
    static FlvBuilder frame(std::uint32_t milliseconds) { return FlvBuilder().mp3(milliseconds, mp3Frame); }
};

struct Avc {
    using Handler = AvcVideoDataHandler;
    using Header = FlvVideoTag;
    static constexpr const char* dataRecord = "VideoData(";
    static constexpr const char* sizeRecord = "NaluSize=5 BufferSize=23";
    static FlvBuilder description() { return FlvBuilder().avcSequenceHeader(0); }
    static FlvBuilder frame(std::uint32_t milliseconds) {
        return FlvBuilder().avcNalus(milliseconds, FlvBuilder::key, {{0x65, 1, 2, 3, 4}});
    }
};

struct Row {
    MediaFoundationCall call;
    const char* error;
};

/// The calls that describe a stream, in order.
const Row descriptionCalls[] = {
    {MediaFoundationCall::createStreamDescriptor, "MFCreateStreamDescriptor: (0x8000ffff) @StreamDescription"},
    {MediaFoundationCall::getMediaTypeHandler, "GetMediaTypeHandler: (0x8000ffff) @StreamDescription"},
    {MediaFoundationCall::setCurrentMediaType, "SetCurrentMediaType: (0x8000ffff) @StreamDescription"}};

/// The calls that make a sample, in order.
const Row sampleCalls[] = {
    {MediaFoundationCall::createMemoryBuffer, "MFCreateMemoryBuffer: (0x8000ffff) @SampleBuffer"},
    {MediaFoundationCall::lockBuffer, "Lock: (0x8000ffff) @SampleBuffer"},
    {MediaFoundationCall::unlockBuffer, "Unlock: (0x8000ffff) @SampleBuffer"},
    {MediaFoundationCall::setCurrentLength, "SetCurrentLenght: (0x8000ffff) @SampleBuffer"},
    {MediaFoundationCall::createSample, "MFCreateSample: (0x8000ffff) @SampleBuffer"},
    {MediaFoundationCall::addBuffer, "AddBuffer: (0x8000ffff) @SampleBuffer"},
    {MediaFoundationCall::setSampleTime, "SetSampleTime: (0x8000ffff) @SampleClock"},
    {MediaFoundationCall::setSampleDuration, "SetSampleDuration: (0x8000ffff) @SampleClock"}};

template <class Codec>
class HandlerFailures : public HandlerTest<typename Codec::Handler, typename Codec::Header> {
protected:
    void describe() { this->handle(Codec::description()); }
    void handleFrameAt(std::uint32_t milliseconds) { this->handle(Codec::frame(milliseconds)); }
    std::string thrownByDescription() {
        return thrownIn<ApiErrorException>([&] { describe(); });
    }
    std::string thrownByFrame() {
        return thrownIn<ApiErrorException>([&] { handleFrameAt(40); });
    }
    /// The stream has been described, and nothing else has come of it.
    void prepare() {
        describe();
        this->stream->samples.clear();
        this->log.clear();
    }
    TimePosition lastTime() const { return this->handler.getLastTimePosition(); }
};

struct CodecName {
    template <class Codec>
    static std::string GetName(int) {
        return std::is_same_v<Codec, Aac> ? "Aac" : std::is_same_v<Codec, Mp3> ? "Mp3" : "Avc";
    }
};
using Codecs = testing::Types<Aac, Mp3, Avc>;
TYPED_TEST_SUITE(HandlerFailures, Codecs, CodecName);

/// Lets a call and all behind it fail.
std::vector<std::unique_ptr<MediaFoundationFault>> faultsFrom(std::span<const Row> calls) {
    std::vector<std::unique_ptr<MediaFoundationFault>> faults;
    for (const Row& row : calls) {
        faults.push_back(std::make_unique<MediaFoundationFault>(row.call, E_UNEXPECTED));
    }
    return faults;
}

TYPED_TEST(HandlerFailures, DescriptionEndsAtTheFirstCallThatFailsAndPublishesNothing) {
    for (std::size_t row = 0; row < std::size(descriptionCalls); ++row) {
        const auto faults = faultsFrom(std::span(descriptionCalls).subspan(row));
        EXPECT_EQ(this->thrownByDescription(), descriptionCalls[row].error);
        EXPECT_TRUE(this->stream->descriptors.empty());
        EXPECT_TRUE(this->stream->samples.empty());
    }
    EXPECT_EQ(this->thrownByDescription(), "nothing was thrown");
    EXPECT_EQ(this->stream->descriptors.size(), 1U);
}

TYPED_TEST(HandlerFailures, DescriptionReleasesWhatItMadeWhenACallFails) {
    MediaFoundationObjects objects;
    for (const Row& row : descriptionCalls) {
        const MediaFoundationFault fault(row.call, E_UNEXPECTED);
        EXPECT_EQ(this->thrownByDescription(), row.error);
        EXPECT_GE(MediaFoundationObjects::count(), 1U);
        EXPECT_EQ(MediaFoundationObjects::releaseAll(), 0U) << row.error;
    }
    const MediaFoundationFault fault(MediaFoundationCall::setAttribute, E_UNEXPECTED, 1);
    EXPECT_NE(this->thrownByDescription(), "nothing was thrown");
    EXPECT_EQ(MediaFoundationObjects::count(), 1U);
    EXPECT_EQ(MediaFoundationObjects::releaseAll(), 0U);
}

TYPED_TEST(HandlerFailures, SampleEndsAtTheFirstCallThatFailsAndIsNotQueued) {
    this->prepare();
    for (std::size_t row = 0; row < std::size(sampleCalls); ++row) {
        const auto faults = faultsFrom(std::span(sampleCalls).subspan(row));
        EXPECT_EQ(this->thrownByFrame(), sampleCalls[row].error);
        EXPECT_TRUE(this->stream->samples.empty());
        EXPECT_EQ(this->lastTime(), TimePosition(0));
    }
}

TYPED_TEST(HandlerFailures, SampleIsReleasedWithItsBufferWhenACallFails) {
    this->prepare();
    MediaFoundationObjects objects;
    for (const Row& row : sampleCalls) {
        const MediaFoundationFault fault(row.call, E_UNEXPECTED);
        EXPECT_EQ(this->thrownByFrame(), row.error);
        EXPECT_EQ(MediaFoundationObjects::count() != 0, row.call != MediaFoundationCall::createMemoryBuffer);
        EXPECT_EQ(MediaFoundationObjects::releaseAll(), 0U) << row.error;
    }
}

TYPED_TEST(HandlerFailures, SampleThatIsQueuedIsHeldByTheQueueAlone) {
    this->prepare();
    MediaFoundationObjects objects;
    this->handleFrameAt(40);
    EXPECT_EQ(MediaFoundationObjects::count(), 2U) << "the buffer and the sample";
    this->stream->samples.clear();
    EXPECT_EQ(MediaFoundationObjects::releaseAll(), 0U);
}

TYPED_TEST(HandlerFailures, NextFrameIsASampleAgain) {
    this->prepare();
    this->handleFrameAt(10);
    for (const Row& row : sampleCalls) {
        const MediaFoundationFault fault(row.call, E_UNEXPECTED);
        EXPECT_EQ(this->thrownByFrame(), row.error);
    }
    EXPECT_EQ(this->lastTime(), TimePosition(10'000));
    this->handleFrameAt(50);
    ASSERT_EQ(this->stream->samples.size(), 2U);
    EXPECT_EQ(this->stream->contents()[1].duration, 400'000) << "from the last sample that was queued";
}

TYPED_TEST(HandlerFailures, SizeIsRecordedBeforeThereIsABuffer) {
    this->prepare();
    const MediaFoundationFault fault(MediaFoundationCall::createMemoryBuffer, E_UNEXPECTED);
    EXPECT_EQ(this->thrownByFrame(), sampleCalls[0].error);
    EXPECT_EQ(this->log.messages(), std::vector<std::string>{TypeParam::sizeRecord});
}

TYPED_TEST(HandlerFailures, DataAreRecordedWhileTheBufferIsLocked) {
    this->prepare();
    {
        const MediaFoundationFault fault(MediaFoundationCall::lockBuffer, E_UNEXPECTED);
        EXPECT_EQ(this->thrownByFrame(), sampleCalls[1].error);
    }
    EXPECT_FALSE(this->log.contains(TypeParam::dataRecord));
    const MediaFoundationFault fault(MediaFoundationCall::unlockBuffer, E_UNEXPECTED);
    EXPECT_EQ(this->thrownByFrame(), sampleCalls[2].error);
    EXPECT_TRUE(this->log.contains(TypeParam::dataRecord));
}

TYPED_TEST(HandlerFailures, AllRecordsOfASampleAreInformation) {
    this->prepare();
    this->handleFrameAt(40);
    EXPECT_TRUE(this->log.contains(TypeParam::dataRecord));
    for (const CapturedRecord& record : this->log.records()) {
        const bool isTrace = record.message.starts_with("ENTER: ") || record.message.starts_with("EXIT: ");
        EXPECT_EQ(record.severity, isTrace ? Severity::trace : Severity::info) << record.message;
    }
}

} // namespace
