#include "streams/FlvVideoStream.h"

#include "tests/streams/StreamTest.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/FatalException.h"

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro::Fs;
using Pictaro::TimePosition;
using testing::ElementsAre;
using testing::HasSubstr;

const Bytes slice = {0x41, 1, 2, 3, 4};

class FlvVideoStreamTest : public StreamTest {
protected:
    FlvVideoStreamTest() { parser.addHandler(*stream.Get()); }

    void open(const FlvBuilder& file) { parser.open(file.build()); }
    LONGLONG nextDuration() { return contentOf(*sampleOf(*nextEvent(*stream.Get()).Get()).Get()).duration; }
    bool isRandomAccessPoint(const FlvBuilder& builder) {
        MemoryStream file(builder.build());
        file.seek(9);
        FlvTag tag(file);
        tag.read();
        return stream->isRandomAccessPoint(file, tag);
    }

    ComPtr<FlvVideoStream> stream = createStream<FlvVideoStream>();
};

// initialize

TEST_F(FlvVideoStreamTest, InitializesFromTheFirstSequenceHeader) {
    open(FlvBuilder().onMetaData().avcSequenceHeader(0).avcNalus(0, FlvBuilder::key, {slice}));
    stream->initialize();
    EXPECT_TRUE(stream->hasStreamDescriptor());
    EXPECT_EQ(parser.reads, 2U);
}

TEST_F(FlvVideoStreamTest, ReadsNothingMoreWhenItHasItsDescriptorAlready) {
    open(FlvBuilder().avcSequenceHeader(0).avcEndOfSequence(0));
    stream->initialize();
    stream->initialize();
    EXPECT_EQ(parser.reads, 1U);
}

TEST_F(FlvVideoStreamTest, RefusesAFileWhoseHeaderAnnouncesNoVideoEvenWithVideoTags) {
    open(FlvBuilder(FlvBuilder::audio).avcSequenceHeader(0).avcEndOfSequence(0));
    parser.video = false;
    EXPECT_THAT(thrown<ErrorException>([&] { stream->initialize(); }),
                HasSubstr("According to header, video is not present. @FlvVideoStream:"));
    EXPECT_EQ(parser.reads, 0U);
}

TEST_F(FlvVideoStreamTest, GivesUpAfterOneSecondWithoutAVideoTag) {
    open(FlvBuilder().aacRaw(1000, {1}).aacRaw(1001, {1}).avcSequenceHeader(1001).avcEndOfSequence(1001));
    EXPECT_THAT(thrown<ErrorException>([&] { stream->initialize(); }),
                HasSubstr("No video tag until stream start. @FlvVideoStream:"));
    EXPECT_EQ(parser.reads, 2U);
}

TEST_F(FlvVideoStreamTest, TakesASequenceHeaderRightAfterATagAtOneSecond) {
    open(FlvBuilder().aacRaw(1000, {1}).avcSequenceHeader(5000).avcEndOfSequence(5000));
    stream->initialize();
    EXPECT_TRUE(stream->hasStreamDescriptor());
}

TEST_F(FlvVideoStreamTest, RefusesAnInvalidPosition) {
    open(FlvBuilder().avcSequenceHeader(0));
    parser.position = TimePosition::invalid();
    EXPECT_EQ(thrown<ErrorException>([&] { stream->initialize(); }),
              "Invalid value. @JY::Pictaro::TimePosition::checkIsValid:41");
}

TEST_F(FlvVideoStreamTest, DoesNotInitializeWithoutTheMetadataOfItsPictures) {
    open(FlvBuilder().avcSequenceHeader(0).avcEndOfSequence(0));
    source->metaData.clear();
    EXPECT_THAT(thrown<FlvMetaData::MetaDataNotFoundException>([&] { stream->initialize(); }),
                HasSubstr("Key not found."));
    EXPECT_FALSE(stream->hasStreamDescriptor());
}

