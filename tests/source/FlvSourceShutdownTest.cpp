#include "source/FlvSourceImpl.h"
#include "tests/source/SourceTest.h"
#include "tests/support/FaultyCallback.h"
#include "tests/support/TimeLimit.h"
#include "tests/support/VirtualSlot.h"
#include "tests/support/VirtualTable.h"

#include <mfapi.h>
#include <mferror.h>

#include <atomic>
#include <thread>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using namespace JY::Pictaro::Fs;
using namespace JY::Test;
using Log2::Severity;
using Microsoft::WRL::ComPtr;
using Texts = std::vector<std::string>;

class FlvSourceShutdownTest : public SourceTest {
protected:
    void SetUp() override {
        settings.set(L"SeekByMetaData", 0);
        source = open(media());
    }
    void TearDown() override {
        audio.Reset();
        video.Reset();
        source.Reset();
        SourceTest::TearDown();
    }

    /// Starts from the stopped state at 0 and takes the streams.
    void play() {
        ASSERT_EQ(start(*source.Get(), Position(0)), S_OK);
        audio = announcedStream(*source.Get(), audioId);
        video = announcedStream(*source.Get(), videoId);
    }

    /// A client that waits for an event until it is woken.
    class WaitingClient {
    public:
        explicit WaitingClient(ComPtr<IMFMediaEventGenerator> generator)
            : thread_([this, generator] {
                  ComPtr<IMFMediaEvent> event;
                  while ((result_ = generator->GetEvent(0, event.ReleaseAndGetAddressOf())) == S_OK) {
                  }
                  isAwake_ = true;
              }) {}
        /// What the client was woken with.
        HRESULT result() {
            EXPECT_TRUE(becomesTrue([this] { return isAwake_.load(); }));
            return result_;
        }

    private:
        std::atomic<HRESULT> result_{S_OK};
        std::atomic<bool> isAwake_{false};
        std::jthread thread_;
    };
    void awaitWaiting(const std::string& method) {
        ASSERT_TRUE(becomesTrue([&] { return log.contains("ENTER: JY::Pictaro::Fs::" + method); }));
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }

    void expectCutLoose(IMFMediaStream& stream) {
        ComPtr<IMFMediaEvent> event;
        ComPtr<IMFMediaSource> owner;
        ComPtr<IMFStreamDescriptor> descriptor;
        ClientCallback callback;
        ClientAsyncResult result;
        EXPECT_EQ(stream.GetEvent(MF_EVENT_FLAG_NO_WAIT, event.GetAddressOf()), MF_E_SHUTDOWN);
        EXPECT_EQ(stream.BeginGetEvent(&callback, nullptr), MF_E_SHUTDOWN);
        EXPECT_EQ(stream.EndGetEvent(&result, event.GetAddressOf()), MF_E_SHUTDOWN);
        EXPECT_EQ(stream.QueueEvent(MEError, GUID_NULL, S_OK, nullptr), MF_E_SHUTDOWN);
        EXPECT_EQ(stream.GetMediaSource(owner.GetAddressOf()), MF_E_SHUTDOWN);
        EXPECT_EQ(stream.GetStreamDescriptor(descriptor.GetAddressOf()), MF_E_SHUTDOWN);
        EXPECT_EQ(stream.RequestSample(nullptr), MF_E_SHUTDOWN);
    }

    Source source;
    Stream audio;
    Stream video;
};

