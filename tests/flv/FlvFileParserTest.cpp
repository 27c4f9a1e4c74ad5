#include "flv/FlvFileParserImpl.h"
#include "tests/flv/RecordingHandler.h"
#include "tests/support/Allocations.h"
#include "tests/support/FlvBuilder.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempFile.h"
#include "tests/support/Thrown.h"
#include "tests/support/TimeLimit.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/FatalException.h"
#include "util/SourcePosition.h"
#include "util/String.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <thread>

namespace {

using namespace JY::Pictaro::Fs;
using JY::ApiErrorException;
using JY::ErrorException;
using JY::Pictaro::TimePosition;
using JY::Test::AudioHandler;
using JY::Test::Bytes;
using JY::Test::firstBytes;
using JY::Test::FlvBuilder;
using JY::Test::LogCapture;
using JY::Test::RecordingHandler;
using JY::Test::returnsInTime;
using JY::Test::TempFile;
using JY::Test::thrown;
using JY::Test::VideoHandler;
using Times = std::vector<std::uint32_t>;

constexpr JY::SourceFile here{"Handler"};
constexpr const char* tooShort = "Too short FlvTag. @FlvTag:21";
constexpr const char* encrypted = "Encrypted tag is not supported. @FlvFileParser:43";
constexpr const char* nothing = "nothing was thrown";

/// A parser on a file of its own.
struct OnFile {
    explicit OnFile(const Bytes& bytes) : temp(bytes), parser(temp.path()) {}
    explicit OnFile(const FlvBuilder& builder) : OnFile(builder.build()) {}

    TempFile temp;
    FlvFileParserImpl parser;
};

std::string thrownByRead(FlvFileParser& parser) {
    return thrown<ErrorException>([&] { parser.readOneTag(); });
}

FlvBuilder audioAndVideo() {
    FlvBuilder builder;
    builder.onMetaData().videoTag(0, 1, 2, {1, 2, 3}).mp3(10, {4, 5}).videoTag(40, 2, 2, {6}).mp3(36, {7});
    return builder;
}

} // namespace

TEST(FlvFileParser, TellsWhatTheHeaderAnnounces) {
    EXPECT_TRUE(OnFile(FlvBuilder(FlvBuilder::audioAndVideo)).parser.hasAudio());
    EXPECT_TRUE(OnFile(FlvBuilder(FlvBuilder::audioAndVideo)).parser.hasVideo());
    EXPECT_TRUE(OnFile(FlvBuilder(FlvBuilder::audio)).parser.hasAudio());
    EXPECT_FALSE(OnFile(FlvBuilder(FlvBuilder::audio)).parser.hasVideo());
    EXPECT_FALSE(OnFile(FlvBuilder(FlvBuilder::video)).parser.hasAudio());
    EXPECT_TRUE(OnFile(FlvBuilder(FlvBuilder::video)).parser.hasVideo());
}

TEST(FlvFileParser, MissingFileThrowsCreateFileWithItsPath) {
    const TempFile temp;
    temp.remove();
    EXPECT_EQ(thrown<ApiErrorException>([&] { FlvFileParserImpl parser(temp.path()); }),
              "CreateFile file=" + JY::toNarrow(temp.path()) + ": (0x2) @File:44");
}

TEST(FlvFileParser, FileWithoutAnFlvHeaderThrows) {
    const TempFile empty;
    EXPECT_EQ(thrown<ErrorException>([&] { FlvFileParserImpl parser(empty.path()); }),
              "Too short FlvHeader File=" + JY::toNarrow(empty.path()) + " @FlvHeader:16");
    const TempFile other(Bytes(100, 0));
    EXPECT_EQ(thrown<ErrorException>([&] { FlvFileParserImpl parser(other.path()); }),
              "Invalid FlvHeader @FlvHeader:17");
}

