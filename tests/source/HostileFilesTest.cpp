#include "tests/source/FilmTest.h"
#include "tests/support/ProcessorTime.h"
#include "tests/support/Thrown.h"
#include "util/ErrorException.h"

#include <mferror.h>

#include <chrono>
#include <limits>
#include <type_traits>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using namespace JY::Pictaro::Fs;
using namespace JY::Test;
using Log2::Severity;

constexpr std::uint32_t largestDataSize = 0xFFFFFF;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/// Files made to do harm, as a client plays them. What holds at the end of every film's test holds here, too.
class HostileFilesTest : public FilmTest {
protected:
    /// A film whose index is this.
    static FlvBuilder filmWithIndex(const std::vector<double>& times, const std::vector<double>& positions) {
        return media(MetaData::typical().keyframes(times, positions), FlvBuilder::audioAndVideo, 9);
    }
    /// Where a start failed, and what its record says.
    void expectStartToFail(unsigned second, const std::string& text) {
        restartAt(second);
        EXPECT_EQ(source->getStateId(), SourceStateId::stopped);
        const CapturedRecord record = errorRecord();
        EXPECT_EQ(record.file, "FlvSource");
        EXPECT_NE(record.message.find(text), std::string::npos) << record.message;
    }
    /// The exception for which a stream was left out, or the metadata.
    std::string warning() const {
        for (const CapturedRecord& record : log.records()) {
            if (record.severity == Severity::warn && record.file == "FlvSource") {
                return record.message.substr(0, record.message.find(" @"));
            }
        }
        return {};
    }
};

// Sizes of tags that lie.

TEST_F(HostileFilesTest, ASoundThatClaimsTheLargestSizeIsFollowedByTheEndOfTheFile) {
    play(film(0).withDataSize(largestDataSize).aacRaw(1000, {1, 2, 3}).build());
    expectSounds(0, 0);
    EXPECT_EQ(nextSound(), failed(MF_E_END_OF_STREAM));
    const Answer answer = nextSound();
    EXPECT_EQ(answer.result, S_OK);
    EXPECT_EQ(answer.bytes.size(), largestDataSize - 2);
}

TEST_F(HostileFilesTest, APictureThatClaimsTheLargestSizeFailsItsRequest) {
    play(film(0).withDataSize(largestDataSize).avcPacket(1000, 1, 1, 0, {0, 0xFF, 0xFF, 0xF0, 0x65}).build());
    expectPictures(0, 0);
    expectFailure(nextPicture(), E_FAIL, "class JY::ErrorException, Parse error. @AvcVideoDataHandler:");
}

