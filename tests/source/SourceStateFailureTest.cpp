#include "source/SourceStatePaused.h"
#include "source/SourceStateStarted.h"
#include "source/SourceStateStopped.h"
#include "tests/source/SourceStateTest.h"
#include "util/ErrorException.h"

#include <mfapi.h>
#include <mferror.h>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using namespace JY::Pictaro::Fs;
using namespace JY::Test;
using Texts = std::vector<std::string>;

using SourceStateFailureTest = SourceStateTest;

TEST_F(SourceStateFailureTest, RefusesPositionsOfOtherTypesInEveryState) {
    for (const VARTYPE type : {VT_R8, VT_I4, VT_UI8, VT_NULL}) {
        ASSERT_EQ(start(*source.Get(), Position::ofType(type)), S_OK);
        EXPECT_EQ(state(), SourceStateId::stopped);
        expectFailure("start: (0xc00d36c5;");
    }
    EXPECT_TRUE(events.take().empty());
    play();
    ASSERT_EQ(start(*source.Get(), Position::ofType(VT_R8)), S_OK);
    EXPECT_EQ(state(), SourceStateId::started);
    expectFailure("start: (0xc00d36c5;");
    EXPECT_TRUE(events.take().empty());
    ASSERT_EQ(source->Pause(), S_OK);
    forget();
    ASSERT_EQ(start(*source.Get(), Position::ofType(VT_R8)), S_OK);
    EXPECT_EQ(state(), SourceStateId::paused);
    expectFailure("start: (0xc00d36c5;");
    EXPECT_TRUE(events.take().empty());
}