TEST(FlvFileParser, OpensAFileThatIsStillBeingWritten) {
    const TempFile temp(FlvBuilder().build());
    const JY::File writer(temp.path(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_NO_THROW(FlvFileParserImpl parser(temp.path()));
}

TEST(FlvFileParser, ClosesTheFileWhenItGoes) {
    const TempFile temp(FlvBuilder().build());
    { const FlvFileParserImpl parser(temp.path()); }
    EXPECT_NO_THROW(JY::File(temp.path(), GENERIC_READ, 0));
}

TEST(FlvFileParser, PositionIsZeroBeforeTheFirstTag) {
    EXPECT_EQ(OnFile(audioAndVideo()).parser.getPosition(), TimePosition(0));
}

TEST(FlvFileParser, GivesEachTagToTheHandlerOfItsKind) {
    OnFile file(audioAndVideo());
    AudioHandler audio;
    VideoHandler video;
    file.parser.addHandler(audio);
    file.parser.addHandler(video);
    while (file.parser.readOneTag()) {
    }
    EXPECT_EQ(audio.times(), (Times{10, 36}));
    EXPECT_EQ(video.times(), (Times{0, 40}));
    EXPECT_EQ(audio.taken[0].body, (Bytes{0x2F, 4, 5}));
    EXPECT_EQ(video.taken[1].body, (Bytes{0x22, 6}));
}

TEST(FlvFileParser, TellsWhetherATagFollows) {
    OnFile file(audioAndVideo());
    EXPECT_TRUE(file.parser.readOneTag());
    EXPECT_TRUE(file.parser.readOneTag());
    EXPECT_TRUE(file.parser.readOneTag());
    EXPECT_TRUE(file.parser.readOneTag());
    EXPECT_FALSE(file.parser.readOneTag());
}

TEST(FlvFileParser, ReadsTheLastTagAgainAtTheEndOfTheFile) {
    OnFile file(FlvBuilder().mp3(10, {1}).mp3(20, {2}));
    AudioHandler audio;
    file.parser.addHandler(audio);
    EXPECT_TRUE(file.parser.readOneTag());
    EXPECT_FALSE(file.parser.readOneTag());
    EXPECT_FALSE(file.parser.readOneTag());
    EXPECT_EQ(audio.times(), (Times{10, 20, 20}));
}

TEST(FlvFileParser, SeesTagsThatAreAppendedLater) {
    FlvBuilder builder;
    OnFile file(builder.mp3(10, {1}));
    const std::size_t size = builder.build().size();
    EXPECT_FALSE(file.parser.readOneTag());
    const Bytes longer = builder.mp3(20, {2}).build();
    file.temp.append(Bytes(longer.begin() + static_cast<std::ptrdiff_t>(size), longer.end()));
    EXPECT_TRUE(file.parser.readOneTag());
    EXPECT_FALSE(file.parser.readOneTag());
    EXPECT_EQ(file.parser.getPosition(), TimePosition(20000));
}

TEST(FlvFileParser, OffersATagToItsHandlersInTheirOrder) {
    OnFile file(FlvBuilder().videoTag(0, 1, 2, {}).mp3(0, {}).withoutTrailer());
    RecordingHandler first(8);
    RecordingHandler second(9);
    RecordingHandler third(9);
    for (RecordingHandler* const handler : {&first, &second, &third}) {
        file.parser.addHandler(*handler);
    }
    file.parser.readOneTag();
    EXPECT_EQ(first.offered, 1U);
    EXPECT_EQ(second.taken.size(), 1U);
    EXPECT_EQ(third.offered, 0U);
    file.parser.readOneTag();
    EXPECT_EQ(first.taken.size(), 1U);
    EXPECT_EQ(second.offered, 1U);
}

TEST(FlvFileParser, HandlerThatIsAddedTwiceIsAskedTwice) {
    OnFile file(FlvBuilder().mp3(0, {}));
    VideoHandler video;
    file.parser.addHandler(video);
    file.parser.addHandler(video);
    file.parser.readOneTag();
    EXPECT_EQ(video.offered, 2U);
}

TEST(FlvFileParser, ClearedHandlersAreNotAsked) {
    OnFile file(FlvBuilder().mp3(0, {}));
    AudioHandler audio;
    file.parser.addHandler(audio);
    file.parser.clearHandler();
    file.parser.readOneTag();
    EXPECT_EQ(audio.offered, 0U);
}

TEST(FlvFileParser, PassesOverTagsThatNoHandlerTakes) {
    OnFile file(audioAndVideo());
    AudioHandler audio;
    file.parser.addHandler(audio);
    while (file.parser.readOneTag()) {
    }
    EXPECT_EQ(audio.times(), (Times{10, 36}));
}

TEST(FlvFileParser, FileOfScriptDataIsPassedOverToItsEnd) {
    OnFile file(FlvBuilder().onMetaData().script(20, {1}).script(30, {}));
    VideoHandler video;
    file.parser.addHandler(video);
    EXPECT_TRUE(file.parser.readOneTag());
    EXPECT_TRUE(file.parser.readOneTag());
    EXPECT_FALSE(file.parser.readOneTag());
    EXPECT_EQ(file.parser.getPosition(), TimePosition(30000));
}

TEST(FlvFileParser, HandlerCannotReadPastItsTag) {
    OnFile file(FlvBuilder().mp3(0, {1, 2, 3}).mp3(10, {4}));
    AudioHandler audio;
    std::uint32_t beyond = 99;
    std::uint32_t whole = 99;
    audio.onHandle = [&](JY::Stream& stream) {
        std::uint8_t buffer[8];
        beyond = stream.read(buffer, 5);
        whole = stream.read(buffer, 4);
    };
    file.parser.addHandler(audio);
    EXPECT_TRUE(file.parser.readOneTag());
    EXPECT_EQ(beyond, 0U);
    EXPECT_EQ(whole, 4U);
}

TEST(FlvFileParser, HandlerNeedNotReadItsTagToTheEnd) {
    OnFile file(FlvBuilder().tag(8, 0, Bytes(100, 1)).mp3(10, {4}));
    AudioHandler audio;
    audio.onHandle = [](JY::Stream& stream) { stream.skip(50); };
    file.parser.addHandler(audio);
    file.parser.readOneTag();
    file.parser.readOneTag();
    EXPECT_EQ(audio.times(), (Times{0, 10}));
}

TEST(FlvFileParser, TagThatRunsPastTheEndOfTheFileIsOfferedAndIsTheLast) {
    OnFile file(FlvBuilder().withDataSize(1000).mp3(10, {1, 2}).withoutTrailer());
    AudioHandler audio;
    file.parser.addHandler(audio);
    EXPECT_FALSE(file.parser.readOneTag());
    EXPECT_EQ(audio.taken[0].body, (Bytes{0x2F, 1, 2}));
}

TEST(FlvFileParser, PositionIsTheTimeOfTheLastTagRead) {
    OnFile file(audioAndVideo());
    std::vector<std::int64_t> positions;
    for (int tag = 0; tag < 5; ++tag) {
        file.parser.readOneTag();
        positions.push_back(file.parser.getPosition().microseconds());
    }
    EXPECT_EQ(positions, (std::vector<std::int64_t>{0, 0, 10000, 40000, 36000}));
}

TEST(FlvFileParser, PositionWrapsAfterThirtyTwoBitsOfMicroseconds) {
    OnFile file(FlvBuilder().mp3(4294967, {}).mp3(4295000, {}));
    file.parser.readOneTag();
    EXPECT_EQ(file.parser.getPosition(), TimePosition(4294967000));
    file.parser.readOneTag();
    EXPECT_EQ(file.parser.getPosition(), TimePosition(4295000000 - 4294967296));
}

TEST(FlvFileParser, EncryptedTagIsNotSupportedEvenWhenNoHandlerWouldTakeIt) {
    for (const std::uint8_t type : Bytes{0x28, 0x29, 0x32, 0x20, 0xFF}) {
        OnFile file(FlvBuilder().tag(type, 10, {1}));
        EXPECT_EQ(thrownByRead(file.parser), encrypted) << unsigned{type};
        EXPECT_EQ(file.parser.getPosition(), TimePosition(0));
    }
}

TEST(FlvFileParser, EncryptedTagIsNotOffered) {
    OnFile file(FlvBuilder().tag(0x28, 10, {1}));
    AudioHandler audio;
    file.parser.addHandler(audio);
    const LogCapture log;
    EXPECT_EQ(thrownByRead(file.parser), encrypted);
    EXPECT_EQ(audio.offered, 0U);
    EXPECT_FALSE(log.contains("Exception during readTag."));
}

TEST(FlvFileParser, ReservedBitsOfTheTypeAreNoEncryption) {
    OnFile file(FlvBuilder().tag(0xC8, 10, {1}));
    EXPECT_EQ(thrownByRead(file.parser), nothing);
}

TEST(FlvFileParser, FileWithoutTagsIsTooShort) {
    OnFile file{FlvBuilder()};
    EXPECT_EQ(thrownByRead(file.parser), tooShort);
}

TEST(FlvFileParser, StrayByteBehindTheLastSizeIsATagThatIsTooShort) {
    OnFile file(FlvBuilder().mp3(0, {1}).strayBytes({0}));
    EXPECT_TRUE(file.parser.readOneTag());
    EXPECT_EQ(thrownByRead(file.parser), tooShort);
}

TEST(FlvFileParser, ExceptionOfAHandlerIsRecordedAndPassedOn) {
    OnFile file(FlvBuilder().mp3(10, {1}).mp3(20, {1}));
    AudioHandler audio;
    audio.onHandle = [](JY::Stream&) { throw JY::FatalException(here.at(7), "No good."); };
    file.parser.addHandler(audio);
    const LogCapture log;
    EXPECT_EQ(thrown<JY::FatalException>([&] { file.parser.readOneTag(); }), "No good. @Handler:7");
    const auto record = log.find("Exception during readTag.");
    EXPECT_EQ(record.severity, JY::Log2::Severity::warn);
    EXPECT_EQ(record.file, "FlvFileParser");
    const std::string text =
        "Exception during readTag.Exception caught. class JY::FatalException, No good. @Handler:7 {";
    EXPECT_EQ(record.message.substr(0, text.size()), text);
}

TEST(FlvFileParser, ExceptionOfAnotherFamilyIsRecordedWithoutItsText) {
    OnFile file(FlvBuilder().mp3(10, {1}));
    AudioHandler audio;
    audio.onHandle = [](JY::Stream&) { throw std::runtime_error("No good."); };
    file.parser.addHandler(audio);
    const LogCapture log;
    EXPECT_THROW(file.parser.readOneTag(), std::runtime_error);
    EXPECT_EQ(log.count(JY::Log2::Severity::warn, "Exception during readTag."), 1U);
    audio.onHandle = [](JY::Stream&) { throw 7; };
    file.parser.setFilePosition(9);
    EXPECT_THROW(file.parser.readOneTag(), int);
    EXPECT_EQ(log.count(JY::Log2::Severity::warn, "Exception during readTag."), 2U);
}

TEST(FlvFileParser, FailedTagDoesNotCountAsRead) {
    OnFile file(FlvBuilder().mp3(10, {1}));
    AudioHandler audio;
    audio.onHandle = [](JY::Stream&) { throw ErrorException(here(), "No good."); };
    file.parser.addHandler(audio);
    EXPECT_THROW(file.parser.readOneTag(), ErrorException);
    EXPECT_EQ(file.parser.getPosition(), TimePosition(0));
}

TEST(FlvFileParser, LockIsFreeAfterAnException) {
    const auto file = std::make_shared<OnFile>(FlvBuilder().mp3(10, {1}));
    AudioHandler audio;
    audio.onHandle = [](JY::Stream&) { throw ErrorException(here(), "No good."); };
    file->parser.addHandler(audio);
    EXPECT_THROW(file->parser.readOneTag(), ErrorException);
    ASSERT_TRUE(returnsInTime([file] { file->parser.clearHandler(); }));
    file->parser.setFilePosition(9);
    EXPECT_FALSE(file->parser.readOneTag());
}

TEST(FlvFileParser, PositionAndHeaderCanBeAskedWhileATagIsBeingRead) {
    struct Answers {
        TimePosition position;
        bool hasAudio = false;
        bool hasVideo = true;
    };
    const auto file = std::make_shared<OnFile>(FlvBuilder(FlvBuilder::audio).mp3(10, {1}).mp3(20, {2}));
    const auto answers = std::make_shared<Answers>();
    AudioHandler audio;
    bool answered = false;
    file->parser.addHandler(audio);
    file->parser.readOneTag();
    audio.onHandle = [&](JY::Stream&) {
        answered = returnsInTime([file, answers] {
            *answers = {file->parser.getPosition(), file->parser.hasAudio(), file->parser.hasVideo()};
        });
    };
    file->parser.readOneTag();
    ASSERT_TRUE(answered);
    EXPECT_EQ(answers->position, TimePosition(10000));
    EXPECT_TRUE(answers->hasAudio);
    EXPECT_FALSE(answers->hasVideo);
    EXPECT_EQ(file->parser.getPosition(), TimePosition(20000));
}

TEST(FlvFileParser, ReadingATagTakesNoMemory) {
    class Taker final : public FlvTagHandler {
    public:
        bool handleTag(JY::Stream& stream, const FlvTag&) override { return stream.read(first.data(), 2) == 2; }
        bool isRandomAccessPoint(JY::Stream&, const FlvTag&) override { return true; }
        std::array<std::uint8_t, 2> first{};
    };
    FlvBuilder builder;
    for (std::uint8_t tag = 0; tag < 40; ++tag) {
        builder.mp3(tag, {tag, 2, 3});
    }
    OnFile file(builder);
    Taker taker;
    file.parser.addHandler(taker);
    file.parser.readOneTag(); // looks the class names up
    const auto taken = JY::Test::allocationsOf([&] {
        for (int tag = 1; tag < 40; ++tag) {
            file.parser.readOneTag();
        }
    });
    EXPECT_EQ(taken.count, 0U);
    EXPECT_EQ(taker.first[1], 39);
}

TEST(FlvFileParser, TagsReadByTwoThreadsAreReadOneAfterTheOther) {
    FlvBuilder builder;
    Times expected;
    for (std::uint32_t tag = 0; tag < 40; ++tag) {
        builder.mp3(tag, {1, 2, 3});
        expected.push_back(tag);
    }
    OnFile file(builder);
    AudioHandler audio;
    std::atomic<bool> isHandling = false;
    std::atomic<bool> hasOverlapped = false;
    audio.onHandle = [&](JY::Stream&) {
        if (isHandling.exchange(true)) {
            hasOverlapped = true;
        }
        Sleep(1); // time for the other thread to come in
        isHandling = false;
    };
    file.parser.addHandler(audio);
    const auto readHalf = [&] {
        for (int tag = 0; tag < 20; ++tag) {
            file.parser.readOneTag();
        }
    };
    std::thread other(readHalf);
    readHalf();
    other.join();
    EXPECT_FALSE(hasOverlapped);
    EXPECT_EQ(audio.times(), expected);
    EXPECT_TRUE(std::ranges::all_of(audio.taken, [](const auto& one) { return one.body == Bytes{0x2F, 1, 2, 3}; }));
}

TEST(FlvFileParser, FilePositionIsThatOfTheNextRecord) {
    const FlvBuilder builder = audioAndVideo();
    OnFile file(builder);
    file.parser.setFilePosition(builder.tagPosition(3) - 4);
    file.parser.readOneTag();
    EXPECT_EQ(file.parser.getPosition(), TimePosition(40000));
}

TEST(FlvFileParser, SettingTheFilePositionDoesNotChangeTheTime) {
    const FlvBuilder builder = audioAndVideo();
    OnFile file(builder);
    file.parser.setFilePosition(builder.recordPosition(3));
    EXPECT_EQ(file.parser.getPosition(), TimePosition(0));
}

TEST(FlvFileParser, FilePositionBeforeTheStartThrows) {
    OnFile file(audioAndVideo());
    EXPECT_EQ(thrown<ApiErrorException>([&] { file.parser.setFilePosition(-4); }),
              "SetFilePointerEx file=" + JY::toNarrow(file.temp.path()) + ": (0x83) @File:91");
}

TEST(FlvFileParser, FilePositionBehindTheEndGivesATagThatIsTooShort) {
    OnFile file(audioAndVideo());
    file.parser.setFilePosition(1LL << 40);
    EXPECT_EQ(thrownByRead(file.parser), tooShort);
}

TEST(FlvFileParser, OperationsAreTraced) {
    OnFile file(audioAndVideo());
    AudioHandler audio;
    const LogCapture log;
    file.parser.addHandler(audio);
    file.parser.readOneTag();
    file.parser.clearHandler();
    EXPECT_EQ(log.messages(true), (std::vector<std::string>{"ENTER: JY::Pictaro::Fs::FlvFileParserImpl::addHandler",
                                                            "EXIT: JY::Pictaro::Fs::FlvFileParserImpl::addHandler",
                                                            "ENTER: JY::Pictaro::Fs::FlvFileParserImpl::readOneTag",
                                                            "EXIT: JY::Pictaro::Fs::FlvFileParserImpl::readOneTag",
                                                            "ENTER: JY::Pictaro::Fs::FlvFileParserImpl::clearHandler",
                                                            "EXIT: JY::Pictaro::Fs::FlvFileParserImpl::clearHandler"}));
}

TEST(FlvFileParser, FileThatIsCutAnywhereIsReadAsFarAsItsTagsGo) {
    const FlvBuilder builder = audioAndVideo();
    const Bytes whole = builder.build();
    for (std::size_t size = 9; size < whole.size(); ++size) {
        OnFile file(firstBytes(whole, size));
        AudioHandler audio;
        VideoHandler video;
        file.parser.addHandler(audio);
        file.parser.addHandler(video);
        std::string outcome;
        std::size_t read = 0;
        for (bool follows = true; follows && outcome.empty(); ++read) {
            try {
                follows = file.parser.readOneTag();
            } catch (const ErrorException& exception) {
                outcome = exception.getMessage();
            }
        }
        // A record begins as soon as a byte follows the size behind the tag before it.
        std::size_t begun = 1;
        while (begun < builder.tagCount() && size > static_cast<std::size_t>(builder.tagPosition(begun))) {
            ++begun;
        }
        const bool isCutInARecord = size < static_cast<std::size_t>(builder.recordPosition(begun - 1)) + 15;
        EXPECT_EQ(read, begun) << size;
        EXPECT_EQ(outcome, isCutInARecord ? "Too short FlvTag." : "") << size;
    }
}
