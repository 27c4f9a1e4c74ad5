#include "streams/FlvAudioStream.h"

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

const Bytes mp3Frame = join({Mp3Header().bytes(), {1, 2, 3}});

/// A handler that tells what happens to it and makes a sample of nothing.
class FakeHandler final : public AudioDataHandler {
public:
    FakeHandler(std::uint8_t codecId, std::string name, std::vector<std::string>& happened)
        : AudioDataHandler(codecId), name_(std::move(name)), happened_(happened) {
        happened_.push_back("new " + name_);
    }
    ~FakeHandler() override { happened_.push_back("delete " + name_); }

    void handle(Stream& reader, StreamSource&, FlvStream&, const FlvTag& tag, const FlvAudioTag& header) override {
        happened_.push_back(name_ + " handles codec " + std::to_string(header.getSoundFormat()) + " at " +
                            std::to_string(tag.getTimestamp()) + ", byte " + std::to_string(reader.tell()));
    }
    TimePosition getLastTimePosition() const override { return {}; }

private:
    std::string name_;
    std::vector<std::string>& happened_;
};

/// Makes fake handlers that carry the codec asked for, or another one.
class StreamWithFakeHandlers final : public FlvAudioStream {
public:
    using FlvAudioStream::FlvAudioStream;

    std::vector<std::string>* happened = nullptr;
    std::optional<std::uint8_t> carried;

protected:
    std::unique_ptr<AudioDataHandler> createHandler(std::uint8_t codecId) const override {
        if (codecId == 1) {
            throw ErrorException({"StreamWithFakeHandlers", 1}, "No handler.");
        }
        return std::make_unique<FakeHandler>(carried.value_or(codecId), std::to_string(++count_), *happened);
    }

private:
    mutable int count_ = 0;
};

class FlvAudioStreamTest : public StreamTest {
protected:
    FlvAudioStreamTest() { parser.addHandler(*stream.Get()); }

    void open(const FlvBuilder& file) { parser.open(file.build()); }
    void readAll() {
        while (parser.readOneTag()) {
        }
    }
    SampleContent nextSample() {
        EXPECT_EQ(stream->RequestSample(nullptr), S_OK);
        return contentOf(*sampleOf(*nextEvent(*stream.Get()).Get()).Get());
    }
    GUID subtype() {
        ComPtr<IMFStreamDescriptor> descriptor;
        EXPECT_EQ(stream->GetStreamDescriptor(descriptor.GetAddressOf()), S_OK);
        return guidOf(*currentMediaType(*descriptor.Get()).Get(), MF_MT_SUBTYPE);
    }

    ComPtr<FlvAudioStream> stream = createStream<FlvAudioStream>();
};

// initialize

TEST_F(FlvAudioStreamTest, InitializesFromTheFirstSequenceHeader) {
    open(FlvBuilder().onMetaData().aacSequenceHeader(0).aacRaw(0, {1}));
    stream->initialize();
    EXPECT_TRUE(stream->hasStreamDescriptor());
    EXPECT_EQ(parser.reads, 2U);
}

TEST_F(FlvAudioStreamTest, InitializesFromTheFirstMp3Frame) {
    open(FlvBuilder().onMetaData().mp3(0, mp3Frame).mp3(26, mp3Frame));
    stream->initialize();
    EXPECT_EQ(subtype(), MFAudioFormat_MP3);
    EXPECT_EQ(parser.reads, 2U);
    EXPECT_EQ(nextSample().bytes, mp3Frame);
    EXPECT_EQ(parser.reads, 2U) << "the first frame was queued on the way";
}

TEST_F(FlvAudioStreamTest, FailsToInitializeFromAFrameThatIsNotLayer3) {
    open(FlvBuilder().mp3(0, Mp3Header{.layer = 2}.bytes()).mp3(26, mp3Frame));
    EXPECT_THAT(thrown<ErrorException>([&] { stream->initialize(); }), HasSubstr("Unsupported layer. @"));
    EXPECT_FALSE(stream->hasStreamDescriptor());
}

TEST_F(FlvAudioStreamTest, KeepsSamplesReadOnTheWayToItsDescriptor) {
    open(FlvBuilder().aacRaw(0, {1, 2}).aacSequenceHeader(10).aacRaw(20, {3}));
    stream->initialize();
    EXPECT_EQ(parser.reads, 2U);
    ASSERT_EQ(stream->RequestSample(nullptr), S_OK);
    EXPECT_EQ(contentOf(*sampleOf(*nextEvent(*stream.Get()).Get()).Get()).bytes, (Bytes{1, 2}));
    EXPECT_EQ(parser.reads, 2U);
}

