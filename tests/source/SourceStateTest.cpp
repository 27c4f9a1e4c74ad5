#include "source/SourceState.h"

#include "source/SourceStatePaused.h"
#include "source/SourceStateStarted.h"
#include "source/SourceStateStopped.h"
#include "tests/source/SourceTest.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"

#include <mfapi.h>
#include <mferror.h>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using namespace JY::Pictaro::Fs;
using namespace JY::Test;
using Log2::Severity;
using Texts = std::vector<std::string>;

class SourceStateTest : public SourceTest {
protected:
    void SetUp() override {
        settings.set(L"SeekByMetaData", 0);
        source = open(media());
    }
    void TearDown() override {
        streams.clear();
        audio.Reset();
        video.Reset();
        source.Reset();
        SourceTest::TearDown();
    }

    /// Starts from the stopped state and keeps the streams; the events so far are forgotten.
    void play(const Position& position = Position(0)) {
        ASSERT_EQ(start(*source.Get(), position), S_OK);
        ASSERT_EQ(source->getStateId(), SourceStateId::started);
        audio = announcedStream(*source.Get(), audioId);
        video = announcedStream(*source.Get(), videoId);
        streams = {dynamic_cast<FlvStream*>(audio.Get()), dynamic_cast<FlvStream*>(video.Get())};
        forget();
    }
    void pause() {
        play();
        ASSERT_EQ(source->Pause(), S_OK);
        forget();
    }
    void forget() {
        events.take();
        log.clear();
    }
    /// Has both kinds of tags of the first second read, so that the audio stream has a sample queued.
    void queueAudioSample() {
        ASSERT_EQ(requestSample(*video.Get()), 0);
        ASSERT_EQ(requestSample(*video.Get()), 1000);
        forget();
    }
    SourceStateId state() const { return source->getStateId(); }
    void expectFailedStart(const std::string& failure) {
        const CapturedRecord record = log.find(failure);
        EXPECT_EQ(record.severity, Severity::error) << failure;
        EXPECT_TRUE(record.message.starts_with("Exception caught. class JY::ApiErrorException, " + failure));
    }

    Source source;
    Stream audio;
    Stream video;
    StreamList streams;
};

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
    expectFailedStart("pause: (0xc00d3e82;");
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
    expectFailedStart("pause: (0xc00d3e82;");
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

// Failures.

TEST_F(SourceStateTest, RefusesPositionsOfOtherTypesInEveryState) {
    for (const VARTYPE type : {VT_R8, VT_I4, VT_UI8, VT_NULL}) {
        ASSERT_EQ(start(*source.Get(), Position::ofType(type)), S_OK);
        EXPECT_EQ(state(), SourceStateId::stopped);
        expectFailedStart("start: (0xc00d36c5;");
    }
    EXPECT_TRUE(events.take().empty());
    play();
    ASSERT_EQ(start(*source.Get(), Position::ofType(VT_R8)), S_OK);
    EXPECT_EQ(state(), SourceStateId::started);
    expectFailedStart("start: (0xc00d36c5;");
    EXPECT_TRUE(events.take().empty());
    ASSERT_EQ(source->Pause(), S_OK);
    forget();
    ASSERT_EQ(start(*source.Get(), Position::ofType(VT_R8)), S_OK);
    EXPECT_EQ(state(), SourceStateId::paused);
    expectFailedStart("start: (0xc00d36c5;");
    EXPECT_TRUE(events.take().empty());
}

TEST_F(SourceStateTest, NamesItselfInItsFailures) {
    ASSERT_EQ(start(*source.Get(), Position::ofType(VT_R8)), S_OK);
    EXPECT_TRUE(log.contains("@SourceStateStopped:"));
    play();
    ASSERT_EQ(start(*source.Get(), Position::ofType(VT_R8)), S_OK);
    EXPECT_TRUE(log.contains("@SourceStateStarted:"));
    ASSERT_EQ(source->Pause(), S_OK);
    forget();
    ASSERT_EQ(start(*source.Get(), Position::ofType(VT_R8)), S_OK);
    EXPECT_TRUE(log.contains("@SourceStatePaused:"));
}

