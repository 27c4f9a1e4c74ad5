// Where the file stands between the parser's calls, also after those that failed, and who else may use it.

#include "flv/FlvFileParserImpl.h"
#include "tests/flv/RecordingHandler.h"
#include "tests/support/FlvBuilder.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempFile.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/File.h"
#include "util/SourcePosition.h"
#include "util/String.h"

#include <fstream>
#include <gtest/gtest.h>

namespace {

using namespace JY::Pictaro::Fs;
using JY::ErrorException;
using JY::File;
using JY::Pictaro::TimePosition;
using JY::Test::AudioHandler;
using JY::Test::bigEndian;
using JY::Test::Bytes;
using JY::Test::firstBytes;
using JY::Test::FlvBuilder;
using JY::Test::join;
using JY::Test::LogCapture;
using JY::Test::TempFile;
using JY::Test::thrown;
using Times = std::vector<std::uint32_t>;

constexpr JY::SourceFile here{"Handler"};
constexpr const char* tooShort = "Too short FlvTag. @FlvTag:21";
constexpr std::int64_t recordSize = 15;
constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE;

/// The record and the body of an audio tag, as it lies in a file.
Bytes audioTagBytes(std::uint32_t milliseconds, const Bytes& body) {
    return join({bigEndian(0, 4),
                 {TagType::audio},
                 bigEndian(body.size(), 3),
                 bigEndian(milliseconds, 3),
                 bigEndian(0, 4),
                 body});
}

/// Bytes behind one another in the file, from `start` on.
Bytes bytesFrom(const Bytes& bytes, std::size_t start) {
    return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(start), bytes.end());
}

class FlvFileParserPosition : public testing::Test {
protected:
    void open(const Bytes& bytes) {
        temp.write(bytes);
        parser = std::make_unique<FlvFileParserImpl>(temp.path());
        parser->addHandler(audio);
    }
    void open(const FlvBuilder& builder) { open(builder.build()); }
    std::string thrownByRead() {
        return thrown<ErrorException>([&] { parser->readOneTag(); });
    }
    std::string thrownBySeek(std::int64_t milliseconds) {
        return thrown<ErrorException>([&] { parser->seekPosition(TimePosition(milliseconds * 1000)); });
    }
    /// Takes the place of what the file holds from `position` on.
    void writeOver(std::int64_t position, const Bytes& bytes) const {
        std::fstream file(std::filesystem::path(temp.path()), std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(position);
        file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        ASSERT_TRUE(file.flush());
    }

    TempFile temp;
    std::unique_ptr<FlvFileParserImpl> parser;
    AudioHandler audio;
};

} // namespace