TEST_F(HostileFilesTest, AUnitThatClaimsMoreThanItsTagFailsItsRequest) {
    for (const std::uint32_t length : {6U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        FlvBuilder builder = film(0);
        const auto byte = [&](unsigned shift) { return static_cast<std::uint8_t>(length >> shift & 0xFF); };
        builder.avcPacket(1000, FlvBuilder::key, 1, 0, {byte(24), byte(16), byte(8), byte(0), 0x65, 1, 2, 3, 4});
        play(builder.build());
        expectPictures(0, 0);
        expectFailure(nextPicture(), E_FAIL, "class JY::ErrorException, Parse error. @AvcVideoDataHandler:");
        close();
    }
}

TEST_F(HostileFilesTest, HundredsOfThousandsOfEmptyTagsTakeLittleTime) {
    Bytes file = film(0).build();
    file.resize(file.size() - 4);
    const Bytes empty = {0, 0, 0, 0, TagType::scriptData, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    for (int tag = 0; tag < 300'000; ++tag) {
        file.insert(file.end(), empty.begin(), empty.end());
    }
    file.insert(file.end(), {0, 0, 0, 0});
    play(file);
    Log2::setCore(nullptr); // the records kept for a test would take more
    HRESULT result = S_OK;
    const auto time = processorTimeOf([&] {
        for (int request = 0; request < 2; ++request) {
            result = video->RequestSample(nullptr);
        }
    });
    EXPECT_EQ(result, MF_E_END_OF_STREAM);
    EXPECT_LT(time, std::chrono::seconds(10));
}

// Sizes of previous tags, which the walk back trusts.

TEST_F(HostileFilesTest, AWalkBackToBeforeTheFileEndsItsStart) {
    settings.set(L"SeekByMetaData", 0);
    for (const std::uint32_t size : {0xFFFFFFFFU, 0x80000000U, 0x7FFFFFFFU, 0x10000U}) {
        FlvBuilder builder = film(5);
        builder.withPreviousTagSize(size).avcNalus(6000, FlvBuilder::key, {{0x65, 0x88, 0x80, 0x10, 0, 6}});
        play(builder.build());
        expectPictures(0, 5);
        EXPECT_EQ(nextPicture(), failed(MF_E_END_OF_STREAM)); // the file stands at its last tag
        expectStartToFail(2, "class JY::ErrorException, Seek error. @FlvTag:91");
        close();
    }
}

// A step back is at least of five bytes: no size leads forward, or to the same place again.
TEST_F(HostileFilesTest, AWalkBackEndsWhereverItsStepsLead) {
    settings.set(L"SeekByMetaData", 0);
    for (std::uint32_t size = 1; size < 400; size += 7) {
        FlvBuilder builder = media(MetaData::typical(), FlvBuilder::audioAndVideo, 0);
        for (unsigned second = 1; second <= 6; ++second) {
            builder.withPreviousTagSize(size).avcNalus(second * 1000, FlvBuilder::inter, {{0x41, 1, 2, 3, 4, 5}});
        }
        play(builder.build());
        for (int request = 0; request < 5; ++request) {
            EXPECT_EQ(nextPicture().result, S_OK);
        }
        restartAt(1); // ends in time, one way or the other
        EXPECT_NE(source->getStateId(), SourceStateId::paused);
        close();
    }
}

// Indexes that lie.

TEST_F(HostileFilesTest, AnIndexedPositionBeforeTheFileEndsItsStart) {
    for (const double position : {nan, infinity, -infinity, -1.0, 0.0, 3.0, 1e300, -1e300, 0x1p63, 0x1p64}) {
        path = write(filmWithIndex({0, 5}, {position, position}).build());
        source = openFile(path);
        expectStartToFail(5, "class JY::ApiErrorException, SetFilePointerEx file=");
        settings.set(L"SeekByMetaData", 0);
        restartAt(5); // nothing is left behind
        expectPictures(5, 6);
        settings.set(L"SeekByMetaData", 1);
        close();
    }
}

TEST_F(HostileFilesTest, AnIndexedPositionBehindTheFileFailsRequests) {
    for (const double position : {1e5, 0x1p32, 0x1p40}) {
        path = write(filmWithIndex({0, 5}, {position, position}).build());
        source = openFile(path);
        restartAt(5);
        ASSERT_EQ(source->getStateId(), SourceStateId::started) << position;
        expectFailure(nextPicture(), E_FAIL, "class JY::ErrorException, Too short FlvTag. @FlvTag:21");
        close();
    }
}

TEST_F(HostileFilesTest, AnIndexedPositionWithinATagEndsInAFailureOrTheEndOfTheFile) {
    const FlvBuilder layout = filmWithIndex({0, 5}, {0, 0});
    for (unsigned offset = 1; offset <= 20; ++offset) {
        const auto position = static_cast<double>(layout.tagPosition(videoTagOf(5)) + offset);
        path = write(filmWithIndex({0, 5}, {position, position}).build());
        source = openFile(path);
        restartAt(5);
        ASSERT_EQ(source->getStateId(), SourceStateId::started);
        HRESULT result = S_OK;
        for (int request = 0; request < 30 && SUCCEEDED(result); ++request) {
            result = nextPicture().result;
        }
        EXPECT_TRUE(FAILED(result)) << offset;
        close();
    }
}

TEST_F(HostileFilesTest, IndexedTimesOfAnyKindLeadToAPlaceOfTheFile) {
    const FlvBuilder layout = filmWithIndex({0, 0, 0}, {0, 0, 0});
    const std::vector<double> positions = {static_cast<double>(layout.tagPosition(videoTagOf(1))),
                                           static_cast<double>(layout.tagPosition(videoTagOf(4))),
                                           static_cast<double>(layout.tagPosition(videoTagOf(8)))};
    for (const std::vector<double>& times : {std::vector{nan, nan, nan},
                                             {infinity, infinity, infinity},
                                             {-infinity, -infinity, -infinity},
                                             {8.0, 4.0, 1.0},
                                             {1.0, infinity, 2.0},
                                             {-1.0, -1e300, 1e300},
                                             {1.0, 1.0, 1.0},
                                             {0x1p62, 0x1p63, 0x1p64}}) {
        path = write(filmWithIndex(times, positions).build());
        source = openFile(path);
        restartAt(5);
        EXPECT_EQ(source->getStateId(), SourceStateId::started);
        EXPECT_EQ(nextPicture().result, S_OK);
        close();
    }
}

// Script data that lies. The film has sound alone: pictures need the metadata.

class HostileScriptsTest : public HostileFilesTest {
protected:
    /// Opens a file with this value as metadata.
    void openWith(const Bytes& value) {
        FlvBuilder builder(FlvBuilder::audio);
        builder.script(0, "onMetaData", value).aacSequenceHeader(0);
        for (unsigned second = 0; second <= 2; ++second) {
            builder.aacRaw(second * 1000, sound(static_cast<std::uint8_t>(second)));
        }
        path = write(builder.build());
        source = openFile(path);
    }
    static Bytes nested(const Bytes& level, unsigned depth) {
        Bytes value;
        for (unsigned count = 0; count < depth; ++count) {
            value.insert(value.end(), level.begin(), level.end());
        }
        return value;
    }
    void expectNoMetaData() {
        EXPECT_EQ(warning(), "Exception caught. class JY::ErrorException, Script parse error.");
        Microsoft::WRL::ComPtr<IMFPresentationDescriptor> descriptor;
        EXPECT_EQ(source->CreatePresentationDescriptor(descriptor.GetAddressOf()), E_FAIL);
    }
};

TEST_F(HostileScriptsTest, CountsThatLieCostTheMetaDataAlone) {
    for (const std::uint32_t count : {2U, 0x7FFFFFFFU}) {
        openWith(join({{10}, bigEndian(count, 4), Amf0::number(1)}));
        expectNoMetaData();
        close();
        log.clear();
    }
}

TEST_F(HostileScriptsTest, CountsThatAreNegativeAreNone) {
    openWith(join({{8},
                   bigEndian(0xFFFFFFFF, 4),
                   Amf0::key("duration"),
                   Amf0::number(3),
                   Amf0::key("x"),
                   join({{10}, bigEndian(0x80000000, 4)}),
                   Amf0::key(""),
                   Amf0::objectEnd()}));
    EXPECT_NE(describe(*source.Get()), nullptr);
}

TEST_F(HostileScriptsTest, StringsOfTheLargestSizeAreRead) {
    const std::string longest(0xFFFF, 'x');
    openWith(MetaData::typical().add(longest, Amf0::string(longest)).bytes());
    EXPECT_NE(describe(*source.Get()), nullptr);
    EXPECT_TRUE(log.contains("EcmaArray[" + longest + "]"));
}

TEST_F(HostileScriptsTest, NestingWithoutAnEndCostsTheMetaDataAlone) {
    for (const Bytes& level : {Bytes{3, 0, 0}, Bytes{8, 0, 0, 0, 0, 0, 0}, Bytes{10, 0, 0, 0, 1}}) {
        openWith(nested(level, 100'000));
        expectNoMetaData();
        close();
        log.clear();
    }
}

TEST_F(HostileScriptsTest, NestingNeedsLittleOfAThreadsStack) {
    constexpr SIZE_T smallStack = 256 * 1024;
    using Self = std::remove_pointer_t<decltype(this)>;
    struct Opening {
        Self& test;
        bool done;
    } opening{*this, false};
    const auto open = [](void* argument) -> DWORD {
        auto& request = *static_cast<Opening*>(argument);
        request.test.openWith(nested({3, 0, 0}, 100'000));
        request.done = true;
        return 0;
    };
    const Handle thread(CreateThread(nullptr, smallStack, open, &opening, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr));
    ASSERT_EQ(WaitForSingleObject(thread.get(), 60'000), WAIT_OBJECT_0);
    EXPECT_TRUE(opening.done);
    expectNoMetaData();
}

// Parameters that lie.

TEST_F(HostileFilesTest, AVideoConfigurationThatIsCutShortLeavesTheStreamOut) {
    const Bytes config = AvcConfig().bytes();
    for (std::size_t size = 0; size < config.size(); ++size) {
        log.clear();
        FlvBuilder builder(FlvBuilder::video);
        builder.onMetaData().avcPacket(0, FlvBuilder::key, 0, 0, firstBytes(config, size)).avcEndOfSequence(2000);
        path = write(builder.build());
        EXPECT_EQ(thrownIn<ErrorException>([&] { openFile(path); }), "No stream. @FlvSource") << size;
        EXPECT_TRUE(log.contains("class JY::ErrorException, Parse error. @AvcVideoDataHandler:")) << size;
    }
}

TEST_F(HostileFilesTest, AnAudioConfigurationOutOfRangeLeavesTheStreamOut) {
    for (const AacConfig& config : {AacConfig{.channelConfiguration = 15}, AacConfig{.frequencyIndex = 14}}) {
        FlvBuilder builder(FlvBuilder::audio);
        builder.onMetaData().aacSequenceHeader(0, config).aacRaw(2000, {1});
        path = write(builder.build());
        log.clear();
        EXPECT_EQ(thrownIn<ErrorException>([&] { openFile(path); }), "No stream. @FlvSource");
        EXPECT_TRUE(log.contains("class JY::ErrorException, Out of range. @"));
    }
}

TEST_F(HostileFilesTest, ManyUnitsBehindLargeParameterSetsFailTheirRequestAndLeaveTheSourceUsable) {
    AvcConfig config;
    config.naluLengthSize = 1;
    config.sps = std::vector<Bytes>(4, Bytes(0xFFFF, 0x67));
    Bytes units;
    for (int unit = 0; unit < 10'000; ++unit) {
        units.insert(units.end(), {2, 0x65, 0x88});
    }
    FlvBuilder builder;
    builder.onMetaData(MetaData::typical().indexKeyFrames()).avcSequenceHeader(0, config).aacSequenceHeader(0);
    builder.avcNalus(0, FlvBuilder::key, {{0x65, 1}}, 0, 1);
    builder.aacRaw(0, sound(0)).avcPacket(1000, FlvBuilder::key, 1, 0, units).aacRaw(1000, sound(1));
    builder.avcNalus(2000, FlvBuilder::key, {{0x65, 2}}, 0, 1).aacRaw(2000, sound(2));
    play(builder.build());
    EXPECT_EQ(nextPicture().result, S_OK);
    expectSounds(0, 0);
    expectFailure(
        nextSound(), E_FAIL,
        "class JY::ErrorException, Parse error. The queued samples repeat too much of earlier tags. @FlvStream:");
    restartAt(2); // which forgets what was queued
    EXPECT_EQ(nextPicture().milliseconds, 2000);
    EXPECT_EQ(nextSound().milliseconds, -1); // at the end of the file
    EXPECT_EQ(nextSound().milliseconds, 2000);
}

} // namespace
