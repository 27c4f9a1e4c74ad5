#include "tests/source/SourceTest.h"

#include <mferror.h>

#include <limits>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using namespace JY::Pictaro::Fs;
using namespace JY::Test;
using Log2::Severity;

class FlvSourceSeekTest : public SourceTest {
protected:
    void TearDown() override {
        video.Reset();
        source.Reset();
        SourceTest::TearDown();
    }

    void openIndexed(const std::vector<unsigned>& seconds) { source = open(indexedMedia(seconds)); }
    /// The time of the first video sample (milliseconds) after a start from the stopped state at this second.
    std::optional<LONGLONG> seekTo(double second) {
        if (source->getStateId() != SourceStateId::stopped) {
            EXPECT_EQ(source->Stop(), S_OK);
        }
        log.clear();
        EXPECT_EQ(start(*source.Get(), Position::seconds(second)), S_OK);
        if (source->getStateId() != SourceStateId::started) {
            return std::nullopt;
        }
        video = announcedStream(*source.Get(), videoId);
        return requestSample(*video.Get());
    }
    /// Whether the last seek walked tags.
    bool walked() const { return log.contains("Requested seek position="); }
    bool usedIndex() const { return log.contains("Search time position="); }

    Source source;
    Stream video;
};

TEST_F(FlvSourceSeekTest, StaysAtTheIndexedKeyFrameWithinTheThreshold) {
    openIndexed({0, 8, 20});
    EXPECT_EQ(seekTo(11), 8000); // the walk would go on to 11
    EXPECT_TRUE(usedIndex());
    EXPECT_FALSE(walked());
}

TEST_F(FlvSourceSeekTest, WalksOnFromTheIndexedKeyFrameBeyondTheThreshold) {
    openIndexed({0, 20});
    EXPECT_EQ(seekTo(12), 12000);
    EXPECT_TRUE(usedIndex());
    EXPECT_EQ(log.count(Severity::info, "Requested seek position=12000000[microsec]"), 1U);
}

TEST_F(FlvSourceSeekTest, WalksAtTheThresholdItself) {
    openIndexed({0, 20});
    EXPECT_EQ(seekTo(9.999), 0);
    EXPECT_FALSE(walked());
    EXPECT_EQ(seekTo(10), 10000);
    EXPECT_TRUE(walked());
}

TEST_F(FlvSourceSeekTest, ReadsTheThresholdAtEachSeek) {
    openIndexed({0, 8, 20});
    settings.set(L"TagTraverseThreshold", 3000);
    EXPECT_EQ(seekTo(11), 11000);
    settings.set(L"TagTraverseThreshold", 3001);
    EXPECT_EQ(seekTo(11), 8000);
}

TEST_F(FlvSourceSeekTest, TakesAnyThreshold) {
    openIndexed({0});
    settings.set(L"TagTraverseThreshold", 0xFFFFFFFF); // × 1000 is more than 32 bits hold
    EXPECT_EQ(seekTo(20), 0);
    settings.set(L"TagTraverseThreshold", 0);
    EXPECT_EQ(seekTo(20), 20000);
}

TEST_F(FlvSourceSeekTest, GoesToTheFirstKeyFrameForAnEarlierTarget) {
    openIndexed({8, 20});
    EXPECT_EQ(seekTo(3), 8000);
    EXPECT_FALSE(walked());
}

TEST_F(FlvSourceSeekTest, GoesToAKeyFrameThatIsTheTarget) {
    openIndexed({0, 8, 20});
    EXPECT_EQ(seekTo(8), 8000);
    EXPECT_EQ(seekTo(7.9999999), 0); // 79999999 / 10 microseconds
}

TEST_F(FlvSourceSeekTest, WalksTagsWhenTheIndexIsNotToBeUsed) {
    openIndexed({0, 8, 20});
    settings.set(L"SeekByMetaData", 0);
    EXPECT_EQ(seekTo(11), 11000);
    EXPECT_FALSE(usedIndex());
    EXPECT_EQ(log.count(Severity::info, "Requested seek position=11000000[microsec]"), 1U);
}

TEST_F(FlvSourceSeekTest, ReadsWhetherToUseTheIndexAtEachSeek) {
    openIndexed({0, 8, 20});
    settings.set(L"SeekByMetaData", 0);
    EXPECT_EQ(seekTo(11), 11000);
    settings.set(L"SeekByMetaData", 7);
    EXPECT_EQ(seekTo(11), 8000);
    EXPECT_EQ(settings.readCount(L"SeekByMetaData"), 2U);
}

