#include "tests/source/SourceTest.h"

#include <mferror.h>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using namespace JY::Pictaro::Fs;
using namespace JY::Test;
using Microsoft::WRL::ComPtr;
using Texts = std::vector<std::string>;

/// Who waits for the source lock, which is also the streams', and who does not. The lock is held by a stream that is
/// sending a sample.
class FlvSourceLockTest : public SourceTest {
protected:
    void SetUp() override {
        settings.set(L"SeekByMetaData", 0);
        source = open(media());
        descriptor = describe(*source.Get());
        ASSERT_EQ(start(*source.Get(), Position(0)), S_OK);
        video = announcedStream(*source.Get(), videoId);
        events.take();
    }
    void TearDown() override {
        descriptor.Reset();
        video.Reset();
        source.Reset();
        EXPECT_TRUE(callback.becomesForgotten());
        SourceTest::TearDown();
    }

    /// Makes the call on another thread, once with the lock held. `whileHeld` is asked before it is given back.
    void callWhileTheLockIsHeld(const std::function<void()>& call, const std::function<void()>& whileHeld) {
        std::jthread other;
        CallingToken token([&] {
            other = std::jthread(call);
            whileHeld();
        });
        EXPECT_EQ(video->RequestSample(&token), S_OK);
        other.join();
        ComPtr<IMFMediaEvent> event; // holds the token
        while (SUCCEEDED(video->GetEvent(MF_EVENT_FLAG_NO_WAIT, event.ReleaseAndGetAddressOf()))) {
        }
        event.Reset();
        EXPECT_TRUE(token.becomesUnreferenced());
    }

    void expectToWait(const char* method, const std::function<void()>& call) {
        log.clear();
        std::atomic<bool> isDone{false};
        const auto whileHeld = [&] {
            EXPECT_TRUE(becomesTrue([&] { return log.contains(entryOf(method)); })) << method;
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            EXPECT_FALSE(isDone) << method;
        };
        callWhileTheLockIsHeld(
            [&] {
                call();
                isDone = true;
            },
            whileHeld);
        EXPECT_TRUE(isDone) << method;
    }

    void expectToPass(const char* method, const std::function<void()>& call) {
        std::atomic<bool> isDone{false};
        callWhileTheLockIsHeld(
            [&] {
                call();
                isDone = true;
            },
            [&] { EXPECT_TRUE(becomesTrue([&] { return isDone.load(); })) << method; });
    }

    static std::string entryOf(const char* method) {
        return std::string("ENTER: JY::Pictaro::Fs::FlvSourceImpl::") + method;
    }

    Source source;
    Stream video;
    Descriptor descriptor;
    ClientCallback callback;
};

TEST_F(FlvSourceLockTest, IsWaitedForByEveryMethodThatUsesWhatItGuards) {
    ClientAsyncResult result;
    expectToWait("QueueEvent", [&] { EXPECT_EQ(source->QueueEvent(MEError, GUID_NULL, S_OK, nullptr), S_OK); });
    expectToWait("GetEvent", [&] {
        ComPtr<IMFMediaEvent> event;
        EXPECT_EQ(source->GetEvent(MF_EVENT_FLAG_NO_WAIT, event.GetAddressOf()), S_OK);
    });
    expectToWait("BeginGetEvent", [&] { EXPECT_EQ(source->BeginGetEvent(&callback, nullptr), S_OK); });
    expectToWait("EndGetEvent", [&] {
        ComPtr<IMFMediaEvent> event;
        EXPECT_TRUE(FAILED(source->EndGetEvent(&result, event.GetAddressOf())));
    });
    expectToWait("CreatePresentationDescriptor", [&] {
        Descriptor another;
        EXPECT_EQ(source->CreatePresentationDescriptor(another.GetAddressOf()), S_OK);
    });
    expectToWait("Start", [&] { EXPECT_EQ(source->Start(descriptor.Get(), nullptr, Position(0).get()), S_OK); });
    EXPECT_TRUE(becomesTrue([this] { return log.contains("EXIT: JY::Pictaro::Fs::FlvSourceImpl::doStartAction"); }));
}

TEST_F(FlvSourceLockTest, IsWaitedForByTheStateEvenWhereItSendsNothing) {
    ASSERT_EQ(source->Stop(), S_OK);
    expectToWait("Stop", [&] { EXPECT_EQ(source->Stop(), S_OK); });
    expectToWait("Pause", [&] { EXPECT_EQ(source->Pause(), MF_E_INVALID_STATE_TRANSITION); });
}

TEST_F(FlvSourceLockTest, IsWaitedForByShutdown) {
    log.clear();
    std::jthread other;
    CallingToken token([&] {
        other = std::jthread([this] { EXPECT_EQ(source->Shutdown(), S_OK); });
        EXPECT_TRUE(becomesTrue([&] { return log.contains(entryOf("Shutdown")); }));
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        EXPECT_FALSE(log.contains("EXIT: JY::Pictaro::Fs::FlvSourceImpl::Shutdown"));
    });
    EXPECT_EQ(video->RequestSample(&token), S_OK); // which is sent before the end
    other.join();
    EXPECT_TRUE(token.becomesUnreferenced());
}

TEST_F(FlvSourceLockTest, IsWaitedForByWhatAStartDoesOnTheWorkQueue) {
    auto hold = std::make_unique<WorkItemHold>();
    ASSERT_EQ(source->Start(descriptor.Get(), nullptr, Position().get()), S_OK);
    const auto startOnTheQueue = [&] {
        hold.reset();
        EXPECT_TRUE(
            becomesTrue([this] { return log.contains("EXIT: JY::Pictaro::Fs::FlvSourceImpl::doStartAction"); }));
    };
    expectToWait("doStartAction", startOnTheQueue);
    EXPECT_EQ(events.take(), (Texts{"video MEMediaSample", "source MESourceStarted actual=0"}));
}

TEST_F(FlvSourceLockTest, IsNotNeededForWhatNeverChanges) {
    expectToPass("GetCharacteristics", [&] {
        DWORD characteristics = 0;
        EXPECT_EQ(source->GetCharacteristics(&characteristics), S_OK);
    });
    expectToPass("QueryInterface", [&] {
        ComPtr<IMFMediaSource> same;
        EXPECT_EQ(source->QueryInterface(IID_PPV_ARGS(same.GetAddressOf())), S_OK);
    });
}

TEST_F(FlvSourceLockTest, IsNotNeededForTheChecksOfAStart) {
    expectToPass("Start", [&] {
        EXPECT_EQ(source->Start(nullptr, nullptr, Position().get()), E_INVALIDARG);
        EXPECT_EQ(source->Start(descriptor.Get(), &MFMediaType_Video, Position().get()), E_FAIL);
    });
}

} // namespace
