#include "flv/FlvFileParserImpl.h"
#include "tests/streams/StreamTest.h"
#include "tests/support/TempFile.h"

#include <gmock/gmock.h>

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro::Fs;
using Pictaro::TimePosition;
using testing::ElementsAre;

const Bytes startCode = {0, 0, 1};
const Bytes parameterSets = join({startCode, {0x67, 0x42, 0xC0, 0x1E, 0xD9}, startCode, {0x68, 0xCB, 0x83, 0xCB}});
const Bytes keySlice = {0x65, 1, 2, 3, 4};
const Bytes slice = {0x41, 5, 6, 7, 8};

/// Ends an endless loop over the tags of a file.
class TagLimit final : public FlvTagHandler {
public:
    explicit TagLimit(unsigned count) : left_(count) {}

    bool handleTag(Stream&, const FlvTag&) override {
        if (left_ == 0) {
            throw TooManyReads();
        }
        --left_;
        return false;
    }
    bool isRandomAccessPoint(Stream&, const FlvTag&) override { return true; }

private:
    unsigned left_;
};

/// Both streams over a file on disk, read by the module's own parser.
class StreamsOverAFileTest : public StreamTest {
protected:
    void open(const FlvBuilder& builder) {
        file.write(builder.build());
        fileParser = std::make_unique<FlvFileParserImpl>(file.path());
        audio = Pictaro::createObject<FlvAudioStream>(counter, *source, *fileParser, lock);
        video = Pictaro::createObject<FlvVideoStream>(counter, *source, *fileParser, lock);
        fileParser->addHandler(*audio.Get());
        fileParser->addHandler(*video.Get());
    }
    /// Requests samples until the file ends, and then what is left in the queue.
    std::vector<SampleContent> allSamples(FlvStream& stream) {
        while (stream.RequestSample(nullptr) == S_OK) {
        }
        std::vector<SampleContent> samples;
        while (const ComPtr<IMFMediaEvent> event = nextEvent(stream)) {
            if (typeOf(*event.Get()) == MEMediaSample) {
                samples.push_back(contentOf(*sampleOf(*event.Get()).Get()));
            }
        }
        return samples;
    }

    TempFile file;
    std::unique_ptr<FlvFileParserImpl> fileParser;
    ComPtr<FlvAudioStream> audio;
    ComPtr<FlvVideoStream> video;
};

TEST_F(StreamsOverAFileTest, DeliverEachTagsSamplesToItsStream) {
    open(FlvBuilder()
             .onMetaData()
             .avcSequenceHeader(0)
             .aacSequenceHeader(0)
             .avcNalus(0, FlvBuilder::key, {keySlice, slice}, 40)
             .aacRaw(0, {1, 2})
             .aacRaw(23, {3})
             .avcNalus(40, FlvBuilder::inter, {slice})
             .onMetaData());
    audio->initialize();
    video->initialize();
    EXPECT_THAT(allSamples(*video.Get()),
                ElementsAre(SampleContent{join({parameterSets, startCode, keySlice}), 400'000, 400'000, true},
                            SampleContent{join({parameterSets, startCode, slice}), 400'000, 0, true},
                            SampleContent{join({startCode, slice}), 400'000, 0, false}));
    EXPECT_THAT(allSamples(*audio.Get()),
                ElementsAre(SampleContent{{1, 2}, 0, 0, false}, SampleContent{{3}, 230'000, 230'000, false}));
}

TEST_F(StreamsOverAFileTest, DeliverMp3TagsWithTheirTimesForDurations) {
    const Bytes frame = join({Mp3Header().bytes(), {1, 2, 3}});
    open(FlvBuilder()
             .onMetaData()
             .avcSequenceHeader(0)
             .avcNalus(0, FlvBuilder::key, {keySlice})
             .mp3(0, frame)
             .mp3(26, join({Bytes(2000, 0x55), frame}))
             .avcNalus(40, FlvBuilder::inter, {slice})
             .mp3(52, join({frame, frame}))
             .onMetaData());
    audio->initialize();
    video->initialize();
    EXPECT_THAT(allSamples(*audio.Get()),
                ElementsAre(SampleContent{frame, 0, 0, false}, SampleContent{frame, 260'000, 260'000, false},
                            SampleContent{join({frame, frame}), 520'000, 520'000, false}));
}

TEST_F(StreamsOverAFileTest, ReadTheLastTagAgainWithEachRequestAfterTheEnd) {
    open(FlvBuilder().aacSequenceHeader(0).aacRaw(0, {1}).aacRaw(23, {2}));
    EXPECT_EQ(audio->RequestSample(nullptr), S_OK);
    EXPECT_EQ(video->RequestSample(nullptr), MF_E_END_OF_STREAM);
    EXPECT_EQ(video->RequestSample(nullptr), MF_E_END_OF_STREAM);
    EXPECT_EQ(audio->RequestSample(nullptr), S_OK);
    EXPECT_EQ(audio->RequestSample(nullptr), S_OK);
    std::vector<Bytes> delivered;
    while (const ComPtr<IMFMediaEvent> event = nextEvent(*audio.Get())) {
        delivered.push_back(contentOf(*sampleOf(*event.Get()).Get()).bytes);
    }
    EXPECT_THAT(delivered, ElementsAre(Bytes{1}, Bytes{2}, Bytes{2}));
}

TEST_F(StreamsOverAFileTest, LetASeekLandOnAKeyFrame) {
    open(FlvBuilder()
             .avcSequenceHeader(0)
             .aacSequenceHeader(0)
             .avcNalus(0, FlvBuilder::key, {keySlice})
             .avcNalus(1000, FlvBuilder::inter, {slice})
             .aacRaw(1000, {1})
             .avcNalus(2000, FlvBuilder::key, {keySlice})
             .avcNalus(3000, FlvBuilder::inter, {slice})
             .aacRaw(3000, {2}));
    audio->initialize();
    video->initialize();
    fileParser->seekPosition(TimePosition(2'500'000));
    EXPECT_EQ(video->RequestSample(nullptr), S_OK);
    EXPECT_EQ(contentOf(*sampleOf(*nextEvent(*video.Get()).Get()).Get()).time, 20'000'000);
}

TEST_F(StreamsOverAFileTest, InitializeWithoutEndOnAFileThatEndsWithinItsFirstSecond) {
    open(FlvBuilder().aacRaw(0, {1}).avcEndOfSequence(500));
    for (FlvStream* const stream : {static_cast<FlvStream*>(audio.Get()), static_cast<FlvStream*>(video.Get())}) {
        TagLimit limit(10'000);
        fileParser->setFilePosition(9);
        fileParser->clearHandler();
        fileParser->addHandler(limit);
        fileParser->addHandler(*stream);
        EXPECT_THROW(stream->initialize(), TooManyReads);
        EXPECT_EQ(fileParser->getPosition(), TimePosition(500'000));
        fileParser->clearHandler();
    }
}

TEST_F(StreamsOverAFileTest, TakeATagThatTheFileCutsInItsCompositionTime) {
    open(FlvBuilder().avcSequenceHeader(0).withDataSize(5).tag(9, 0, {0x17, 1, 0}).withoutTrailer());
    EXPECT_EQ(video->RequestSample(nullptr), MF_E_END_OF_STREAM);
    open(FlvBuilder().avcSequenceHeader(0).tag(9, 0, {0x17, 1, 0}).avcEndOfSequence(0));
    EXPECT_EQ(video->RequestSample(nullptr), E_FAIL);
    EXPECT_TRUE(log.contains("Too short FlvVideoTag."));
}

} // namespace
