#include "source/SourceState.h"

#include "source/SourceStatePaused.h"
#include "source/SourceStateStarted.h"
#include "source/SourceStateStopped.h"
#include "tests/source/SourceStateTest.h"

#include <mferror.h>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using namespace JY::Pictaro::Fs;
using namespace JY::Test;
using Log2::Severity;
using Texts = std::vector<std::string>;

// Stopped.

TEST_F(SourceStateTest, StoppedStartsAtAPosition) {
    ASSERT_EQ(start(*source.Get(), Position(20'000'005)), S_OK);
    EXPECT_EQ(events.take(),
              (Texts{"source MENewStream 1001", "audio MEStreamStarted 20000005", "source MENewStream 1002",
                     "video MEStreamStarted 20000005", "source MESourceStarted 20000005"}));
    EXPECT_EQ(state(), SourceStateId::started);
    EXPECT_EQ(log.count(Severity::info, "StartPosition[100ns]=20000005"), 1U);
    EXPECT_EQ(log.find("StartPosition[100ns]=").file, "SourceStateStopped");
    EXPECT_EQ(log.count(Severity::info, "Requested seek position=2000000[microsec]"), 1U);
    EXPECT_FALSE(log.contains("StartPosition was not assigned."));
}

TEST_F(SourceStateTest, StoppedStartsAtZeroWithoutAPosition) {
    ASSERT_EQ(start(*source.Get(), Position()), S_OK);
    EXPECT_EQ(events.take(), (Texts{"source MENewStream 1001", "audio MEStreamStarted 0", "source MENewStream 1002",
                                    "video MEStreamStarted 0", "source MESourceStarted 0"}));
    EXPECT_EQ(state(), SourceStateId::started);
    EXPECT_EQ(log.count(Severity::info, "StartPosition was not assigned."), 1U);
    EXPECT_EQ(log.find("StartPosition was not assigned.").file, "SourceStateStopped");
    EXPECT_EQ(log.count(Severity::info, "StartPosition[100ns]=0"), 1U);
}

TEST_F(SourceStateTest, StoppedStartsAtZeroForANullPosition) {
    play();
    ASSERT_EQ(source->Stop(), S_OK);
    forget();
    EXPECT_EQ(&SourceStateStopped::instance().start(*source.Get(), streams, nullptr), &SourceStateStarted::instance());
    EXPECT_EQ(events.take().back(), "source MESourceStarted 0");
}

TEST_F(SourceStateTest, StoppedRefusesToPause) {
    EXPECT_EQ(source->Pause(), MF_E_INVALID_STATE_TRANSITION);
    expectFailure("pause: (0xc00d3e82;");
    EXPECT_TRUE(events.take().empty());
    EXPECT_EQ(state(), SourceStateId::stopped);
}

TEST_F(SourceStateTest, StoppedStopsWithoutAnEvent) {
    EXPECT_EQ(source->Stop(), S_OK);
    EXPECT_TRUE(events.take().empty());
    EXPECT_EQ(state(), SourceStateId::stopped);
}

TEST_F(SourceStateTest, StoppedAnnouncesKnownStreamsAsUpdated) {
    play();
    EXPECT_EQ(source->Stop(), S_OK);
    forget();
    ASSERT_EQ(start(*source.Get(), Position(0)), S_OK);
    EXPECT_EQ(events.take(),
              (Texts{"source MEUpdatedStream 1001", "audio MEStreamStarted 0", "source MEUpdatedStream 1002",
                     "video MEStreamStarted 0", "source MESourceStarted 0"}));
}

// Started.

TEST_F(SourceStateTest, StartedTellsItsPositionWithoutAPosition) {
    play();
    ASSERT_EQ(requestSample(*video.Get()), 0);
    ASSERT_EQ(requestSample(*video.Get()), 1000);
    forget();
    ASSERT_EQ(start(*source.Get(), Position()), S_OK);
    EXPECT_EQ(events.take(), Texts{"source MESourceStarted actual=10000000"});
    EXPECT_EQ(state(), SourceStateId::started);
    EXPECT_EQ(log.count(Severity::info, "StartPosition was not assigned."), 1U);
    EXPECT_EQ(log.find("StartPosition was not assigned.").file, "SourceStateStarted");
    EXPECT_FALSE(log.contains("Requested seek position="));
    EXPECT_EQ(requestSample(*video.Get()), 2000);
}

TEST_F(SourceStateTest, StartedTellsItsPositionForANullPosition) {
    play();
    EXPECT_EQ(&SourceStateStarted::instance().start(*source.Get(), streams, nullptr), &SourceStateStarted::instance());
    EXPECT_EQ(events.take(), Texts{"source MESourceStarted actual=0"});
}

