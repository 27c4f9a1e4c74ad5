// What the handlers of all audio codecs do alike: a tag's payload becomes a sample.

#include "streams/AudioDataHandler.h"

#include "streams/AacAudioDataHandler.h"
#include "streams/Mp3AudioDataHandler.h"
#include "tests/streams/MediaFoundationCalls.h"
#include "tests/streams/StreamTest.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/FatalException.h"

#include <type_traits>

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro::Fs;
using Pictaro::TimePosition;
using testing::ElementsAre;

struct Aac {
    using Handler = AacAudioDataHandler;
    static constexpr std::uint32_t mediaHeaderSize = 2;
    static FlvBuilder& add(FlvBuilder& file, std::uint32_t milliseconds, const Bytes& frame) {
        return file.aacRaw(milliseconds, frame);
    }
};

struct Mp3 {
    using Handler = Mp3AudioDataHandler;
    static constexpr std::uint32_t mediaHeaderSize = 1;
    static FlvBuilder& add(FlvBuilder& file, std::uint32_t milliseconds, const Bytes& frame) {
        return file.mp3(milliseconds, frame);
    }
};

const Bytes frame = join({Mp3Header().bytes(), {1, 2, 3}});

template <class Codec>
class AudioDataHandlerOf : public HandlerTest<typename Codec::Handler, FlvAudioTag> {
protected:
    static FlvBuilder fileOf(std::uint32_t milliseconds, const Bytes& content) {
        FlvBuilder file;
        return Codec::add(file, milliseconds, content);
    }
    void handleFrameAt(std::uint32_t milliseconds) { this->handle(fileOf(milliseconds, frame)); }
};

struct CodecName {
    template <class Codec>
    static std::string GetName(int) {
        return std::is_same_v<Codec, Aac> ? "Aac" : "Mp3";
    }
};
using Codecs = testing::Types<Aac, Mp3>;
TYPED_TEST_SUITE(AudioDataHandlerOf, Codecs, CodecName);

TYPED_TEST(AudioDataHandlerOf, TurnsAFrameIntoASampleOfItsBytes) {
    this->handleFrameAt(40);
    EXPECT_THAT(this->stream->contents(), ElementsAre(SampleContent{frame, 400'000, 400'000, false}));
    EXPECT_EQ(this->handler.getLastTimePosition(), TimePosition(40'000));
}

TYPED_TEST(AudioDataHandlerOf, RecordsTheFramesBytes) {
    this->handleFrameAt(40);
    EXPECT_EQ(this->log.count("AudioData(7)=\n    ff fb 90 40 01 02 03 " + std::string(27, ' ') + "...@..."), 1U);
}

TYPED_TEST(AudioDataHandlerOf, CutsTheDumpOfAFrame) {
    const FlvBuilder file = TestFixture::fileOf(40, join({Mp3Header().bytes(), Bytes(96, 0x20)}));
    this->source->numDumpBin = 4;
    this->handle(file);
    EXPECT_EQ(this->log.count("AudioData(100)=\n    ff fb 90 40 " + std::string(36, ' ') + "...@"), 1U);
    this->source->numDumpBin = 0;
    this->handle(file);
    EXPECT_EQ(this->log.count("AudioData(100)="), 1U);
}

TYPED_TEST(AudioDataHandlerOf, MeasuresDurationsFromTheSampleBefore) {
    for (const std::uint32_t milliseconds : {0, 23, 46, 46, 10}) {
        this->handleFrameAt(milliseconds);
    }
    std::vector<LONGLONG> durations;
    for (const SampleContent& sample : this->stream->contents()) {
        durations.push_back(sample.duration);
    }
    EXPECT_THAT(durations, ElementsAre(0, 230'000, 230'000, 0, -360'000));
}

TYPED_TEST(AudioDataHandlerOf, WrapsTimesAfter32BitsOfMicroseconds) {
    this->handleFrameAt(4'294'967);
    this->handleFrameAt(4'294'968);
    EXPECT_THAT(this->stream->contents(), ElementsAre(SampleContent{frame, 42'949'670'000, 42'949'670'000, false},
                                                      SampleContent{frame, 7'040, 7'040 - 42'949'670'000, false}));
    EXPECT_EQ(this->handler.getLastTimePosition(), TimePosition(704));
}

TYPED_TEST(AudioDataHandlerOf, FillsAFrameThatTheFileCutsWithZeros) {
    FlvBuilder file;
    file.withDataSize(static_cast<std::uint32_t>(TypeParam::mediaHeaderSize + frame.size() + 3));
    this->handle(TypeParam::add(file, 0, frame).withoutTrailer());
    EXPECT_EQ(this->stream->contents().at(0).bytes, join({frame, {0, 0, 0}}));
}

TYPED_TEST(AudioDataHandlerOf, RefusesATagThatClaimsToBeSmallerThanItsHeader) {
    for (std::uint32_t dataSize = 0; dataSize < TypeParam::mediaHeaderSize; ++dataSize) {
        FlvBuilder file;
        file.withDataSize(dataSize);
        TypeParam::add(file, 0, frame);
        EXPECT_EQ(thrownIn<ErrorException>([&] { this->handleUnfenced(file); }), "Too short. @AudioDataHandler");
    }
    EXPECT_TRUE(this->stream->samples.empty());
}

TYPED_TEST(AudioDataHandlerOf, RefusesATagThatHasNotBeenRead) {
    EXPECT_EQ(thrown<FatalException>([&] { this->handleUnfenced(TestFixture::fileOf(0, frame), false); }),
              "Not read yet. @FlvTag:65");
    EXPECT_TRUE(this->stream->samples.empty());
}

TYPED_TEST(AudioDataHandlerOf, NamesTheCallThatFailsAndQueuesNothing) {
    const struct {
        MediaFoundationCall call;
        const char* error;
    } rows[] = {{MediaFoundationCall::createMemoryBuffer, "MFCreateMemoryBuffer: (0x8000ffff) @SampleBuffer"},
                {MediaFoundationCall::lockBuffer, "Lock: (0x8000ffff) @SampleBuffer"},
                {MediaFoundationCall::unlockBuffer, "Unlock: (0x8000ffff) @SampleBuffer"},
                {MediaFoundationCall::setCurrentLength, "SetCurrentLenght: (0x8000ffff) @SampleBuffer"},
                {MediaFoundationCall::createSample, "MFCreateSample: (0x8000ffff) @SampleBuffer"},
                {MediaFoundationCall::addBuffer, "AddBuffer: (0x8000ffff) @SampleBuffer"},
                {MediaFoundationCall::setSampleTime, "SetSampleTime: (0x8000ffff) @SampleClock"},
                {MediaFoundationCall::setSampleDuration, "SetSampleDuration: (0x8000ffff) @SampleClock"}};
    for (const auto& [call, error] : rows) {
        const MediaFoundationFault fault(call, E_UNEXPECTED);
        EXPECT_EQ(thrownIn<ApiErrorException>([&] { this->handleFrameAt(40); }), error);
        EXPECT_TRUE(this->stream->samples.empty());
        EXPECT_EQ(this->handler.getLastTimePosition(), TimePosition(0));
    }
}

} // namespace