TEST_F(FlvSourceShutdownTest, MakesEveryMethodAnswerThatTheSourceIsShutDown) {
    const Descriptor descriptor = describe(*source.Get());
    EXPECT_EQ(source->Shutdown(), S_OK);
    log.clear();
    ClientCallback callback;
    ClientAsyncResult result;
    ComPtr<IMFMediaEvent> event;
    ComPtr<IMFPresentationDescriptor> another;
    EXPECT_EQ(source->BeginGetEvent(&callback, nullptr), MF_E_SHUTDOWN);
    EXPECT_EQ(source->EndGetEvent(&result, event.GetAddressOf()), MF_E_SHUTDOWN);
    EXPECT_EQ(source->QueueEvent(MEError, GUID_NULL, S_OK, nullptr), MF_E_SHUTDOWN);
    EXPECT_EQ(source->CreatePresentationDescriptor(another.GetAddressOf()), MF_E_SHUTDOWN);
    EXPECT_EQ(source->Start(descriptor.Get(), nullptr, Position().get()), MF_E_SHUTDOWN);
    EXPECT_EQ(source->Stop(), MF_E_SHUTDOWN);
    EXPECT_EQ(source->Pause(), MF_E_SHUTDOWN);
    EXPECT_EQ(source->Shutdown(), MF_E_SHUTDOWN);
    unsigned records = 0;
    for (const CapturedRecord& record : log.records()) {
        records +=
            record.severity == Severity::error &&
            record.message.starts_with("Exception caught. class JY::ApiErrorException, checkShutdown: (0xc00d3e85;");
    }
    EXPECT_EQ(records, 8U);
    EXPECT_EQ(source->GetEvent(0, event.GetAddressOf()), MF_E_SHUTDOWN);
    EXPECT_TRUE(log.contains("GetEvent: (0xc00d3e85;"));
}

TEST_F(FlvSourceShutdownTest, LeavesTheCharacteristicsAndTheInterfaces) {
    EXPECT_EQ(source->Shutdown(), S_OK);
    DWORD characteristics = 0;
    EXPECT_EQ(source->GetCharacteristics(&characteristics), S_OK);
    EXPECT_EQ(characteristics, 6U);
    ComPtr<IMFMediaSource> same;
    EXPECT_EQ(source->QueryInterface(IID_PPV_ARGS(same.GetAddressOf())), S_OK);
}

TEST_F(FlvSourceShutdownTest, IsTakenWhileStarted) {
    play();
    EXPECT_EQ(source->Shutdown(), S_OK);
    expectCutLoose(*audio.Get());
    expectCutLoose(*video.Get());
}

TEST_F(FlvSourceShutdownTest, IsTakenWhilePaused) {
    play();
    EXPECT_EQ(source->Pause(), S_OK);
    EXPECT_EQ(source->Shutdown(), S_OK);
    expectCutLoose(*audio.Get());
}

TEST_F(FlvSourceShutdownTest, IsTakenWhileStopped) {
    play();
    EXPECT_EQ(source->Stop(), S_OK);
    EXPECT_EQ(source->Shutdown(), S_OK);
    expectCutLoose(*audio.Get());
}

TEST_F(FlvSourceShutdownTest, SendsNoEvents) {
    play();
    events.take();
    EXPECT_EQ(source->Shutdown(), S_OK);
    EXPECT_TRUE(events.take().empty());
}

TEST_F(FlvSourceShutdownTest, CutsStreamsLooseThatAreNotSelected) {
    settings.set(L"EnableSingleStream", 1);
    play();
    ASSERT_EQ(start(*source.Get(), *select(*source.Get(), {videoId}).Get(), Position()), S_OK);
    EXPECT_EQ(source->Shutdown(), S_OK);
    expectCutLoose(*audio.Get());
    expectCutLoose(*video.Get());
}

TEST_F(FlvSourceShutdownTest, ReleasesTheStreams) {
    EXPECT_EQ(counter.count(), 3U);
    EXPECT_EQ(source->Shutdown(), S_OK);
    EXPECT_EQ(counter.count(), 1U);
}

TEST_F(FlvSourceShutdownTest, ClosesTheFile) {
    const std::wstring path = source->getFilePath();
    EXPECT_FALSE(DeleteFileW(path.c_str()));
    EXPECT_EQ(source->Shutdown(), S_OK);
    EXPECT_TRUE(DeleteFileW(path.c_str()));
}

TEST_F(FlvSourceShutdownTest, WakesAClientThatWaitsForTheSourcesEvents) {
    WaitingClient client(source);
    awaitWaiting("FlvSourceImpl::GetEvent");
    EXPECT_EQ(source->Shutdown(), S_OK);
    EXPECT_EQ(client.result(), MF_E_SHUTDOWN);
}