TEST_F(SourceStateTest, StartedSeeksToAPosition) {
    play();
    ASSERT_EQ(start(*source.Get(), Position(50'000'009)), S_OK);
    EXPECT_EQ(events.take(),
              (Texts{"source MEUpdatedStream 1001", "audio MEStreamSeeked 50000009", "source MEUpdatedStream 1002",
                     "video MEStreamSeeked 50000009", "source MESourceSeeked 50000009"}));
    EXPECT_EQ(state(), SourceStateId::started);
    EXPECT_EQ(log.count(Severity::info, "StartPosition[100ns]=50000009"), 1U);
    EXPECT_EQ(log.find("StartPosition[100ns]=").file, "SourceStateStarted");
    EXPECT_EQ(log.count(Severity::info, "Requested seek position=5000000[microsec]"), 1U);
    EXPECT_EQ(requestSample(*video.Get()), 5000);
}

TEST_F(SourceStateTest, StartedKeepsTheSamplesInASeek) {
    play();
    queueAudioSample();
    ASSERT_EQ(start(*source.Get(), Position::seconds(5)), S_OK);
    EXPECT_EQ(requestSample(*audio.Get()), 0);
}

TEST_F(SourceStateTest, StartedPauses) {
    play();
    EXPECT_EQ(source->Pause(), S_OK);
    EXPECT_EQ(events.take(), (Texts{"audio MEStreamPaused", "video MEStreamPaused", "source MESourcePaused"}));
    EXPECT_EQ(state(), SourceStateId::paused);
}

TEST_F(SourceStateTest, StartedStopsAndForgetsTheSamples) {
    play();
    queueAudioSample();
    EXPECT_EQ(source->Stop(), S_OK);
    EXPECT_EQ(events.take(), (Texts{"audio MEStreamStopped", "video MEStreamStopped", "source MESourceStopped"}));
    EXPECT_EQ(state(), SourceStateId::stopped);
    ASSERT_EQ(start(*source.Get(), Position::seconds(5)), S_OK);
    EXPECT_EQ(requestSample(*audio.Get()), 5000); // not the one at 0
}

// Paused.

TEST_F(SourceStateTest, PausedGoesOnWithoutAPosition) {
    play();
    queueAudioSample();
    ASSERT_EQ(source->Pause(), S_OK);
    forget();
    ASSERT_EQ(start(*source.Get(), Position()), S_OK);
    EXPECT_EQ(events.take(),
              (Texts{"source MEUpdatedStream 1001", "audio MEStreamStarted", "source MEUpdatedStream 1002",
                     "video MEStreamStarted", "source MESourceStarted actual=10000000"}));
    EXPECT_EQ(state(), SourceStateId::started);
    EXPECT_FALSE(log.contains("StartPosition"));
    EXPECT_FALSE(log.contains("Requested seek position="));
    EXPECT_EQ(requestSample(*audio.Get()), 0);
}

TEST_F(SourceStateTest, PausedGoesOnForANullPosition) {
    pause();
    EXPECT_EQ(&SourceStatePaused::instance().start(*source.Get(), streams, nullptr), &SourceStateStarted::instance());
    EXPECT_EQ(events.take().back(), "source MESourceStarted actual=0");
}

TEST_F(SourceStateTest, PausedSeeksToAPosition) {
    pause();
    ASSERT_EQ(start(*source.Get(), Position(50'000'009)), S_OK);
    EXPECT_EQ(events.take(),
              (Texts{"source MEUpdatedStream 1001", "audio MEStreamSeeked 50000009", "source MEUpdatedStream 1002",
                     "video MEStreamSeeked 50000009", "source MESourceSeeked 50000009"}));
    EXPECT_EQ(state(), SourceStateId::started);
    EXPECT_FALSE(log.contains("StartPosition"));
    EXPECT_EQ(log.count(Severity::info, "Requested seek position=5000000[microsec]"), 1U);
}

TEST_F(SourceStateTest, PausedForgetsTheSamplesInASeek) {
    play();
    queueAudioSample();
    ASSERT_EQ(source->Pause(), S_OK);
    ASSERT_EQ(start(*source.Get(), Position::seconds(5)), S_OK);
    EXPECT_EQ(requestSample(*audio.Get()), 5000);
}

TEST_F(SourceStateTest, PausedRefusesToPause) {
    pause();
    EXPECT_EQ(source->Pause(), MF_E_INVALID_STATE_TRANSITION);
    expectFailure("pause: (0xc00d3e82;");
    EXPECT_TRUE(events.take().empty());
    EXPECT_EQ(state(), SourceStateId::paused);
}

TEST_F(SourceStateTest, PausedStopsAndForgetsTheSamples) {
    play();
    queueAudioSample();
    ASSERT_EQ(source->Pause(), S_OK);
    forget();
    EXPECT_EQ(source->Stop(), S_OK);
    EXPECT_EQ(events.take(), (Texts{"audio MEStreamStopped", "video MEStreamStopped", "source MESourceStopped"}));
    EXPECT_EQ(state(), SourceStateId::stopped);
    ASSERT_EQ(start(*source.Get(), Position::seconds(5)), S_OK);
    EXPECT_EQ(requestSample(*audio.Get()), 5000);
}