TEST_F(SourceStateTest, StoppedStaysStoppedWhenAnAnnouncementFails) {
    events.refuse("source", MENewStream, E_OUTOFMEMORY);
    ASSERT_EQ(start(*source.Get(), Position(0)), S_OK);
    EXPECT_EQ(state(), SourceStateId::stopped);
    expectFailedStart("QueueEvent: (0x8007000e;");
    EXPECT_TRUE(events.take().empty());
}

TEST_F(SourceStateTest, StoppedStaysStoppedWhenAStreamCannotBeTold) {
    events.refuse("video", MEStreamStarted, E_OUTOFMEMORY);
    ASSERT_EQ(start(*source.Get(), Position(0)), S_OK);
    EXPECT_EQ(state(), SourceStateId::stopped);
    expectFailedStart("QueueEvent: (0x8007000e;");
    EXPECT_EQ(events.take(), (Texts{"source MENewStream 1001", "audio MEStreamStarted 0", "source MENewStream 1002"}));
    // The streams have been announced all the same.
    ASSERT_EQ(start(*source.Get(), Position(0)), S_OK);
    EXPECT_EQ(events.take()[2], "source MEUpdatedStream 1002");
}

TEST_F(SourceStateTest, StoppedStaysStoppedWhenTheSourceCannotBeTold) {
    events.refuse("source", MESourceStarted, E_OUTOFMEMORY);
    ASSERT_EQ(start(*source.Get(), Position(0)), S_OK);
    EXPECT_EQ(state(), SourceStateId::stopped);
    expectFailedStart("QueueEvent: (0x8007000e;");
}

TEST_F(SourceStateTest, StartedSeeksAlsoWhenAStreamCannotBeTold) {
    play();
    events.refuse("audio", MEStreamSeeked, E_OUTOFMEMORY);
    ASSERT_EQ(start(*source.Get(), Position(0)), S_OK);
    EXPECT_EQ(events.take(), (Texts{"source MEUpdatedStream 1001", "source MEUpdatedStream 1002",
                                    "video MEStreamSeeked 0", "source MESourceSeeked 0"}));
    EXPECT_EQ(state(), SourceStateId::started);
    EXPECT_FALSE(log.contains("(*callee)"));
}

TEST_F(SourceStateTest, StartedNamesWhatFailsWithoutAPosition) {
    play();
    {
        const MediaFoundationFault fault(MediaFoundationCall::createMediaEvent, E_OUTOFMEMORY);
        ASSERT_EQ(start(*source.Get(), Position()), S_OK);
    }
    expectFailedStart("MFCreateMediaEvent: (0x8007000e;");
    {
        const MediaFoundationFault fault(MediaFoundationCall::setEventAttribute, E_OUTOFMEMORY);
        ASSERT_EQ(start(*source.Get(), Position()), S_OK);
    }
    expectFailedStart("SetUINT32(MF_EVENT_SOURCE_ACTUAL_START): (0x8007000e;");
    events.refuse("source", MESourceStarted, E_OUTOFMEMORY);
    ASSERT_EQ(start(*source.Get(), Position()), S_OK);
    expectFailedStart("QueueEvent: (0x8007000e;");
    EXPECT_TRUE(events.take().empty());
}

TEST_F(SourceStateTest, PausedStaysPausedWhenAStreamCannotBeToldOfASeek) {
    pause();
    events.refuse("audio", MEStreamSeeked, E_OUTOFMEMORY);
    ASSERT_EQ(start(*source.Get(), Position(0)), S_OK);
    EXPECT_EQ(state(), SourceStateId::paused);
    expectFailedStart("QueueEvent: (0x8007000e;");
    EXPECT_EQ(events.take(), Texts{"source MEUpdatedStream 1001"});
}

TEST_F(SourceStateTest, PausedNamesWhatFailsWithoutAPosition) {
    pause();
    {
        const MediaFoundationFault fault(MediaFoundationCall::createMediaEvent, E_OUTOFMEMORY);
        ASSERT_EQ(start(*source.Get(), Position()), S_OK);
    }
    expectFailedStart("MFCreateMediaEvent: (0x8007000e;");
    {
        const MediaFoundationFault fault(MediaFoundationCall::setEventAttribute, E_OUTOFMEMORY);
        ASSERT_EQ(start(*source.Get(), Position()), S_OK);
    }
    expectFailedStart("SetUINT64(MF_EVENT_SOUECE_ACTUAL_START): (0x8007000e;");
    EXPECT_EQ(state(), SourceStateId::paused);
}