TEST_F(FlvVideoStreamTest, GoesOnReadingTheLastTagOfAFileThatEndsWithinItsFirstSecond) {
    open(FlvBuilder().aacRaw(0, {1}).aacRaw(500, {2}));
    parser.maximalReads = 1000;
    EXPECT_THROW(stream->initialize(), TooManyReads);
    EXPECT_EQ(parser.getPosition(), TimePosition(500'000));
}

// handleTag

TEST_F(FlvVideoStreamTest, LeavesOtherTagsToOtherHandlers) {
    const FlvBuilder builder = FlvBuilder().onMetaData().aacSequenceHeader(0);
    MemoryStream file(builder.build());
    for (std::size_t index = 0; index < 2; ++index) {
        file.seek(builder.recordPosition(index));
        FlvTag tag(file);
        tag.read();
        EXPECT_FALSE(stream->handleTag(file, tag)) << index;
        EXPECT_EQ(file.tell(), builder.recordPosition(index) + 15);
    }
}

TEST_F(FlvVideoStreamTest, TakesVideoTags) {
    MemoryStream file(FlvBuilder().avcEndOfSequence(0).build());
    file.seek(9);
    FlvTag tag(file);
    tag.read();
    EXPECT_TRUE(stream->handleTag(file, tag));
}

TEST_F(FlvVideoStreamTest, RefusesATagThatHasNotBeenRead) {
    MemoryStream file(FlvBuilder().avcEndOfSequence(0).build());
    const FlvTag tag(file);
    EXPECT_EQ(thrown<FatalException>([&] { stream->handleTag(file, tag); }), "Not read yet. @FlvTag:65");
}

TEST_F(FlvVideoStreamTest, RefusesATagThatIsTooShortForItsHeader) {
    const struct {
        Bytes body;
        const char* error;
    } tags[] = {{{}, "Too short FlvVideoTag. @FlvVideoTag:13"},
                {{0x17}, "Too short FlvVideoTag. @FlvVideoTag:16"},
                {{0x17, 1}, "Too short FlvVideoTag. @FlvVideoTag:17"},
                {{0x17, 1, 0}, "Too short FlvVideoTag. @FlvVideoTag:17"}};
    for (const auto& [body, error] : tags) {
        open(FlvBuilder().tag(9, 0, body).avcEndOfSequence(0));
        EXPECT_EQ(thrown<ErrorException>([&] { parser.readOneTag(); }), error);
    }
}

TEST_F(FlvVideoStreamTest, TakesATagThatTheFileCutsInItsCompositionTime) {
    open(FlvBuilder().avcSequenceHeader(0).withDataSize(5).tag(9, 0, {0x17, 1, 0}).withoutTrailer());
    EXPECT_TRUE(parser.readOneTag());
    EXPECT_FALSE(parser.readOneTag());
    EXPECT_EQ(stream->RequestSample(nullptr), MF_E_END_OF_STREAM);
}

TEST_F(FlvVideoStreamTest, RefusesCodecsWithoutAHandler) {
    for (const std::uint8_t codec : Bytes{0, 2, 3, 4, 5, 6, 8, 12, 15}) {
        open(FlvBuilder().videoTag(0, FlvBuilder::key, codec, {1, 2, 3}));
        EXPECT_THAT(thrown<ApiErrorException>([&] { parser.readOneTag(); }),
                    HasSubstr("createVideoDataHandler: (0xc00d3e98) @VideoDataHandlerFactory:"))
            << int{codec};
    }
}

TEST_F(FlvVideoStreamTest, KeepsItsHandlerFromTagToTagAndOverAnUnsupportedOne) {
    open(FlvBuilder()
             .avcSequenceHeader(0)
             .avcNalus(20, FlvBuilder::inter, {slice})
             .videoTag(25, FlvBuilder::key, 2, {9})
             .avcNalus(50, FlvBuilder::inter, {slice})
             .avcEndOfSequence(60));
    ASSERT_EQ(stream->RequestSample(nullptr), S_OK);
    EXPECT_EQ(stream->RequestSample(nullptr), MF_E_UNSUPPORTED_FORMAT);
    parser.open(FlvBuilder().avcNalus(50, FlvBuilder::inter, {slice}).avcEndOfSequence(60).build());
    ASSERT_EQ(stream->RequestSample(nullptr), S_OK);
    EXPECT_EQ(nextDuration(), 200'000);
    EXPECT_EQ(nextDuration(), 300'000);
}

TEST_F(FlvVideoStreamTest, RecordsItsEnd) {
    parser.clearHandler();
    stream.Reset();
    EXPECT_EQ(log.count("ENTER: JY::Pictaro::Fs::FlvVideoStream::~FlvVideoStream"), 1U);
}

/// A handler that tells what happens to it.
class FakeHandler final : public VideoDataHandler {
public:
    FakeHandler(std::uint8_t codecId, std::string name, std::vector<std::string>& happened)
        : VideoDataHandler(codecId), name_(std::move(name)), happened_(happened) {
        happened_.push_back("new " + name_);
    }
    ~FakeHandler() override { happened_.push_back("delete " + name_); }

    void handle(Stream& reader, StreamSource&, FlvStream&, const FlvTag& tag, const FlvVideoTag& header) override {
        happened_.push_back(name_ + " handles codec " + std::to_string(header.getCodecId()) + " at " +
                            std::to_string(tag.getTimestamp()) + ", byte " + std::to_string(reader.tell()));
    }
    TimePosition getLastTimePosition() const override { return {}; }

private:
    std::string name_;
    std::vector<std::string>& happened_;
};

/// Makes fake handlers that carry the codec asked for.
class StreamWithFakeHandlers final : public FlvVideoStream {
public:
    using FlvVideoStream::FlvVideoStream;

    std::vector<std::string>* happened = nullptr;

protected:
    std::unique_ptr<VideoDataHandler> createHandler(std::uint8_t codecId) const override {
        return std::make_unique<FakeHandler>(codecId, std::to_string(++count_), *happened);
    }

private:
    mutable int count_ = 0;
};

class FakeVideoHandlersTest : public StreamTest {
protected:
    FakeVideoHandlersTest() {
        stream->happened = &happened;
        parser.addHandler(*stream.Get());
    }

    void read(const FlvBuilder& file) {
        parser.open(file.build());
        while (parser.readOneTag()) {
        }
    }

    std::vector<std::string> happened;
    ComPtr<StreamWithFakeHandlers> stream = createStream<StreamWithFakeHandlers>();
};

TEST_F(FakeVideoHandlersTest, MakesAHandlerForTheFirstTagAndReusesItWhileTheCodecStays) {
    read(FlvBuilder().videoTag(1, FlvBuilder::key, 2, {1}).videoTag(2, FlvBuilder::inter, 2, {1}));
    EXPECT_THAT(happened, ElementsAre("new 1", "1 handles codec 2 at 1, byte 25", "1 handles codec 2 at 2, byte 42"));
}

TEST_F(FakeVideoHandlersTest, ReplacesTheHandlerAtTheFirstTagOfAnotherCodec) {
    read(FlvBuilder().videoTag(1, FlvBuilder::key, 2, {}).avcEndOfSequence(2).videoTag(3, FlvBuilder::key, 2, {}));
    EXPECT_THAT(happened,
                ElementsAre("new 1", "1 handles codec 2 at 1, byte 25", "new 2", "delete 1",
                            "2 handles codec 7 at 2, byte 45", "new 3", "delete 2", "3 handles codec 2 at 3, byte 61"));
}

TEST_F(FakeVideoHandlersTest, MakesNoHandlerToLookAtATag) {
    MemoryStream file(FlvBuilder().avcEndOfSequence(0).build());
    file.seek(9);
    FlvTag tag(file);
    tag.read();
    EXPECT_TRUE(stream->isRandomAccessPoint(file, tag));
    EXPECT_THAT(happened, ElementsAre());
}

TEST_F(FakeVideoHandlersTest, DeletesItsHandlerBeforeItEnds) {
    read(FlvBuilder().videoTag(1, FlvBuilder::key, 2, {}));
    happened.clear();
    log.clear();
    stream.Reset();
    EXPECT_THAT(happened, ElementsAre("delete 1"));
    EXPECT_THAT(log.messages(true), testing::IsSupersetOf({"ENTER: JY::Pictaro::Fs::FlvVideoStream::~FlvVideoStream",
                                                           "EXIT: JY::Pictaro::Fs::FlvVideoStream::~FlvVideoStream"}));
}

// isRandomAccessPoint

TEST_F(FlvVideoStreamTest, StartsAtKeyFramesOnly) {
    EXPECT_TRUE(isRandomAccessPoint(FlvBuilder().avcNalus(0, FlvBuilder::key, {slice})));
    for (const auto frameType :
         {FlvBuilder::inter, FlvBuilder::disposable, FlvBuilder::generatedKey, FlvBuilder::info}) {
        EXPECT_FALSE(isRandomAccessPoint(FlvBuilder().avcNalus(0, frameType, {slice}))) << int{frameType};
    }
}

TEST_F(FlvVideoStreamTest, StartsAtKeyFramesOfAnyCodecAndAnyPacketType) {
    EXPECT_TRUE(isRandomAccessPoint(FlvBuilder().videoTag(0, FlvBuilder::key, 2, {})));
    EXPECT_TRUE(isRandomAccessPoint(FlvBuilder().avcSequenceHeader(0)));
    EXPECT_TRUE(isRandomAccessPoint(FlvBuilder().avcEndOfSequence(0)));
}

TEST_F(FlvVideoStreamTest, DoesNotStartAtTagsOfOtherKinds) {
    EXPECT_FALSE(isRandomAccessPoint(FlvBuilder().tag(8, 0, {0x17, 1, 0, 0, 0})));
    EXPECT_FALSE(isRandomAccessPoint(FlvBuilder().tag(18, 0, {0x17, 1, 0, 0, 0})));
}

TEST_F(FlvVideoStreamTest, CannotTellForAVideoTagThatTheFileCutsInItsHeader) {
    EXPECT_EQ(thrown<ErrorException>([&] { isRandomAccessPoint(FlvBuilder().tag(9, 0, {0x17}).withoutTrailer()); }),
              "Too short FlvVideoTag. @FlvVideoTag:16");
}

} // namespace