TEST_F(SourceStateTest, PausedDropsRequestsForSamples) {
    pause();
    EXPECT_EQ(video->RequestSample(nullptr), S_OK);
    ASSERT_EQ(start(*source.Get(), Position()), S_OK);
    const Texts sent = events.take();
    EXPECT_EQ(std::ranges::count(sent, "video MEMediaSample"), 0);
}

// How a stream that has not been announced is told of.

class PartialSelectionTest : public SourceStateTest {
protected:
    void SetUp() override {
        SourceStateTest::SetUp();
        settings.set(L"EnableSingleStream", 1);
        both = describe(*source.Get());
        ASSERT_EQ(start(*source.Get(), *select(*source.Get(), {audioId}).Get(), Position(0)), S_OK);
        EXPECT_EQ(events.take(),
                  (Texts{"source MENewStream 1001", "audio MEStreamStarted 0", "source MESourceStarted 0"}));
    }
    void TearDown() override {
        both.Reset();
        SourceStateTest::TearDown();
    }

    Descriptor both;
};

TEST_F(PartialSelectionTest, AStartedSeekCallsEveryStreamUpdated) {
    ASSERT_EQ(start(*source.Get(), *both.Get(), Position(0)), S_OK);
    EXPECT_EQ(events.take()[2], "source MEUpdatedStream 1002");
}

TEST_F(PartialSelectionTest, APausedStartCallsTheStreamNewEveryTime) {
    for (unsigned round = 0; round < 2; ++round) {
        ASSERT_EQ(source->Pause(), S_OK);
        events.take();
        ASSERT_EQ(start(*source.Get(), *both.Get(), Position()), S_OK);
        const Texts sent = events.take();
        EXPECT_EQ(sent[0], "source MEUpdatedStream 1001");
        EXPECT_EQ(sent[2], "source MENewStream 1002");
    }
}

TEST_F(PartialSelectionTest, APausedSeekCallsTheStreamNewEveryTime) {
    for (unsigned round = 0; round < 2; ++round) {
        ASSERT_EQ(source->Pause(), S_OK);
        events.take();
        ASSERT_EQ(start(*source.Get(), *both.Get(), Position(0)), S_OK);
        EXPECT_EQ(events.take()[2], "source MENewStream 1002");
    }
}

TEST_F(PartialSelectionTest, AStartFromTheStoppedStateCallsTheStreamNewOnce) {
    for (const char* const announcement : {"source MENewStream 1002", "source MEUpdatedStream 1002"}) {
        ASSERT_EQ(source->Stop(), S_OK);
        events.take();
        ASSERT_EQ(start(*source.Get(), *both.Get(), Position(0)), S_OK);
        EXPECT_EQ(events.take()[2], announcement);
    }
}

TEST_F(SourceStateTest, IsOneObjectForTheWholeProcess) {
    EXPECT_EQ(&SourceStateStopped::instance(), &SourceStateStopped::instance());
    EXPECT_EQ(&SourceStateStarted::instance(), &SourceStateStarted::instance());
    EXPECT_EQ(&SourceStatePaused::instance(), &SourceStatePaused::instance());
    EXPECT_EQ(SourceStateStopped::instance().getStateId(), SourceStateId::stopped);
    EXPECT_EQ(SourceStateStarted::instance().getStateId(), SourceStateId::started);
    EXPECT_EQ(SourceStatePaused::instance().getStateId(), SourceStateId::paused);
}

TEST_F(SourceStateTest, SendsEventsByTheirDocumentedNumbers) {
    EXPECT_EQ(MESourceStarted, 201);
    EXPECT_EQ(MEStreamStarted, 202);
    EXPECT_EQ(MESourceSeeked, 203);
    EXPECT_EQ(MEStreamSeeked, 204);
    EXPECT_EQ(MENewStream, 205);
    EXPECT_EQ(MEUpdatedStream, 206);
    EXPECT_EQ(MESourceStopped, 207);
    EXPECT_EQ(MEStreamStopped, 208);
    EXPECT_EQ(MESourcePaused, 209);
    EXPECT_EQ(MEStreamPaused, 210);
}

TEST_F(SourceStateTest, TracesItsOperations) {
    play();
    EXPECT_EQ(source->Pause(), S_OK);
    EXPECT_EQ(source->Stop(), S_OK);
    EXPECT_EQ(log.count(Severity::trace, "ENTER: JY::Pictaro::Fs::SourceStateStarted::pause"), 1U);
    EXPECT_EQ(log.count(Severity::trace, "EXIT: JY::Pictaro::Fs::SourceStateStarted::pause"), 1U);
    EXPECT_EQ(log.count(Severity::trace, "ENTER: JY::Pictaro::Fs::SourceStatePaused::stop"), 1U);
}

} // namespace