TEST_F(SourceStateFailureTest, NamesItselfInItsFailures) {
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

TEST_F(SourceStateFailureTest, StoppedStaysStoppedWhenAnAnnouncementFails) {
    events.refuse("source", MENewStream, E_OUTOFMEMORY);
    ASSERT_EQ(start(*source.Get(), Position(0)), S_OK);
    EXPECT_EQ(state(), SourceStateId::stopped);
    expectFailure("QueueEvent: (0x8007000e;");
    EXPECT_TRUE(events.take().empty());
}

TEST_F(SourceStateFailureTest, StoppedStaysStoppedWhenAStreamCannotBeTold) {
    events.refuse("video", MEStreamStarted, E_OUTOFMEMORY);
    ASSERT_EQ(start(*source.Get(), Position(0)), S_OK);
    EXPECT_EQ(state(), SourceStateId::stopped);
    expectFailure("QueueEvent: (0x8007000e;");
    EXPECT_EQ(events.take(), (Texts{"source MENewStream 1001", "audio MEStreamStarted 0", "source MENewStream 1002"}));
    // The streams have been announced all the same.
    ASSERT_EQ(start(*source.Get(), Position(0)), S_OK);
    EXPECT_EQ(events.take()[2], "source MEUpdatedStream 1002");
}

TEST_F(SourceStateFailureTest, StartedSeeksAlsoWhenAStreamCannotBeTold) {
    play();
    events.refuse("audio", MEStreamSeeked, E_OUTOFMEMORY);
    ASSERT_EQ(start(*source.Get(), Position(0)), S_OK);
    EXPECT_EQ(events.take(), (Texts{"source MEUpdatedStream 1001", "source MEUpdatedStream 1002",
                                    "video MEStreamSeeked 0", "source MESourceSeeked 0"}));
    EXPECT_EQ(state(), SourceStateId::started);
    EXPECT_FALSE(log.contains("(*callee)"));
}

TEST_F(SourceStateFailureTest, StartedNamesWhatFailsWithoutAPosition) {
    play();
    {
        const MediaFoundationFault fault(MediaFoundationCall::createMediaEvent, E_OUTOFMEMORY);
        ASSERT_EQ(start(*source.Get(), Position()), S_OK);
    }
    expectFailure("MFCreateMediaEvent: (0x8007000e;");
    {
        const MediaFoundationFault fault(MediaFoundationCall::setEventAttribute, E_OUTOFMEMORY);
        ASSERT_EQ(start(*source.Get(), Position()), S_OK);
    }
    expectFailure("SetUINT32(MF_EVENT_SOURCE_ACTUAL_START): (0x8007000e;");
    events.refuse("source", MESourceStarted, E_OUTOFMEMORY);
    ASSERT_EQ(start(*source.Get(), Position()), S_OK);
    expectFailure("QueueEvent: (0x8007000e;");
    EXPECT_TRUE(events.take().empty());
}

TEST_F(SourceStateFailureTest, PausedNamesWhatFailsWithoutAPosition) {
    pause();
    {
        const MediaFoundationFault fault(MediaFoundationCall::createMediaEvent, E_OUTOFMEMORY);
        ASSERT_EQ(start(*source.Get(), Position()), S_OK);
    }
    expectFailure("MFCreateMediaEvent: (0x8007000e;");
    {
        const MediaFoundationFault fault(MediaFoundationCall::setEventAttribute, E_OUTOFMEMORY);
        ASSERT_EQ(start(*source.Get(), Position()), S_OK);
    }
    expectFailure("SetUINT64(MF_EVENT_SOUECE_ACTUAL_START): (0x8007000e;");
    EXPECT_EQ(state(), SourceStateId::paused);
}

TEST_F(SourceStateFailureTest, StartsFailWhereTheSourceHasNoPosition) {
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

TEST_F(SourceStateFailureTest, StoppedCallsAStreamNewUntilItsAnnouncementSucceeds) {
    events.refuse("source", MENewStream, E_OUTOFMEMORY);
    ASSERT_EQ(start(*source.Get(), Position(0)), S_OK);
    EXPECT_EQ(state(), SourceStateId::stopped);
    ASSERT_EQ(start(*source.Get(), Position(0)), S_OK);
    EXPECT_EQ(events.take()[0], "source MENewStream 1001");
}

TEST_F(SourceStateFailureTest, StaysWhereItIsWhenTheFileCannotBeSought) {
    const auto expectToStay = [this](SourceStateId expected) {
        settings.setMistyped(L"SeekByMetaData");
        ASSERT_EQ(start(*source.Get(), Position(0)), S_OK);
        EXPECT_EQ(state(), expected);
        EXPECT_EQ(log.find("Type missmatch.").severity, Log2::Severity::error);
        EXPECT_TRUE(events.take().empty());
        settings.set(L"SeekByMetaData", 0);
    };
    expectToStay(SourceStateId::stopped);
    play();
    expectToStay(SourceStateId::started);
    ASSERT_EQ(source->Pause(), S_OK);
    forget();
    expectToStay(SourceStateId::paused);
}

TEST_F(SourceStateFailureTest, StartedKeepsTheSamplesOfAStreamThatCannotBeToldToStop) {
    play();
    queueAudioSample();
    events.refuse("audio", MEStreamStopped, E_OUTOFMEMORY);
    EXPECT_EQ(source->Stop(), E_OUTOFMEMORY);
    EXPECT_EQ(requestSample(*audio.Get()), 0);
}

TEST_F(SourceStateFailureTest, StartedForgetsTheSamplesOfAStreamThatHasBeenToldToStop) {
    play();
    queueAudioSample();
    events.refuse("video", MEStreamStopped, E_OUTOFMEMORY);
    EXPECT_EQ(source->Stop(), E_OUTOFMEMORY);
    EXPECT_EQ(requestSample(*audio.Get()), 1000);
}

TEST_F(SourceStateFailureTest, PausedHasForgottenTheSamplesWhenAnAnnouncementOfASeekFails) {
    play();
    queueAudioSample();
    ASSERT_EQ(source->Pause(), S_OK);
    events.refuse("source", MEUpdatedStream, E_OUTOFMEMORY);
    ASSERT_EQ(start(*source.Get(), Position::seconds(5)), S_OK);
    EXPECT_EQ(state(), SourceStateId::paused);
    ASSERT_EQ(start(*source.Get(), Position()), S_OK);
    EXPECT_EQ(requestSample(*audio.Get()), 5000);
}

// Every event that a transition sends and whose failure ends it.

enum class Operation { seek, restart, pause, stop };

struct Refusal {
    const char* name;
    SourceStateId state;
    Operation operation;
    const char* queue;
    MediaEventType type;
    Texts sent; ///< what had been sent before
};

void PrintTo(const Refusal& refusal, std::ostream* out) {
    *out << refusal.name;
}

constexpr auto stopped = SourceStateId::stopped;
constexpr auto started = SourceStateId::started;
constexpr auto paused = SourceStateId::paused;

const Refusal refusals[] = {
    {"StartsAnnouncement", stopped, Operation::seek, "source", MENewStream, {}},
    {"StartsFirstStream", stopped, Operation::seek, "audio", MEStreamStarted, {"source MENewStream 1001"}},
    {"StartsSecondStream",
     stopped,
     Operation::seek,
     "video",
     MEStreamStarted,
     {"source MENewStream 1001", "audio MEStreamStarted 0", "source MENewStream 1002"}},
    {"StartsSource",
     stopped,
     Operation::seek,
     "source",
     MESourceStarted,
     {"source MENewStream 1001", "audio MEStreamStarted 0", "source MENewStream 1002", "video MEStreamStarted 0"}},

    {"SeeksAnnouncement", started, Operation::seek, "source", MEUpdatedStream, {}},
    {"SeeksSource",
     started,
     Operation::seek,
     "source",
     MESourceSeeked,
     {"source MEUpdatedStream 1001", "audio MEStreamSeeked 0", "source MEUpdatedStream 1002",
      "video MEStreamSeeked 0"}},
    {"RestartsSource", started, Operation::restart, "source", MESourceStarted, {}},
    {"PausesFirstStream", started, Operation::pause, "audio", MEStreamPaused, {}},
    {"PausesSecondStream", started, Operation::pause, "video", MEStreamPaused, {"audio MEStreamPaused"}},
    {"PausesSource",
     started,
     Operation::pause,
     "source",
     MESourcePaused,
     {"audio MEStreamPaused", "video MEStreamPaused"}},
    {"StopsFirstStream", started, Operation::stop, "audio", MEStreamStopped, {}},
    {"StopsSecondStream", started, Operation::stop, "video", MEStreamStopped, {"audio MEStreamStopped"}},
    {"StopsSource",
     started,
     Operation::stop,
     "source",
     MESourceStopped,
     {"audio MEStreamStopped", "video MEStreamStopped"}},

    {"PausedSeeksAnnouncement", paused, Operation::seek, "source", MEUpdatedStream, {}},
    {"PausedSeeksFirstStream", paused, Operation::seek, "audio", MEStreamSeeked, {"source MEUpdatedStream 1001"}},
    {"PausedSeeksSecondStream",
     paused,
     Operation::seek,
     "video",
     MEStreamSeeked,
     {"source MEUpdatedStream 1001", "audio MEStreamSeeked 0", "source MEUpdatedStream 1002"}},
    {"PausedSeeksSource",
     paused,
     Operation::seek,
     "source",
     MESourceSeeked,
     {"source MEUpdatedStream 1001", "audio MEStreamSeeked 0", "source MEUpdatedStream 1002",
      "video MEStreamSeeked 0"}},
    {"PausedGoesOnsAnnouncement", paused, Operation::restart, "source", MEUpdatedStream, {}},
    {"PausedGoesOnsFirstStream", paused, Operation::restart, "audio", MEStreamStarted, {"source MEUpdatedStream 1001"}},
    {"PausedGoesOnsSecondStream",
     paused,
     Operation::restart,
     "video",
     MEStreamStarted,
     {"source MEUpdatedStream 1001", "audio MEStreamStarted", "source MEUpdatedStream 1002"}},
    {"PausedGoesOnsSource",
     paused,
     Operation::restart,
     "source",
     MESourceStarted,
     {"source MEUpdatedStream 1001", "audio MEStreamStarted", "source MEUpdatedStream 1002", "video MEStreamStarted"}},
    {"PausedStopsFirstStream", paused, Operation::stop, "audio", MEStreamStopped, {}},
    {"PausedStopsSecondStream", paused, Operation::stop, "video", MEStreamStopped, {"audio MEStreamStopped"}},
    {"PausedStopsSource",
     paused,
     Operation::stop,
     "source",
     MESourceStopped,
     {"audio MEStreamStopped", "video MEStreamStopped"}},
};

class RefusedEvent : public SourceStateTest, public testing::WithParamInterface<Refusal> {
protected:
    void reach(SourceStateId wanted) {
        if (wanted == started) {
            play();
        } else if (wanted == paused) {
            pause();
        }
        ASSERT_EQ(state(), wanted);
    }
    HRESULT run(Operation operation) {
        switch (operation) {
        case Operation::seek:
            return start(*source.Get(), Position(0));
        case Operation::restart:
            return start(*source.Get(), Position());
        case Operation::pause:
            return source->Pause();
        case Operation::stop:
            break;
        }
        return source->Stop();
    }
    /// Start has answered before anything can fail.
    static bool tellsTheCaller(Operation operation) {
        return operation == Operation::pause || operation == Operation::stop;
    }
};

TEST_P(RefusedEvent, EndsItsTransitionWithoutUndoingWhatWasSent) {
    reach(GetParam().state);
    events.refuse(GetParam().queue, GetParam().type, E_OUTOFMEMORY);
    EXPECT_EQ(run(GetParam().operation), tellsTheCaller(GetParam().operation) ? E_OUTOFMEMORY : S_OK);
    expectFailure("QueueEvent: (0x8007000e;");
    EXPECT_EQ(events.take(), GetParam().sent);
    EXPECT_EQ(state(), GetParam().state);
    EXPECT_EQ(run(GetParam().operation), S_OK); // nothing is in the way of another try
    EXPECT_EQ(events.take().empty(), false);
}

INSTANTIATE_TEST_SUITE_P(SourceState, RefusedEvent, testing::ValuesIn(refusals),
                         [](const auto& refusal) { return refusal.param.name; });

} // namespace