TEST_F(FlvAudioStreamTest, ReadsNothingMoreWhenItHasItsDescriptorAlready) {
    open(FlvBuilder().aacSequenceHeader(0).aacRaw(0, {1}));
    stream->initialize();
    stream->initialize();
    EXPECT_EQ(parser.reads, 1U);
}

TEST_F(FlvAudioStreamTest, RefusesAFileWhoseHeaderAnnouncesNoAudioEvenWithAudioTags) {
    open(FlvBuilder(FlvBuilder::video).aacSequenceHeader(0).aacRaw(0, {1}));
    parser.audio = false;
    EXPECT_THAT(thrown<ErrorException>([&] { stream->initialize(); }),
                HasSubstr("According to header, audio is not present. @FlvAudioStream:"));
    EXPECT_EQ(parser.reads, 0U);
}

TEST_F(FlvAudioStreamTest, RefusesTheHeaderBeforeItLooksForADescriptor) {
    open(FlvBuilder().aacSequenceHeader(0).aacRaw(0, {1}));
    stream->initialize();
    parser.audio = false;
    EXPECT_THAT(thrown<ErrorException>([&] { stream->initialize(); }),
                HasSubstr("According to header, audio is not present. @FlvAudioStream:"));
}

TEST_F(FlvAudioStreamTest, GivesUpAfterOneSecondWithoutAnAudioTag) {
    open(FlvBuilder().avcEndOfSequence(1000).avcEndOfSequence(1001).aacSequenceHeader(1001).aacRaw(1001, {1}));
    EXPECT_THAT(thrown<ErrorException>([&] { stream->initialize(); }),
                HasSubstr("No audio tag until stream start. @FlvAudioStream:"));
    EXPECT_EQ(parser.reads, 2U);
}

TEST_F(FlvAudioStreamTest, TakesASequenceHeaderRightAfterATagAtOneSecond) {
    open(FlvBuilder().avcEndOfSequence(1000).aacSequenceHeader(5000).aacRaw(5000, {1}));
    stream->initialize();
    EXPECT_TRUE(stream->hasStreamDescriptor());
}

TEST_F(FlvAudioStreamTest, RefusesAnInvalidPosition) {
    open(FlvBuilder().aacSequenceHeader(0));
    parser.position = TimePosition::invalid();
    EXPECT_EQ(thrown<ErrorException>([&] { stream->initialize(); }),
              "Invalid value. @JY::Pictaro::TimePosition::checkIsValid:41");
    EXPECT_EQ(parser.reads, 0U);
}

TEST_F(FlvAudioStreamTest, PassesOnWhatReadingThrows) {
    open(FlvBuilder().aacPacket(0, 0, {0x12}));
    EXPECT_THAT(thrown<ErrorException>([&] { stream->initialize(); }), HasSubstr("Parse error. @"));
}