TEST_F(FlvSourceShutdownTest, WakesAClientThatWaitsForAStreamsEvents) {
    play();
    WaitingClient client(video);
    awaitWaiting("FlvVideoStream::GetEvent");
    EXPECT_EQ(source->Shutdown(), S_OK);
    EXPECT_EQ(client.result(), MF_E_SHUTDOWN);
}

// Whether a client that is to be called back is called with the end is the event queue's matter.
TEST_F(FlvSourceShutdownTest, LetsGoOfAClientThatIsToBeCalledBack) {
    ClientCallback callback;
    ClientState state;
    ASSERT_EQ(source->BeginGetEvent(&callback, &state), S_OK);
    EXPECT_EQ(source->Shutdown(), S_OK);
    EXPECT_TRUE(callback.becomesForgotten());
    EXPECT_TRUE(state.becomesUnreferenced());
}

TEST_F(FlvSourceShutdownTest, IsFoundByAStartThatWasQueuedBefore) {
    const std::wstring path = source->getFilePath();
    const Descriptor descriptor = describe(*source.Get());
    {
        const WorkItemHold hold;
        EXPECT_EQ(source->Start(descriptor.Get(), nullptr, Position(0).get()), S_OK);
        EXPECT_EQ(source->Shutdown(), S_OK);
        log.clear();
    }
    ASSERT_TRUE(becomesTrue([this] { return log.contains("No callback return."); }));
    const CapturedRecord record = log.find("checkShutdown: (0xc00d3e85;");
    EXPECT_EQ(record.severity, Severity::error);
    EXPECT_EQ(log.find("File=").severity, Severity::notice);
    EXPECT_EQ(log.find("(*callee): (0xc00d3e85;").severity, Severity::warn);
    EXPECT_TRUE(events.take().empty());
    EXPECT_EQ(source->getStateId(), SourceStateId::stopped);
}

TEST_F(FlvSourceShutdownTest, IsFoundByAStartThatIsSelectingStreams) {
    using GetByIndex = HRESULT STDMETHODCALLTYPE(IMFPresentationDescriptor*, DWORD, BOOL*, IMFStreamDescriptor**);
    static GetByIndex* original = nullptr;
    static IMFMediaSource* interrupted = nullptr;
    interrupted = source.Get();
    VirtualTable<IMFPresentationDescriptor> table;
    const Descriptor descriptor = describe(*source.Get());
    GetByIndex* const interrupting = [](IMFPresentationDescriptor* self, DWORD index, BOOL* selected,
                                        IMFStreamDescriptor** stream) -> HRESULT {
        if (index == 1) {
            EXPECT_EQ(interrupted->Shutdown(), S_OK);
        }
        return original(self, index, selected, stream);
    };
    original =
        table.replace(*descriptor.Get(), slotOf(&IMFPresentationDescriptor::GetStreamDescriptorByIndex), interrupting);
    EXPECT_EQ(source->Start(descriptor.Get(), nullptr, Position().get()), MF_E_SHUTDOWN);
}

// The source's end without a Shutdown.

TEST_F(FlvSourceShutdownTest, IsNotNeededBeforeTheLastReference) {
    play();
    EXPECT_TRUE(requestSample(*video.Get()).has_value());
    source.Reset();
    EXPECT_EQ(counter.count(), 2U);
    expectCutLoose(*audio.Get());
    expectCutLoose(*video.Get());
    EXPECT_EQ(audio.Reset(), 0U);
    EXPECT_EQ(video.Reset(), 0U);
}

TEST_F(FlvSourceShutdownTest, IsNotNeededToCutStreamsLooseThatAreNotSelected) {
    settings.set(L"EnableSingleStream", 1);
    play();
    ASSERT_EQ(start(*source.Get(), *select(*source.Get(), {videoId}).Get(), Position()), S_OK);
    source.Reset();
    ASSERT_TRUE(becomesTrue([this] { return counter.count() == 2; }));
    expectCutLoose(*audio.Get());
}

