#include "tests/stress/MomentTest.h"

#include <mfapi.h>

#include <thread>

namespace {

using namespace JY::Test;
using Microsoft::WRL::ComPtr;

class SourceMomentTest : public MomentTest {
protected:
    /// What every method answers to a client that comes too late.
    static void expectShutDown(IMFMediaSource& source, IMFPresentationDescriptor& descriptor) {
        ComPtr<IMFMediaEvent> event;
        ComPtr<IMFPresentationDescriptor> another;
        ClientCallback callback;
        ClientAsyncResult result;
        EXPECT_EQ(source.GetEvent(MF_EVENT_FLAG_NO_WAIT, event.GetAddressOf()), MF_E_SHUTDOWN);
        EXPECT_EQ(source.GetEvent(0, event.GetAddressOf()), MF_E_SHUTDOWN);
        EXPECT_EQ(source.BeginGetEvent(&callback, nullptr), MF_E_SHUTDOWN);
        EXPECT_EQ(source.EndGetEvent(&result, event.GetAddressOf()), MF_E_SHUTDOWN);
        EXPECT_EQ(source.QueueEvent(MEError, GUID_NULL, S_OK, nullptr), MF_E_SHUTDOWN);
        EXPECT_EQ(source.CreatePresentationDescriptor(another.GetAddressOf()), MF_E_SHUTDOWN);
        EXPECT_EQ(source.Start(&descriptor, nullptr, Position(0).get()), MF_E_SHUTDOWN);
        EXPECT_EQ(source.Stop(), MF_E_SHUTDOWN);
        EXPECT_EQ(source.Pause(), MF_E_SHUTDOWN);
        EXPECT_EQ(source.Shutdown(), MF_E_SHUTDOWN);
        DWORD characteristics = 0;
        EXPECT_EQ(source.GetCharacteristics(&characteristics), S_OK);
        EXPECT_EQ(characteristics, 6U);
        ComPtr<IMFMediaEventGenerator> generator;
        EXPECT_EQ(source.QueryInterface(IID_PPV_ARGS(generator.GetAddressOf())), S_OK);
    }
    static void expectNullRefused(IMFMediaSource& source, IMFPresentationDescriptor& descriptor) {
        ClientAsyncResult result;
        ComPtr<IMFMediaEvent> event;
        EXPECT_EQ(source.QueryInterface(IID_IUnknown, nullptr), E_INVALIDARG);
        EXPECT_EQ(source.GetEvent(0, nullptr), E_INVALIDARG);
        EXPECT_EQ(source.BeginGetEvent(nullptr, nullptr), E_INVALIDARG);
        EXPECT_EQ(source.EndGetEvent(nullptr, event.GetAddressOf()), E_INVALIDARG);
        EXPECT_EQ(source.EndGetEvent(&result, nullptr), E_INVALIDARG);
        EXPECT_EQ(source.GetCharacteristics(nullptr), E_INVALIDARG);
        EXPECT_EQ(source.CreatePresentationDescriptor(nullptr), E_INVALIDARG);
        EXPECT_EQ(source.Start(nullptr, nullptr, Position(0).get()), E_INVALIDARG);
        EXPECT_EQ(source.Start(&descriptor, nullptr, nullptr), E_INVALIDARG);
    }
};

// Before the first start.

TEST_F(SourceMomentTest, PauseBeforeStartIsRefused) {
    const auto source = open();
    EXPECT_EQ(source->Pause(), MF_E_INVALID_STATE_TRANSITION);
    EXPECT_EQ(takeEvents(*source.Get()), EventTypes{});
}

TEST_F(SourceMomentTest, StopBeforeStartDoesNothing) {
    const auto source = open();
    EXPECT_EQ(source->Stop(), S_OK);
    EXPECT_EQ(takeEvents(*source.Get()), EventTypes{});
}

TEST_F(SourceMomentTest, GetEventBeforeStartFindsNone) {
    const auto source = open();
    ComPtr<IMFMediaEvent> event;
    EXPECT_EQ(source->GetEvent(MF_EVENT_FLAG_NO_WAIT, event.GetAddressOf()), MF_E_NO_EVENTS_AVAILABLE);
}

TEST_F(SourceMomentTest, ShutdownBeforeStartIsTaken) {
    const auto source = open();
    const auto descriptor = describe(*source.Get());
    EXPECT_EQ(source->Shutdown(), S_OK);
    expectShutDown(*source.Get(), *descriptor.Get());
}

TEST_F(SourceMomentTest, NullPointersAreRefusedBeforeStart) {
    const auto source = open();
    expectNullRefused(*source.Get(), *describe(*source.Get()).Get());
}

// During a start that is queued.

TEST_F(SourceMomentTest, PauseDuringAPendingStartIsRefusedAndTheStartGoesOn) {
    PlayedSource played{open(), {}, {}};
    {
        const HeldWorkItems held;
        EXPECT_EQ(startSource(*played.source.Get(), Position(0)), S_OK);
        EXPECT_EQ(played.source->Pause(), MF_E_INVALID_STATE_TRANSITION);
        EXPECT_EQ(takeEvents(*played.source.Get()), EventTypes{});
    }
    played.await(MESourceStarted);
    EXPECT_EQ(played.source->Pause(), S_OK);
}

TEST_F(SourceMomentTest, StopDuringAPendingStartDoesNotStopTheStart) {
    PlayedSource played{open(), {}, {}};
    {
        const HeldWorkItems held;
        EXPECT_EQ(startSource(*played.source.Get(), Position(0)), S_OK);
        EXPECT_EQ(played.source->Stop(), S_OK);
        EXPECT_EQ(takeEvents(*played.source.Get()), EventTypes{});
    }
    played.await(MESourceStarted);
    EXPECT_EQ(takeSampleTime(*played.video.Get()), 0);
}

TEST_F(SourceMomentTest, SecondStartDuringAPendingStartBecomesASeek) {
    PlayedSource played{open(), {}, {}};
    {
        const HeldWorkItems held;
        EXPECT_EQ(startSource(*played.source.Get(), Position(0)), S_OK);
        EXPECT_EQ(startSource(*played.source.Get(), Position(0)), S_OK);
    }
    played.await(MESourceStarted);
    EventTypes rest;
    EXPECT_TRUE(becomesTrue([&] {
        const EventTypes more = takeEvents(*played.source.Get());
        rest.insert(rest.end(), more.begin(), more.end());
        return rest.size() == 3;
    }));
    EXPECT_EQ(rest, (EventTypes{MEUpdatedStream, MEUpdatedStream, MESourceSeeked}));
}

TEST_F(SourceMomentTest, RefusedStartDuringAPendingStartHasReplacedItsSelection) {
    PlayedSource played{open(), {}, {}};
    const auto single = describe(*played.source.Get());
    ASSERT_EQ(single->DeselectStream(0), S_OK);
    {
        const HeldWorkItems held;
        EXPECT_EQ(startSource(*played.source.Get(), Position(0)), S_OK);
        EXPECT_EQ(played.source->Start(single.Get(), nullptr, Position(0).get()), MF_E_UNSUPPORTED_REPRESENTATION);
    }
    played.await(MESourceStarted);
    EXPECT_EQ(played.audio, nullptr);
    EXPECT_NE(played.video, nullptr);
}

TEST_F(SourceMomentTest, StartWithAnUnknownTimeFormatDuringAPendingStartLeavesTheSelection) {
    PlayedSource played{open(), {}, {}};
    const auto descriptor = describe(*played.source.Get());
    {
        const HeldWorkItems held;
        EXPECT_EQ(played.source->Start(descriptor.Get(), nullptr, Position(0).get()), S_OK);
        EXPECT_EQ(played.source->Start(descriptor.Get(), &CLSID_NULL, Position(0).get()), S_OK);
        EXPECT_EQ(played.source->Start(descriptor.Get(), &IID_IUnknown, Position(0).get()), E_FAIL);
    }
    played.await(MESourceStarted);
    EXPECT_NE(played.audio, nullptr);
    EXPECT_NE(played.video, nullptr);
}

TEST_F(SourceMomentTest, EventsAndDescriptorsAreToBeHadDuringAPendingStart) {
    PlayedSource played{open(), {}, {}};
    {
        const HeldWorkItems held;
        EXPECT_EQ(startSource(*played.source.Get(), Position(0)), S_OK);
        ComPtr<IMFMediaEvent> event;
        EXPECT_EQ(played.source->GetEvent(MF_EVENT_FLAG_NO_WAIT, event.GetAddressOf()), MF_E_NO_EVENTS_AVAILABLE);
        EXPECT_EQ(played.source->QueueEvent(MEExtendedType, GUID_NULL, S_OK, nullptr), S_OK);
        EXPECT_EQ(takeEvents(*played.source.Get()), EventTypes{MEExtendedType});
        EXPECT_NE(describe(*played.source.Get()), nullptr);
    }
    played.await(MESourceStarted);
}

TEST_F(SourceMomentTest, ShutdownDuringAPendingStartIsFinal) {
    const auto source = open();
    const auto descriptor = describe(*source.Get());
    {
        const HeldWorkItems held;
        EXPECT_EQ(startSource(*source.Get(), Position(0)), S_OK);
        EXPECT_EQ(source->Shutdown(), S_OK);
        expectShutDown(*source.Get(), *descriptor.Get());
    }
    expectShutDown(*source.Get(), *descriptor.Get());
}

TEST_F(SourceMomentTest, LastReleaseDuringAPendingStartWaitsForIt) {
    auto source = open();
    const HeldWorkItems held;
    EXPECT_EQ(startSource(*source.Get(), Position(0)), S_OK);
    source.Reset();
    EXPECT_EQ(client->canUnloadNow(), S_FALSE);
}

TEST_F(SourceMomentTest, StartOfAnUnsupportedKindLeavesTheSourceStopped) {
    PlayedSource played{open(), {}, {}};
    const auto descriptor = describe(*played.source.Get());
    EXPECT_EQ(played.source->Start(descriptor.Get(), nullptr, Position::ofType(VT_R8).get()), S_OK);
    EXPECT_EQ(played.source->Start(descriptor.Get(), nullptr, Position(0).get()), S_OK);
    ComPtr<IMFMediaEvent> event;
    ASSERT_TRUE(becomesTrue(
        [&] { return SUCCEEDED(played.source->GetEvent(MF_EVENT_FLAG_NO_WAIT, event.ReleaseAndGetAddressOf())); }));
    MediaEventType type = MEUnknown;
    event->GetType(&type);
    EXPECT_EQ(type, static_cast<MediaEventType>(MENewStream));
    played.await(MESourceStarted);
}

// After Shutdown, and beside it.

TEST_F(SourceMomentTest, EveryMethodAfterShutdownAnswersSo) {
    PlayedSource played = play();
    const auto descriptor = describe(*played.source.Get());
    EXPECT_EQ(played.source->Shutdown(), S_OK);
    expectShutDown(*played.source.Get(), *descriptor.Get());
}

TEST_F(SourceMomentTest, NullPointersAreRefusedAfterShutdownToo) {
    const auto source = open();
    const auto descriptor = describe(*source.Get());
    EXPECT_EQ(source->Shutdown(), S_OK);
    expectNullRefused(*source.Get(), *descriptor.Get());
}

TEST_F(SourceMomentTest, ShutdownWakesAWaitingGetEvent) {
    const auto source = open();
    HRESULT result = S_OK;
    {
        const std::jthread waiting([&] {
            ComPtr<IMFMediaEvent> event;
            result = source->GetEvent(0, event.GetAddressOf());
        });
        Sleep(50);
        EXPECT_EQ(source->Shutdown(), S_OK);
    }
    EXPECT_EQ(result, MF_E_SHUTDOWN);
}

TEST_F(SourceMomentTest, OneOfManyShutdownsSucceeds) {
    for (unsigned round = 0; round < 20; ++round) {
        const auto source = open();
        std::atomic<unsigned> succeeded{0};
        {
            std::vector<std::jthread> threads;
            for (unsigned count = 0; count < 4; ++count) {
                threads.emplace_back([&] { succeeded += source->Shutdown() == S_OK ? 1 : 0; });
            }
        }
        EXPECT_EQ(succeeded, 1U);
    }
}

TEST_F(SourceMomentTest, StartBesideShutdownGivesOneOfTheTwoAnswers) {
    for (unsigned round = 0; round < 50; ++round) {
        const auto source = open();
        const auto descriptor = describe(*source.Get());
        HRESULT started = S_OK;
        {
            const std::jthread starting([&] {
                for (unsigned count = 0; count < 10 && SUCCEEDED(started); ++count) {
                    started = source->Start(descriptor.Get(), nullptr, Position(0).get());
                }
            });
            EXPECT_EQ(source->Shutdown(), S_OK);
        }
        EXPECT_TRUE(started == S_OK || started == MF_E_SHUTDOWN) << std::hex << started;
    }
}

// From inside the callbacks for its events.

TEST_F(SourceMomentTest, EveryMethodMayBeCalledInsideAnEventCallback) {
    PlayedSource played = play();
    IMFMediaSource& source = *played.source.Get();
    const auto callback = makeHeapObject<FunctionCallback>([&](IMFAsyncResult& result) {
        ComPtr<IMFMediaEvent> event;
        EXPECT_EQ(source.EndGetEvent(&result, event.GetAddressOf()), S_OK);
        EXPECT_EQ(source.GetEvent(MF_EVENT_FLAG_NO_WAIT, event.ReleaseAndGetAddressOf()), MF_E_NO_EVENTS_AVAILABLE);
        EXPECT_EQ(source.Pause(), S_OK);
        EXPECT_EQ(source.Pause(), MF_E_INVALID_STATE_TRANSITION);
        EXPECT_EQ(played.video->RequestSample(nullptr), S_OK);
        EXPECT_EQ(source.Stop(), S_OK);
        EXPECT_EQ(source.QueueEvent(MEExtendedType, GUID_NULL, S_OK, nullptr), S_OK);
        EXPECT_EQ(takeEvents(source), (EventTypes{MESourcePaused, MESourceStopped, MEExtendedType}));
        EXPECT_EQ(startSource(source, Position(0)), S_OK);
    });
    EXPECT_EQ(source.BeginGetEvent(callback.Get(), nullptr), S_OK);
    EXPECT_EQ(source.QueueEvent(MEExtendedType, GUID_NULL, S_OK, nullptr), S_OK);
    EXPECT_TRUE(callback->becomesDone());
    played.await(MESourceStarted);
}

TEST_F(SourceMomentTest, ShutdownInsideAnEventCallbackEndsTheEvents) {
    const auto source = open();
    const auto descriptor = describe(*source.Get());
    const auto callback = makeHeapObject<FunctionCallback>([&](IMFAsyncResult& result) {
        EXPECT_EQ(source->Shutdown(), S_OK);
        ComPtr<IMFMediaEvent> event;
        EXPECT_EQ(source->EndGetEvent(&result, event.GetAddressOf()), MF_E_SHUTDOWN);
        expectShutDown(*source.Get(), *descriptor.Get());
    });
    EXPECT_EQ(source->BeginGetEvent(callback.Get(), nullptr), S_OK);
    EXPECT_EQ(source->QueueEvent(MEExtendedType, GUID_NULL, S_OK, nullptr), S_OK);
    EXPECT_TRUE(callback->becomesDone());
}

TEST_F(SourceMomentTest, LastReleaseInsideAnEventCallbackEndsTheSource) {
    auto source = open();
    IMFMediaSource* const pointer = source.Get();
    std::atomic<bool> isAlone{false}; // with the source, which the other thread has returned from
    const auto callback = makeHeapObject<FunctionCallback>([&](IMFAsyncResult& result) {
        EXPECT_TRUE(becomesTrue([&] { return isAlone.load(); }));
        ComPtr<IMFMediaEvent> event;
        EXPECT_EQ(pointer->EndGetEvent(&result, event.GetAddressOf()), S_OK);
        EXPECT_EQ(source.Reset(), 0U);
        EXPECT_EQ(client->canUnloadNow(), S_OK);
    });
    EXPECT_EQ(source->BeginGetEvent(callback.Get(), nullptr), S_OK);
    EXPECT_EQ(source->QueueEvent(MEExtendedType, GUID_NULL, S_OK, nullptr), S_OK);
    isAlone = true;
    EXPECT_TRUE(callback->becomesDone());
}

TEST_F(SourceMomentTest, LastReleaseBeforeEndGetEventEndsTheSource) {
    auto source = open();
    std::atomic<bool> isAlone{false};
    const auto callback = makeHeapObject<FunctionCallback>([&](IMFAsyncResult&) {
        EXPECT_TRUE(becomesTrue([&] { return isAlone.load(); }));
        EXPECT_EQ(source.Reset(), 0U);
    });
    EXPECT_EQ(source->BeginGetEvent(callback.Get(), nullptr), S_OK);
    EXPECT_EQ(source->QueueEvent(MEExtendedType, GUID_NULL, S_OK, nullptr), S_OK);
    isAlone = true;
    EXPECT_TRUE(callback->becomesDone());
}

TEST_F(SourceMomentTest, GetEventBesideAWaitingCallbackIsRefused) {
    const auto source = open();
    ClientCallback first;
    ClientCallback second;
    ClientState state;
    ComPtr<IMFMediaEvent> event;
    EXPECT_EQ(source->BeginGetEvent(&first, nullptr), S_OK);
    EXPECT_EQ(source->GetEvent(MF_EVENT_FLAG_NO_WAIT, event.GetAddressOf()), MF_E_MULTIPLE_SUBSCRIBERS);
    EXPECT_EQ(source->GetEvent(0, event.GetAddressOf()), MF_E_MULTIPLE_SUBSCRIBERS);
    EXPECT_EQ(source->BeginGetEvent(&second, nullptr), MF_E_MULTIPLE_SUBSCRIBERS);
    EXPECT_EQ(source->BeginGetEvent(&first, &state), MF_E_MULTIPLE_BEGIN);
    EXPECT_EQ(source->Shutdown(), S_OK);
    EXPECT_TRUE(first.becomesForgotten());
}

TEST_F(SourceMomentTest, EndGetEventOfAnotherResultFailsAndTakesNoEvent) {
    const auto source = open();
    ClientAsyncResult result;
    ComPtr<IMFMediaEvent> event;
    EXPECT_EQ(source->QueueEvent(MEExtendedType, GUID_NULL, S_OK, nullptr), S_OK);
    EXPECT_TRUE(FAILED(source->EndGetEvent(&result, event.GetAddressOf())));
    EXPECT_EQ(takeEvents(*source.Get()), EventTypes{MEExtendedType});
}

} // namespace