TEST_F(FlvFileParserPosition, AfterAFailedTagIsWhereTheHandlerStopped) {
    const Bytes inner = audioTagBytes(77, {0x2F, 9});
    for (const std::size_t before : {0U, 1U, 3U}) {
        audio.taken.clear();
        open(FlvBuilder().tag(TagType::audio, 10, join({Bytes(before, 0x2F), inner})).mp3(20, {1}));
        audio.onHandle = [&](JY::Stream& stream) {
            Bytes start(before);
            stream.read(start.data(), static_cast<std::uint32_t>(before));
            throw ErrorException(here(), "No good.");
        };
        EXPECT_THROW(parser->readOneTag(), ErrorException);
        audio.onHandle = nullptr;
        EXPECT_TRUE(parser->readOneTag());
        EXPECT_EQ(audio.times(), Times{77}) << before;
        EXPECT_EQ(audio.taken.at(0).body, (Bytes{0x2F, 9}));
        EXPECT_EQ(parser->getPosition(), TimePosition(77'000));
    }
}

TEST_F(FlvFileParserPosition, AfterAFailedTagIsWhereTheHandlerMovedTo) {
    const FlvBuilder builder = FlvBuilder().mp3(10, Bytes(100, 1)).mp3(20, {2}).mp3(30, {3});
    open(builder);
    audio.onHandle = [&](JY::Stream& stream) {
        stream.seek(builder.recordPosition(2));
        throw ErrorException(here(), "No good.");
    };
    EXPECT_THROW(parser->readOneTag(), ErrorException);
    audio.onHandle = nullptr;
    EXPECT_FALSE(parser->readOneTag());
    EXPECT_EQ(audio.times(), Times{30});
}

TEST_F(FlvFileParserPosition, AfterAnEncryptedTagIsTheTagsBody) {
    open(FlvBuilder().tag(0x28, 10, audioTagBytes(77, {0x2F, 9})).mp3(20, {1}));
    EXPECT_EQ(thrownByRead(), "Encrypted tag is not supported. @FlvFileParser:43");
    EXPECT_TRUE(parser->readOneTag());
    EXPECT_EQ(audio.times(), Times{77});
}

TEST_F(FlvFileParserPosition, AfterARecordThatIsTooShortIsThatRecord) {
    FlvBuilder builder;
    const std::size_t whole = builder.mp3(10, {1}).build().size();
    const Bytes longer = builder.mp3(20, {2, 3}).build();
    for (std::size_t extra = 1; extra <= 10; ++extra) { // behind the last tag's size
        audio.taken.clear();
        open(firstBytes(longer, whole + extra));
        EXPECT_TRUE(parser->readOneTag());
        EXPECT_EQ(thrownByRead(), tooShort) << extra;
        EXPECT_EQ(thrownByRead(), tooShort) << extra;
        temp.append(bytesFrom(longer, whole + extra));
        EXPECT_FALSE(parser->readOneTag());
        EXPECT_EQ(audio.times(), (Times{10, 20})) << extra;
        parser.reset();
    }
}

TEST_F(FlvFileParserPosition, RecordThatIsTooShortIsNotRecordedAsAFailedTag) {
    open(FlvBuilder());
    const LogCapture log;
    EXPECT_EQ(thrownByRead(), tooShort);
    EXPECT_TRUE(log.messages().empty());
}

TEST_F(FlvFileParserPosition, AfterAWalkThatMeetsARecordThatIsTooShortIsThatRecord) {
    FlvBuilder builder;
    const std::size_t whole = builder.mp3(10, {1}).mp3(20, {2}).build().size();
    const Bytes longer = builder.mp3(30, {3}).build();
    open(firstBytes(longer, whole + 3));
    EXPECT_EQ(thrownBySeek(1000), tooShort);
    EXPECT_EQ(thrownByRead(), tooShort);
    temp.append(bytesFrom(longer, whole + 3));
    EXPECT_FALSE(parser->readOneTag());
    EXPECT_EQ(audio.times(), Times{30});
}

TEST_F(FlvFileParserPosition, AfterAWalkThatCannotStepBackIsTheTagWithTheWrongSize) {
    FlvBuilder builder;
    builder.mp3(10, {1}).withPreviousTagSize(1000).mp3(20, {2}).mp3(30, {3}).mp3(40, {4});
    open(builder);
    while (parser->readOneTag()) {
    }
    audio.taken.clear();
    EXPECT_EQ(thrownBySeek(15), "Seek error. @FlvTag:91");
    EXPECT_TRUE(parser->readOneTag());
    EXPECT_EQ(audio.times(), Times{20});
}

TEST_F(FlvFileParserPosition, ReadsOnWhateverTheSizesOfPreviousTagsSay) {
    FlvBuilder builder;
    builder.withPreviousTagSize(5).mp3(10, {1}).withPreviousTagSize(0).mp3(20, {2});
    builder.withPreviousTagSize(0xFFFFFFFF).mp3(30, {3}).trailer({0, 0, 0, 99});
    open(builder);
    EXPECT_TRUE(parser->readOneTag());
    EXPECT_TRUE(parser->readOneTag());
    EXPECT_FALSE(parser->readOneTag());
    EXPECT_EQ(audio.times(), (Times{10, 20, 30}));
}

TEST_F(FlvFileParserPosition, TagThatTheFileStillLacksPartOfIsReadAgainWithItsRest) {
    FlvBuilder builder;
    const Bytes whole = builder.mp3(10, {1}).mp3(20, {2, 3, 4}).build();
    open(firstBytes(whole, whole.size() - 4 - 2));
    EXPECT_TRUE(parser->readOneTag());
    EXPECT_FALSE(parser->readOneTag());
    EXPECT_EQ(audio.taken.back().body, (Bytes{0x2F, 2}));
    temp.append(bytesFrom(whole, whole.size() - 4 - 2));
    EXPECT_FALSE(parser->readOneTag());
    EXPECT_EQ(audio.taken.back().body, (Bytes{0x2F, 2, 3, 4}));
    EXPECT_EQ(audio.times(), (Times{10, 20, 20}));
}

TEST_F(FlvFileParserPosition, TagsThatAreWrittenOverAreReadAsTheyStandThen) {
    const FlvBuilder before = FlvBuilder().mp3(10, {1}).mp3(20, {2}).mp3(30, {3});
    const FlvBuilder after = FlvBuilder().mp3(10, {1}).mp3(21, {7}).mp3(31, {8});
    open(before);
    EXPECT_TRUE(parser->readOneTag());
    const auto from = static_cast<std::size_t>(before.recordPosition(1));
    writeOver(before.recordPosition(1), bytesFrom(after.build(), from));
    EXPECT_TRUE(parser->readOneTag());
    EXPECT_EQ(audio.taken.back().milliseconds, 21U);
    EXPECT_EQ(audio.taken.back().body, (Bytes{0x2F, 7}));
    parser->setFilePosition(before.recordPosition(1));
    writeOver(before.recordPosition(1), bytesFrom(before.build(), from));
    EXPECT_TRUE(parser->readOneTag());
    EXPECT_EQ(audio.taken.back().milliseconds, 20U);
}

TEST_F(FlvFileParserPosition, SharesItsFileWithReadersAndWritersButNotWithWhoDeletesIt) {
    open(FlvBuilder().mp3(10, {1}));
    EXPECT_NO_THROW(File(temp.path(), GENERIC_READ, FILE_SHARE_READ)) << "the parser does not write";
    EXPECT_NO_THROW(File(temp.path(), GENERIC_READ | GENERIC_WRITE, shareAll));
    const std::string violation = "CreateFile file=" + JY::toNarrow(temp.path()) + ": (0x20) @File:44";
    EXPECT_EQ(thrown<JY::ApiErrorException>([&] { File(temp.path(), GENERIC_READ, FILE_SHARE_WRITE); }), violation)
        << "the parser reads";
    EXPECT_EQ(thrown<JY::ApiErrorException>([&] { File(temp.path(), DELETE, shareAll | FILE_SHARE_DELETE); }),
              violation);
}

TEST_F(FlvFileParserPosition, SettingItIsNotTraced) {
    open(FlvBuilder().mp3(10, {1}));
    const LogCapture log;
    parser->setFilePosition(9);
    EXPECT_TRUE(log.records().empty());
}

TEST_F(FlvFileParserPosition, SettingItTakesAnyPlaceForARecord) {
    const FlvBuilder builder = FlvBuilder().tag(TagType::audio, 10, audioTagBytes(77, {0x2F, 9})).mp3(20, {1});
    open(builder);
    parser->setFilePosition(builder.recordPosition(0) + recordSize);
    EXPECT_TRUE(parser->readOneTag());
    EXPECT_EQ(audio.times(), Times{77});
    parser->setFilePosition(builder.recordPosition(0)); // and back
    EXPECT_TRUE(parser->readOneTag());
    EXPECT_EQ(audio.times(), (Times{77, 10}));
}

TEST_F(FlvFileParserPosition, SettingItHoldsForTheNextWalk) {
    const FlvBuilder builder = FlvBuilder().mp3(10, {1}).mp3(20, {2}).mp3(30, {3}).mp3(40, {4});
    open(builder);
    parser->readOneTag();
    parser->setFilePosition(builder.recordPosition(3));
    parser->seekPosition(TimePosition(20'000)); // forward from the position, and at its target at once
    parser->readOneTag();
    EXPECT_EQ(audio.times(), (Times{10, 40}));
}
