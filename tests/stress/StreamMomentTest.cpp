#include "tests/stress/MomentTest.h"

#include <mfapi.h>

#include <functional>
#include <thread>

namespace {

using namespace JY::Test;
using Microsoft::WRL::ComPtr;

class StreamMomentTest : public MomentTest {
protected:
    static void expectShutDown(IMFMediaStream& stream) {
        ComPtr<IMFMediaEvent> event;
        ComPtr<IMFMediaSource> owner;
        ComPtr<IMFStreamDescriptor> descriptor;
        ClientCallback callback;
        ClientAsyncResult result;
        EXPECT_EQ(stream.GetEvent(MF_EVENT_FLAG_NO_WAIT, event.GetAddressOf()), MF_E_SHUTDOWN);
        EXPECT_EQ(stream.GetEvent(0, event.GetAddressOf()), MF_E_SHUTDOWN);
        EXPECT_EQ(stream.BeginGetEvent(&callback, nullptr), MF_E_SHUTDOWN);
        EXPECT_EQ(stream.EndGetEvent(&result, event.GetAddressOf()), MF_E_SHUTDOWN);
        EXPECT_EQ(stream.QueueEvent(MEError, GUID_NULL, S_OK, nullptr), MF_E_SHUTDOWN);
        EXPECT_EQ(stream.GetMediaSource(owner.GetAddressOf()), MF_E_SHUTDOWN);
        EXPECT_EQ(owner, nullptr);
        EXPECT_EQ(stream.GetStreamDescriptor(descriptor.GetAddressOf()), MF_E_SHUTDOWN);
        EXPECT_EQ(stream.RequestSample(nullptr), MF_E_SHUTDOWN);
        ComPtr<IMFMediaEventGenerator> generator;
        EXPECT_EQ(stream.QueryInterface(IID_PPV_ARGS(generator.GetAddressOf())), S_OK);
        EXPECT_EQ(stream.RequestSample(makeHeapObject<HeapToken>().Get()), MF_E_SHUTDOWN);
    }
    static void expectNullRefused(IMFMediaStream& stream) {
        ClientAsyncResult result;
        ComPtr<IMFMediaEvent> event;
        EXPECT_EQ(stream.QueryInterface(IID_IUnknown, nullptr), E_INVALIDARG);
        EXPECT_EQ(stream.GetEvent(0, nullptr), E_INVALIDARG);
        EXPECT_EQ(stream.BeginGetEvent(nullptr, nullptr), E_INVALIDARG);
        EXPECT_EQ(stream.EndGetEvent(nullptr, event.GetAddressOf()), E_INVALIDARG);
        EXPECT_EQ(stream.EndGetEvent(&result, nullptr), E_INVALIDARG);
        EXPECT_EQ(stream.GetMediaSource(nullptr), E_INVALIDARG);
        EXPECT_EQ(stream.GetStreamDescriptor(nullptr), E_INVALIDARG);
    }
};

TEST_F(StreamMomentTest, RequestSampleDuringAPendingSeekServesTheOldPlace) {
    PlayedSource played = play();
    EXPECT_EQ(takeSampleTime(*played.video.Get()), 0);
    {
        const HeldWorkItems held;
        EXPECT_EQ(startSource(*played.source.Get(), Position::seconds(7)), S_OK);
        EXPECT_EQ(takeSampleTime(*played.video.Get()), 1000);
    }
    played.await(MESourceSeeked);
    EXPECT_EQ(takeSampleTime(*played.video.Get()), 7000);
}

TEST_F(StreamMomentTest, RequestSampleDuringAPendingStartIsServedAsAStoppedSourceServes) {
    PlayedSource played = play();
    EXPECT_EQ(takeSampleTime(*played.video.Get()), 0);
    EXPECT_EQ(played.source->Stop(), S_OK);
    {
        const HeldWorkItems held;
        EXPECT_EQ(startSource(*played.source.Get(), Position(0)), S_OK);
        EXPECT_EQ(takeSampleTime(*played.video.Get()), 1000);
    }
    played.await(MESourceStarted);
    EXPECT_EQ(takeSampleTime(*played.video.Get()), 0);
}

TEST_F(StreamMomentTest, RequestSampleDuringAPendingResumeIsDropped) {
    PlayedSource played = play();
    EXPECT_EQ(played.source->Pause(), S_OK);
    {
        const HeldWorkItems held;
        EXPECT_EQ(startSource(*played.source.Get(), Position()), S_OK);
        EXPECT_EQ(played.video->RequestSample(nullptr), S_OK);
        EXPECT_EQ(takeSampleTime(*played.video.Get()), std::nullopt);
    }
    played.await(MESourceStarted);
    EXPECT_EQ(takeEvents(*played.video.Get()), EventTypes{MEStreamStarted});
    EXPECT_EQ(takeSampleTime(*played.video.Get()), 0);
}

TEST_F(StreamMomentTest, RequestSampleWhilePausedIsDroppedForEver) {
    PlayedSource played = play();
    takeEvents(*played.audio.Get());
    EXPECT_EQ(played.source->Pause(), S_OK);
    EXPECT_EQ(played.audio->RequestSample(makeHeapObject<HeapToken>().Get()), S_OK);
    EXPECT_EQ(startSource(*played.source.Get(), Position()), S_OK);
    played.await(MESourceStarted);
    EXPECT_EQ(takeEvents(*played.audio.Get()), (EventTypes{MEStreamPaused, MEStreamStarted}));
}

TEST_F(StreamMomentTest, RequestSampleBehindTheEndRepeatsTheEnd) {
    PlayedSource played = play();
    while (played.video->RequestSample(nullptr) == S_OK) {
    }
    takeEvents(*played.video.Get());
    takeEvents(*played.source.Get());
    EXPECT_EQ(played.video->RequestSample(nullptr), MF_E_END_OF_STREAM);
    EXPECT_EQ(takeEvents(*played.video.Get()), EventTypes{MEEndOfStream});
    EXPECT_EQ(takeEvents(*played.source.Get()), EventTypes{MEEndOfPresentation});
}

TEST_F(StreamMomentTest, NullPointersAreRefusedWhilePlayingAndAfterShutdown) {
    PlayedSource played = play();
    expectNullRefused(*played.audio.Get());
    EXPECT_EQ(played.source->Shutdown(), S_OK);
    expectNullRefused(*played.audio.Get());
}

TEST_F(StreamMomentTest, EveryMethodAfterShutdownAnswersSo) {
    PlayedSource played = play();
    EXPECT_EQ(played.source->Shutdown(), S_OK);
    expectShutDown(*played.audio.Get());
    expectShutDown(*played.video.Get());
}

TEST_F(StreamMomentTest, EveryMethodAfterTheLastReleaseOfTheSourceAnswersThatItIsShutDown) {
    PlayedSource played = play();
    EXPECT_EQ(played.source.Reset(), 0U);
    expectShutDown(*played.audio.Get());
    expectShutDown(*played.video.Get());
    played.audio.Reset();
    EXPECT_EQ(client->canUnloadNow(), S_FALSE);
    played.video.Reset();
    EXPECT_EQ(client->canUnloadNow(), S_OK);
}

TEST_F(StreamMomentTest, LastReleaseOfTheSourceDuringAPendingStartCutsAStreamLooseBehindIt) {
    PlayedSource played = play();
    {
        const HeldWorkItems held;
        EXPECT_EQ(startSource(*played.source.Get(), Position(0)), S_OK);
        EXPECT_NE(played.source.Reset(), 0U);
        ComPtr<IMFMediaSource> owner;
        EXPECT_EQ(played.video->GetMediaSource(owner.GetAddressOf()), S_OK);
        EXPECT_EQ(takeSampleTime(*played.video.Get()), 0);
    }
    EXPECT_TRUE(becomesTrue([&] { return played.video->RequestSample(nullptr) == MF_E_SHUTDOWN; }));
    expectShutDown(*played.video.Get());
}

TEST_F(StreamMomentTest, ShutdownDuringRequestSampleWaitsForIt) {
    PlayedSource played = play();
    takeEvents(*played.video.Get());
    std::atomic<bool> isShutDown{false};
    std::jthread shuttingDown;
    CallingToken token([&] {
        shuttingDown = std::jthread([&] {
            EXPECT_EQ(played.source->Shutdown(), S_OK);
            isShutDown = true;
        });
        Sleep(50);
        EXPECT_FALSE(isShutDown);
    });
    EXPECT_EQ(played.video->RequestSample(&token), S_OK);
    shuttingDown.join();
    expectShutDown(*played.video.Get());
    EXPECT_TRUE(token.becomesUnreferenced());
}

TEST_F(StreamMomentTest, ShutdownInsideRequestSampleEndsTheRequest) {
    PlayedSource played = play();
    CallingToken token([&] { EXPECT_EQ(played.source->Shutdown(), S_OK); });
    EXPECT_EQ(played.video->RequestSample(&token), MF_E_SHUTDOWN);
    expectShutDown(*played.video.Get());
    EXPECT_TRUE(token.becomesUnreferenced());
}

TEST_F(StreamMomentTest, StartInsideRequestSampleIsTakenBehindIt) {
    PlayedSource played = play();
    CallingToken token([&] { EXPECT_EQ(startSource(*played.source.Get(), Position::seconds(5)), S_OK); });
    EXPECT_EQ(played.video->RequestSample(&token), S_OK);
    played.await(MESourceSeeked);
    EXPECT_EQ(takeEvents(*played.video.Get()), (EventTypes{MEStreamStarted, MEMediaSample, MEStreamSeeked}));
    EXPECT_EQ(takeSampleTime(*played.video.Get()), 5000);
    EXPECT_TRUE(token.becomesUnreferenced());
}

TEST_F(StreamMomentTest, ShutdownWakesAWaitingGetEvent) {
    PlayedSource played = play();
    takeEvents(*played.video.Get());
    HRESULT result = S_OK;
    {
        const std::jthread waiting([&] {
            ComPtr<IMFMediaEvent> event;
            result = played.video->GetEvent(0, event.GetAddressOf());
        });
        Sleep(50);
        EXPECT_EQ(played.source->Shutdown(), S_OK);
    }
    EXPECT_EQ(result, MF_E_SHUTDOWN);
}

TEST_F(StreamMomentTest, LastReleaseOfTheSourceWakesAWaitingGetEvent) {
    PlayedSource played = play();
    takeEvents(*played.audio.Get());
    HRESULT result = S_OK;
    {
        const std::jthread waiting([&] {
            ComPtr<IMFMediaEvent> event;
            result = played.audio->GetEvent(0, event.GetAddressOf());
        });
        Sleep(50);
        EXPECT_EQ(played.source.Reset(), 0U);
    }
    EXPECT_EQ(result, MF_E_SHUTDOWN);
}

TEST_F(StreamMomentTest, EveryMethodMayBeCalledInsideAnEventCallback) {
    PlayedSource played = play();
    takeEvents(*played.video.Get());
    const auto callback = makeHeapObject<FunctionCallback>([&](IMFAsyncResult& result) {
        ComPtr<IMFMediaEvent> event;
        EXPECT_EQ(played.video->EndGetEvent(&result, event.GetAddressOf()), S_OK);
        EXPECT_EQ(takeSampleTime(*played.video.Get()), 1000);
        ComPtr<IMFMediaSource> owner;
        EXPECT_EQ(played.video->GetMediaSource(owner.GetAddressOf()), S_OK);
        EXPECT_EQ(owner->Shutdown(), S_OK);
        expectShutDown(*played.video.Get());
    });
    EXPECT_EQ(played.video->BeginGetEvent(callback.Get(), nullptr), S_OK);
    EXPECT_EQ(played.video->RequestSample(nullptr), S_OK);
    EXPECT_TRUE(callback->becomesDone());
}

TEST_F(StreamMomentTest, LastReleaseOfSourceAndStreamInsideAnEventCallbackEndsBoth) {
    PlayedSource played = play();
    takeEvents(*played.video.Get());
    played.audio.Reset();
    std::atomic<bool> isAlone{false}; // with the objects, which the other thread has returned from
    const auto callback = makeHeapObject<FunctionCallback>([&](IMFAsyncResult&) {
        EXPECT_TRUE(becomesTrue([&] { return isAlone.load(); }));
        EXPECT_EQ(played.source.Reset(), 0U);
        EXPECT_EQ(played.video.Reset(), 0U);
        EXPECT_EQ(client->canUnloadNow(), S_OK);
    });
    EXPECT_EQ(played.video->BeginGetEvent(callback.Get(), nullptr), S_OK);
    EXPECT_EQ(played.video->RequestSample(nullptr), S_OK);
    isAlone = true;
    EXPECT_TRUE(callback->becomesDone());
}

/// An object of a client whose end waits for a call of the same source on another thread.
class LateObject final : public HeapObject<IUnknown> {
public:
    explicit LateObject(IMFMediaSource& source) : source_(source) {}
    ~LateObject() override {
        HRESULT result = S_OK;
        std::thread([&] { result = source_.Stop(); }).join();
        EXPECT_EQ(result, MF_E_SHUTDOWN);
    }

private:
    IMFMediaSource& source_;
};

void queueObject(IMFMediaEventGenerator& generator, IUnknown& object) {
    PROPVARIANT value{};
    value.vt = VT_UNKNOWN;
    value.punkVal = &object; // not counted: the event takes a reference of its own
    EXPECT_EQ(generator.QueueEvent(MEExtendedType, GUID_NULL, S_OK, &value), S_OK);
}

TEST_F(StreamMomentTest, ShutdownLetsGoOfClientsObjectsWhileOthersMayCall) {
    PlayedSource played = play();
    queueObject(*played.source.Get(), *makeHeapObject<LateObject>(*played.source.Get()).Get());
    queueObject(*played.audio.Get(), *makeHeapObject<LateObject>(*played.source.Get()).Get());
    queueObject(*played.video.Get(), *makeHeapObject<LateObject>(*played.source.Get()).Get());
    EXPECT_EQ(played.source->Shutdown(), S_OK);
    EXPECT_TRUE(becomesTrue([] { return liveHeapObjects == 0; }));
}

} // namespace