TEST_F(FlvSourceSeekTest, WalksTagsForGoodInAFileWithoutAnIndex) {
    const std::wstring path = write(media().build());
    source = openFile(path);
    EXPECT_EQ(seekTo(11), 11000);
    const CapturedRecord record = log.find("keyframes not found.");
    EXPECT_EQ(record.severity, Severity::warn);
    EXPECT_EQ(record.file, "FlvSource");
    EXPECT_TRUE(record.message.starts_with(
        "Exception caught. class JY::Pictaro::Fs::FlvMetaData::MetaDataNotFoundException, keyframes not found. @"));
    TextBuffer file;
    file << " File=" << path;
    EXPECT_TRUE(record.message.ends_with(file.view()));
    EXPECT_TRUE(walked());

    EXPECT_EQ(seekTo(15), 15000);
    EXPECT_FALSE(usedIndex());
    EXPECT_FALSE(log.contains("keyframes not found."));
}

TEST_F(FlvSourceSeekTest, HidesTheFileWithoutAnIndexLikeEveryRecord) {
    source = open(media());
    settings.setHideFileName(1);
    EXPECT_EQ(seekTo(11), 11000);
    const std::string message = log.find("keyframes not found.").message;
    const std::string name = message.substr(message.find(" File=") + 6);
    EXPECT_EQ(name.size(), 25U); // an identity: 8 digits, a comma, 16 digits
    EXPECT_EQ(name[8], ',');
}

TEST_F(FlvSourceSeekTest, WalksTagsInAFileWhoseIndexIsOfNoUse) {
    source = open(media(MetaData::typical().keyframes({0, 8}, {13})));
    EXPECT_EQ(seekTo(11), 11000);
    EXPECT_EQ(log.find("Size missmatch between filepositions and times.").severity, Severity::warn);
}

TEST_F(FlvSourceSeekTest, FailsWithoutATransitionWhenTheIndexPointsOutOfTheFile) {
    source = open(media(MetaData::typical().keyframes({0, 8}, {0, 3})));
    EXPECT_EQ(seekTo(1), std::nullopt);
    EXPECT_EQ(source->getStateId(), SourceStateId::stopped);
    EXPECT_EQ(log.find("SetFilePointerEx").severity, Severity::error);
    EXPECT_TRUE(events.take().empty());
    settings.set(L"SeekByMetaData", 0);
    EXPECT_EQ(seekTo(11), 11000); // nothing is left that the next start trips over
}

TEST_F(FlvSourceSeekTest, FailsWithoutATransitionWhenTheIndexHoldsImpossibleNumbers) {
    for (const double position : {9.3e18, -9.3e18, 1e300, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
        settings.set(L"SeekByMetaData", 1);
        source = open(media(MetaData::typical().keyframes({0}, {position})));
        EXPECT_EQ(seekTo(1), std::nullopt) << position;
        EXPECT_EQ(log.find("SetFilePointerEx").severity, Severity::error) << position;
        EXPECT_EQ(source->getStateId(), SourceStateId::stopped) << position;
        EXPECT_TRUE(events.take().empty()) << position;
        settings.set(L"SeekByMetaData", 0);
        EXPECT_EQ(seekTo(11), 11000) << position;
        events.take();
    }
}

TEST_F(FlvSourceSeekTest, HasNoSampleWhenTheIndexPointsBehindTheFile) {
    source = open(media(MetaData::typical().keyframes({0}, {1e9})));
    EXPECT_EQ(seekTo(1), std::nullopt);
    EXPECT_EQ(source->getStateId(), SourceStateId::started);
    EXPECT_EQ(log.find("Too short FlvTag.").severity, Severity::error);
}

TEST_F(FlvSourceSeekTest, PassesOnASettingThatCannotBeRead) {
    openIndexed({0, 8, 20});
    settings.setMistyped(L"SeekByMetaData");
    EXPECT_EQ(seekTo(11), std::nullopt);
    EXPECT_EQ(log.find("Type missmatch.").severity, Severity::error);
    EXPECT_EQ(source->getStateId(), SourceStateId::stopped);
}

TEST_F(FlvSourceSeekTest, TakesAnyPosition) {
    openIndexed({0, 8, 20});
    const struct {
        LONGLONG position;
        const char* event;
        LONGLONG milliseconds; ///< of the video sample that follows
    } cases[] = {{-1, "source MESourceStarted -1", 0},
                 {INT64_MIN, "source MESourceSeeked -9223372036854775808", 0},
                 {INT64_MAX, "source MESourceSeeked 9223372036854775807", 25000},
                 {200'000'000, "source MESourceSeeked 200000000", 20000}};
    for (const auto& [position, event, milliseconds] : cases) {
        ASSERT_EQ(start(*source.Get(), Position(position)), S_OK);
        EXPECT_EQ(source->getStateId(), SourceStateId::started);
        EXPECT_EQ(events.take().back(), event);
        if (video == nullptr) {
            video = announcedStream(*source.Get(), videoId);
        }
        EXPECT_EQ(requestSample(*video.Get()), milliseconds) << event;
        events.take();
    }
}

} // namespace