TEST_F(FlvAudioStreamTest, GoesOnReadingTheLastTagOfAFileThatEndsWithinItsFirstSecond) {
    open(FlvBuilder().aacRaw(0, {1}).avcEndOfSequence(500));
    parser.maximalReads = 1000;
    EXPECT_THROW(stream->initialize(), TooManyReads);
    EXPECT_EQ(parser.reads, 1000U);
    EXPECT_EQ(parser.getPosition(), TimePosition(500'000));
}

// handleTag

TEST_F(FlvAudioStreamTest, LeavesOtherTagsToOtherHandlers) {
    const FlvBuilder builder = FlvBuilder().onMetaData().avcSequenceHeader(0);
    MemoryStream file(builder.build());
    for (std::size_t index = 0; index < 2; ++index) {
        file.seek(builder.recordPosition(index));
        FlvTag tag(file);
        tag.read();
        EXPECT_FALSE(stream->handleTag(file, tag)) << index;
        EXPECT_EQ(file.tell(), builder.recordPosition(index) + 15);
    }
}

TEST_F(FlvAudioStreamTest, TakesAudioTags) {
    MemoryStream file(FlvBuilder().aacRaw(0, {1, 2, 3}).build());
    file.seek(9);
    FlvTag tag(file);
    tag.read();
    EXPECT_TRUE(stream->handleTag(file, tag));
}

TEST_F(FlvAudioStreamTest, RefusesATagThatHasNotBeenRead) {
    MemoryStream file(FlvBuilder().aacRaw(0, {1}).build());
    const FlvTag tag(file);
    EXPECT_EQ(thrown<FatalException>([&] { stream->handleTag(file, tag); }), "Not read yet. @FlvTag:65");
}

TEST_F(FlvAudioStreamTest, RefusesATagThatIsTooShortForItsHeader) {
    open(FlvBuilder().tag(8, 0, {}).tag(8, 0, {}));
    EXPECT_EQ(thrown<ErrorException>([&] { parser.readOneTag(); }), "Too short. @FlvAudioTag:13");
    open(FlvBuilder().tag(8, 0, {0xAF}).tag(8, 0, {}));
    EXPECT_EQ(thrown<ErrorException>([&] { parser.readOneTag(); }), "Too short. @FlvAudioTag:16");
}

TEST_F(FlvAudioStreamTest, RefusesCodecsWithoutAHandler) {
    for (const std::uint8_t codec : Bytes{0, 1, 3, 9, 11, 15}) {
        open(FlvBuilder().audioTag(0, static_cast<std::uint8_t>(codec << 4), {1, 2, 3}));
        EXPECT_THAT(thrown<ApiErrorException>([&] { parser.readOneTag(); }),
                    HasSubstr("createAudioDataHandler: (0xc00d3e98) @AudioDataHandlerFactory:"))
            << int{codec};
    }
}

TEST_F(FlvAudioStreamTest, KeepsItsHandlerFromTagToTag) {
    open(FlvBuilder().aacSequenceHeader(0).aacRaw(20, {1}).aacRaw(50, {2}).onMetaData());
    readAll();
    ASSERT_EQ(stream->RequestSample(nullptr), S_OK);
    ASSERT_EQ(stream->RequestSample(nullptr), S_OK);
    EXPECT_EQ(contentOf(*sampleOf(*nextEvent(*stream.Get()).Get()).Get()).duration, 200'000);
    EXPECT_EQ(contentOf(*sampleOf(*nextEvent(*stream.Get()).Get()).Get()).duration, 300'000);
}

TEST_F(FlvAudioStreamTest, KeepsItsHandlerAfterATagOfAnUnsupportedCodec) {
    open(FlvBuilder().aacRaw(20, {1}).audioTag(30, 0x10, {9}).aacRaw(50, {2}).onMetaData());
    ASSERT_EQ(stream->RequestSample(nullptr), S_OK);
    EXPECT_EQ(stream->RequestSample(nullptr), MF_E_UNSUPPORTED_FORMAT);
    parser.open(FlvBuilder().aacRaw(50, {2}).onMetaData().build());
    ASSERT_EQ(stream->RequestSample(nullptr), S_OK);
    EXPECT_EQ(contentOf(*sampleOf(*nextEvent(*stream.Get()).Get()).Get()).duration, 200'000);
    EXPECT_EQ(contentOf(*sampleOf(*nextEvent(*stream.Get()).Get()).Get()).duration, 300'000);
}

TEST_F(FlvAudioStreamTest, MakesANewHandlerForEveryMp3Tag) {
    open(FlvBuilder().mp3(20, mp3Frame).mp3(50, mp3Frame).mp3(90, mp3Frame).onMetaData());
    EXPECT_EQ(nextSample().duration, 200'000);
    EXPECT_EQ(nextSample().duration, 500'000);
    EXPECT_EQ(nextSample().duration, 900'000);
}

// The MP3 handler carries the codec of AAC, whose tags it then takes for its own. Their packet type is read before they
// come to it, so that the size is one byte more than there is and nothing can be read.
TEST_F(FlvAudioStreamTest, KeepsItsMp3HandlerForAacTags) {
    open(FlvBuilder().mp3(20, mp3Frame).aacRaw(50, {7, 0xFF, 0xFB, 9}).aacRaw(60, {7, 8}).onMetaData());
    EXPECT_EQ(nextSample().duration, 200'000);
    EXPECT_EQ(nextSample(), (SampleContent{Bytes(4, 0), 500'000, 300'000, false}));
    EXPECT_EQ(subtype(), MFAudioFormat_MP3);
    EXPECT_EQ(stream->RequestSample(nullptr), E_FAIL);
    EXPECT_TRUE(log.contains("Parse error."));
}

TEST_F(FlvAudioStreamTest, ReplacesItsMp3HandlerAtAnMp3TagBehindAacTags) {
    open(FlvBuilder().mp3(20, mp3Frame).aacRaw(50, {0xFF, 0xFB, 9}).mp3(90, mp3Frame).onMetaData());
    EXPECT_EQ(nextSample().duration, 200'000);
    EXPECT_EQ(nextSample().duration, 300'000);
    EXPECT_EQ(nextSample().duration, 900'000);
}

TEST_F(FlvAudioStreamTest, ReplacesItsAacHandlerAtAnMp3TagAndKeepsItsMediaType) {
    open(FlvBuilder().aacSequenceHeader(0).aacRaw(20, {1}).mp3(50, mp3Frame).onMetaData());
    stream->initialize();
    const GUID rawAac = subtype();
    EXPECT_NE(rawAac, MFAudioFormat_MP3);
    EXPECT_EQ(nextSample().duration, 200'000);
    EXPECT_EQ(nextSample(), (SampleContent{mp3Frame, 500'000, 500'000, false}));
    EXPECT_EQ(subtype(), rawAac);
}

class FakeHandlersTest : public StreamTest {
protected:
    FakeHandlersTest() {
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

TEST_F(FakeHandlersTest, MakesAHandlerForTheFirstTagAndReusesItWhileTheCodecStays) {
    read(FlvBuilder().audioTag(1, 0x30, {1}).audioTag(2, 0x3F, {1}));
    EXPECT_THAT(happened, ElementsAre("new 1", "1 handles codec 3 at 1, byte 25", "1 handles codec 3 at 2, byte 42"));
}

TEST_F(FakeHandlersTest, ReplacesTheHandlerAtTheFirstTagOfAnotherCodec) {
    read(FlvBuilder().audioTag(1, 0x30, {}).audioTag(2, 0xA0, {0, 1}).audioTag(3, 0x30, {}));
    EXPECT_THAT(happened, ElementsAre("new 1", "1 handles codec 3 at 1, byte 25", "new 2", "delete 1",
                                      "2 handles codec 10 at 2, byte 42", "new 3", "delete 2",
                                      "3 handles codec 3 at 3, byte 59"));
}

TEST_F(FakeHandlersTest, ReplacesAHandlerThatCarriesAnotherCodecThanItsTagsWithEveryTag) {
    stream->carried = 10;
    read(FlvBuilder().audioTag(1, 0x2F, {}).audioTag(2, 0x2F, {}));
    EXPECT_THAT(happened, ElementsAre("new 1", "1 handles codec 2 at 1, byte 25", "new 2", "delete 1",
                                      "2 handles codec 2 at 2, byte 41"));
}

TEST_F(FakeHandlersTest, KeepsAHandlerThatCarriesTheCodecOfTheNextTag) {
    stream->carried = 10;
    read(FlvBuilder().audioTag(1, 0x2F, {}).audioTag(2, 0xAF, {1}));
    EXPECT_THAT(happened, ElementsAre("new 1", "1 handles codec 2 at 1, byte 25", "1 handles codec 10 at 2, byte 42"));
}

TEST_F(FakeHandlersTest, KeepsItsHandlerWhenThereIsNoneForACodec) {
    EXPECT_THAT(thrown<ErrorException>([&] { read(FlvBuilder().audioTag(1, 0x30, {}).audioTag(2, 0x10, {})); }),
                HasSubstr("No handler."));
    EXPECT_THAT(happened, ElementsAre("new 1", "1 handles codec 3 at 1, byte 25"));
}

TEST_F(FakeHandlersTest, DeletesItsHandlerBeforeItEnds) {
    read(FlvBuilder().audioTag(1, 0x30, {}));
    happened.clear();
    log.clear();
    stream.Reset();
    EXPECT_THAT(happened, ElementsAre("delete 1"));
    EXPECT_THAT(log.messages(true), testing::IsSupersetOf({"ENTER: JY::Pictaro::Fs::FlvAudioStream::~FlvAudioStream",
                                                           "EXIT: JY::Pictaro::Fs::FlvAudioStream::~FlvAudioStream"}));
}

// isRandomAccessPoint

TEST_F(FlvAudioStreamTest, StartsAtAnyTag) {
    const FlvBuilder builder =
        FlvBuilder().onMetaData().aacRaw(0, {1}).avcNalus(0, FlvBuilder::inter, {{1, 2, 3, 4, 5}}).tag(8, 0, {});
    MemoryStream file(builder.build());
    for (std::size_t index = 0; index < builder.tagCount(); ++index) {
        file.seek(builder.recordPosition(index));
        FlvTag tag(file);
        tag.read();
        EXPECT_TRUE(stream->isRandomAccessPoint(file, tag)) << index;
        EXPECT_EQ(file.tell(), builder.recordPosition(index) + 15);
    }
}

} // namespace