TEST_F(SourceStateTest, StaysWhereItIsWhenAPauseOrAStopFails) {
    play();
    events.refuse("audio", MEStreamPaused, E_OUTOFMEMORY);
    EXPECT_EQ(source->Pause(), E_OUTOFMEMORY);
    EXPECT_EQ(state(), SourceStateId::started);
    events.refuse("source", MESourcePaused, E_OUTOFMEMORY);
    EXPECT_EQ(source->Pause(), E_OUTOFMEMORY);
    EXPECT_EQ(state(), SourceStateId::started);
    events.refuse("video", MEStreamStopped, E_OUTOFMEMORY);
    EXPECT_EQ(source->Stop(), E_OUTOFMEMORY);
    EXPECT_EQ(state(), SourceStateId::started);
    events.refuse("source", MESourceStopped, E_OUTOFMEMORY);
    EXPECT_EQ(source->Stop(), E_OUTOFMEMORY);
    EXPECT_EQ(state(), SourceStateId::started);
    EXPECT_EQ(source->Stop(), S_OK);
}

TEST_F(SourceStateTest, StartsFailWhereTheSourceHasNoPosition) {
    /// A source that has read nothing yet and never will.
    class Nowhere final : public FlvSource {
    public:
        explicit Nowhere(ModuleUsageCounter& counter) : FlvSource(counter) {}
        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOTIMPL; }
        HRESULT STDMETHODCALLTYPE GetEvent(DWORD, IMFMediaEvent**) override { return E_NOTIMPL; }
        HRESULT STDMETHODCALLTYPE BeginGetEvent(IMFAsyncCallback*, IUnknown*) override { return E_NOTIMPL; }
        HRESULT STDMETHODCALLTYPE EndGetEvent(IMFAsyncResult*, IMFMediaEvent**) override { return E_NOTIMPL; }
        HRESULT STDMETHODCALLTYPE QueueEvent(MediaEventType, REFGUID, HRESULT, const PROPVARIANT*) override {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE GetCharacteristics(DWORD*) override { return E_NOTIMPL; }
        HRESULT STDMETHODCALLTYPE CreatePresentationDescriptor(IMFPresentationDescriptor**) override {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE Start(IMFPresentationDescriptor*, const GUID*, const PROPVARIANT*) override {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE Stop() override { return E_NOTIMPL; }
        HRESULT STDMETHODCALLTYPE Pause() override { return E_NOTIMPL; }
        HRESULT STDMETHODCALLTYPE Shutdown() override { return E_NOTIMPL; }
        SourceStateId getStateId() const override { return SourceStateId::started; }
        void queueEvent(IMFMediaEvent*) override { ADD_FAILURE(); }
        void queueEvent(MediaEventType, IUnknown*) override { ADD_FAILURE(); }
        TimePosition getCurrentPosition() const override { return TimePosition::invalid(); }
        void seekPosition(TimePosition) override { ADD_FAILURE(); }
        MetaDatum getMetaDatum(const std::string&) const override { return {}; }
        const std::wstring& getFilePath() const override { return path_; }
        std::uint32_t getNumDumpBin() override { return 0; }
        IMFMediaSource& mediaSource() override { return *this; }

    private:
        std::wstring path_;
    };
    const auto nowhere = createObject<Nowhere>(counter);
    SourceState* const states[] = {&SourceStateStarted::instance(), &SourceStatePaused::instance()};
    for (SourceState* const current : states) {
        try {
            current->start(*nowhere.Get(), {}, nullptr);
            ADD_FAILURE();
        } catch (const ErrorException& exception) {
            EXPECT_EQ(exception.getMessage(), "Invalid value.");
            EXPECT_STREQ(exception.file(), "JY::Pictaro::TimePosition::checkIsValid");
        }
    }
}

TEST_F(SourceStateTest, IsOneObjectForTheWholeProcess) {
    EXPECT_EQ(&SourceStateStopped::instance(), &SourceStateStopped::instance());
    EXPECT_EQ(SourceStateStopped::instance().getStateId(), SourceStateId::stopped);
    EXPECT_EQ(SourceStateStarted::instance().getStateId(), SourceStateId::started);
    EXPECT_EQ(SourceStatePaused::instance().getStateId(), SourceStateId::paused);
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