TEST_F(FlvSourceShutdownTest, IsNotNeededToWakeAClientThatWaitsForAStreamsEvents) {
    play();
    WaitingClient client(audio);
    awaitWaiting("FlvAudioStream::GetEvent");
    source.Reset();
    EXPECT_EQ(client.result(), MF_E_SHUTDOWN);
}

TEST_F(FlvSourceShutdownTest, IsNotNeededToLetGoOfAClientThatIsToBeCalledBack) {
    ClientCallback callback;
    ASSERT_EQ(source->BeginGetEvent(&callback, nullptr), S_OK);
    source.Reset();
    EXPECT_TRUE(callback.becomesForgotten());
}

TEST_F(FlvSourceShutdownTest, IsNotNeededByAStreamThatIsKeptAfterIt) {
    play();
    EXPECT_EQ(source->Shutdown(), S_OK);
    source.Reset();
    EXPECT_EQ(counter.count(), 2U);
    expectCutLoose(*audio.Get());
    expectCutLoose(*video.Get());
}

TEST_F(FlvSourceShutdownTest, WaitsForAQueuedStartThatKeepsTheSourceAlive) {
    const Descriptor descriptor = describe(*source.Get());
    {
        const WorkItemHold hold;
        EXPECT_EQ(source->Start(descriptor.Get(), nullptr, Position(0).get()), S_OK);
        source.Reset();
        EXPECT_EQ(counter.count(), 3U);
        EXPECT_TRUE(events.take().empty());
    }
    EXPECT_TRUE(becomesTrue([this] { return counter.count() == 0; }));
    EXPECT_EQ(events.take().size(), 5U);
}

TEST_F(FlvSourceShutdownTest, IsWhatAStreamFindsWhoseSourceIsBeingDestroyed) {
    play();
    HRESULT result = S_OK;
    std::jthread releasing;
    {
        CallingToken token([&] { // under the source lock
            releasing = std::jthread([this] { source.Reset(); });
            EXPECT_TRUE(becomesTrue(
                [this] { return log.contains("Delete at Release. instance=class JY::Pictaro::Fs::FlvSourceImpl"); }));
            ComPtr<IMFMediaSource> found;
            result = video->GetMediaSource(found.GetAddressOf());
            EXPECT_EQ(found.Get(), nullptr);
        });
        EXPECT_EQ(video->RequestSample(&token), S_OK);
        releasing.join();
        EXPECT_EQ(result, MF_E_SHUTDOWN);
        expectCutLoose(*video.Get());
        video.Reset();
        EXPECT_TRUE(token.becomesUnreferenced());
    }
    audio.Reset();
}

/// An object that a client leaves in an event, whose end waits for a call of another thread.
class WaitingAtItsEnd final : public ClientObject<IUnknown> {
public:
    explicit WaitingAtItsEnd(std::function<void()> call) : call_(std::move(call)) {}
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = ClientObject::Release();
        if (left == 0) {
            hasReturned_ = returnsInTime(call_);
        }
        return left;
    }
    bool becomesReturned() const {
        return becomesTrue([this] { return hasReturned_.load(); });
    }

private:
    std::function<void()> call_;
    std::atomic<bool> hasReturned_{false};
};

void leaveInEvent(IMFMediaEventGenerator& generator, IUnknown& object) {
    PROPVARIANT value{};
    value.vt = VT_UNKNOWN;
    value.punkVal = &object; // not counted: the event takes a reference of its own
    ASSERT_EQ(generator.QueueEvent(MEExtendedType, GUID_NULL, S_OK, &value), S_OK);
}

TEST_F(FlvSourceShutdownTest, LetsGoOfClientsObjectsOutsideTheLock) {
    play();
    const auto call = [shared = source] { EXPECT_EQ(shared->Stop(), MF_E_SHUTDOWN); };
    WaitingAtItsEnd ofSource(call);
    WaitingAtItsEnd ofStream(call);
    leaveInEvent(*source.Get(), ofSource);
    leaveInEvent(*video.Get(), ofStream);
    EXPECT_EQ(source->Shutdown(), S_OK);
    EXPECT_TRUE(ofSource.becomesReturned());
    EXPECT_TRUE(ofStream.becomesReturned());
}

TEST_F(FlvSourceShutdownTest, IsNotNeededToLetGoOfClientsObjectsOutsideTheLock) {
    play();
    const auto call = [shared = audio] { EXPECT_EQ(shared->RequestSample(nullptr), MF_E_SHUTDOWN); };
    WaitingAtItsEnd ofSource(call);
    WaitingAtItsEnd ofStream(call);
    leaveInEvent(*source.Get(), ofSource);
    leaveInEvent(*video.Get(), ofStream);
    source.Reset();
    EXPECT_TRUE(ofSource.becomesReturned());
    EXPECT_TRUE(ofStream.becomesReturned());
}

TEST_F(FlvSourceShutdownTest, IsOutlivedThoughClientsObjectsFaultWhenTheyAreLetGo) {
    ASSERT_EQ(source->Shutdown(), S_OK);
    FaultyCallback object;
    EXPECT_EQ(source->BeginGetEvent(&object, &object), MF_E_SHUTDOWN);
    EXPECT_EQ(object.releases, 2U);
}

/// Two clients' objects that fault when they are let go, left in a queue of events.
class FaultyObjectsInAQueue {
public:
    explicit FaultyObjectsInAQueue(IMFMediaEventGenerator& generator) {
        for (FaultyCallback& object : objects_) {
            PROPVARIANT value{};
            value.vt = VT_UNKNOWN;
            value.punkVal = &object;
            EXPECT_EQ(generator.QueueEvent(MEExtendedType, GUID_NULL, S_OK, &value), S_OK);
        }
    }
    bool haveBeenLetGo() const { return objects_[0].releases == 1 && objects_[1].releases == 1; }

private:
    FaultyCallback objects_[2];
};

TEST_F(FlvSourceShutdownTest, IsNotNeededToOutliveClientsObjectsThatFault) {
    const FaultyObjectsInAQueue objects(*source.Get());
    source.Reset();
    EXPECT_TRUE(objects.haveBeenLetGo());
}

TEST_F(FlvSourceShutdownTest, OutlivesClientsObjectsThatFault) {
    const FaultyObjectsInAQueue objects(*source.Get());
    EXPECT_EQ(source->Shutdown(), S_OK);
    EXPECT_TRUE(objects.haveBeenLetGo());
    EXPECT_EQ(source->Shutdown(), MF_E_SHUTDOWN);
}

TEST_F(FlvSourceShutdownTest, OutlivesClientsObjectsThatFaultInAStreamsQueue) {
    play();
    const FaultyObjectsInAQueue objects(*audio.Get());
    EXPECT_EQ(source->Shutdown(), S_OK);
    EXPECT_TRUE(objects.haveBeenLetGo());
}

TEST_F(FlvSourceShutdownTest, IsSafeAgainstCallsOnOtherThreads) {
    for (unsigned round = 0; round < 20; ++round) {
        if (source == nullptr) {
            source = open(media());
        }
        play();
        const Descriptor descriptor = describe(*source.Get());
        {
            std::vector<std::jthread> clients;
            for (const Stream& stream : {audio, video}) {
                clients.emplace_back([stream] {
                    while (SUCCEEDED(stream->RequestSample(nullptr))) {
                    }
                });
            }
            clients.emplace_back([this, descriptor] {
                while (SUCCEEDED(source->Start(descriptor.Get(), nullptr, Position(0).get()))) {
                }
            });
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            EXPECT_EQ(source->Shutdown(), S_OK);
        }
        audio.Reset();
        video.Reset();
        source.Reset();
        ASSERT_TRUE(becomesTrue([this] { return counter.count() == 0; })); // queued starts have ended
    }
}

} // namespace
