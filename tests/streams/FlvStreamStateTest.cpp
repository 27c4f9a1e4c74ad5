// What a stream holds, in which order it does things and lets them go, and when it holds the lock.

#include "streams/FlvStream.h"
#include "tests/streams/MediaFoundationCalls.h"
#include "tests/streams/StreamTest.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <mutex>
#include <thread>

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro::Fs;
using Log2::Severity;
using Pictaro::ModuleUsageCounter;
using Pictaro::TimePosition;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

/// A lock that tells how often it has been taken and how often it is held.
class CountingLock final : public Lock {
public:
    void lock() override {
        lock_.lock();
        ++held_;
        ++taken_;
    }
    void unlock() override {
        --held_;
        lock_.unlock();
    }

    unsigned held() const { return held_; }
    /// Since the last call.
    unsigned takeTaken() { return taken_.exchange(0); }

private:
    LockImpl lock_;
    std::atomic<unsigned> held_ = 0;
    std::atomic<unsigned> taken_ = 0;
};

/// Passes on to a source and notes whether the lock was held whenever it was asked for something.
class WatchedSource final : public StreamSource {
public:
    WatchedSource(FakeSource& source, const CountingLock& lock) : source_(source), lock_(lock) {}

    SourceStateId getStateId() const override { return watched(source_.getStateId()); }
    MetaDatum getMetaDatum(const std::string& name) const override { return watched(source_.getMetaDatum(name)); }
    std::uint32_t getNumDumpBin() override { return watched(source_.getNumDumpBin()); }
    IMFMediaSource& mediaSource() override {
        watched(0);
        return source_.mediaSource();
    }

    mutable unsigned asked = 0;
    mutable unsigned askedWithoutLock = 0;

private:
    template <class Answer>
    Answer watched(Answer answer) const {
        ++asked;
        askedWithoutLock += lock_.held() == 0 ? 1 : 0;
        return answer;
    }

    FakeSource& source_;
    const CountingLock& lock_;
};

/// What has ended, in order.
std::vector<std::string> ended;

/// Tells when it is let go.
class Mourned final : public Pictaro::ComUnknownBase<IUnknown> {
public:
    Mourned(ModuleUsageCounter& counter, std::string name) : ComUnknownBase(counter), name_(std::move(name)) {}
    ~Mourned() override { ended.push_back(name_); }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override {
        AddRef();
        *object = static_cast<IUnknown*>(this);
        return S_OK;
    }

private:
    std::string name_;
};

class SilentCallback final : public Pictaro::ComUnknownBase<IMFAsyncCallback> {
public:
    explicit SilentCallback(ModuleUsageCounter& counter) : ComUnknownBase(counter) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override {
        AddRef();
        *object = static_cast<IMFAsyncCallback*>(this);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetParameters(DWORD*, DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult*) override { return S_OK; }
};

class FlvStreamStateTest : public StreamTest {
protected:
    FlvStreamStateTest() {
        parser.addHandler(*audio.Get());
        parser.addHandler(*video.Get());
    }

    void open(const FlvBuilder& file) { parser.open(file.build()); }
    ComPtr<IMFSample> createSample() {
        ComPtr<IMFSample> sample;
        EXPECT_EQ(MFCreateSample(sample.GetAddressOf()), S_OK);
        return sample;
    }
    /// The texts of the records but those of the trace, and the trace of one method.
    std::vector<std::string> recordsWithTraceOf(const std::string& method) const {
        std::vector<std::string> result;
        for (const std::string& message : log.messages(true)) {
            const bool isTrace = message.starts_with("ENTER: ") || message.starts_with("EXIT: ");
            if (!isTrace || message.ends_with("::" + method)) {
                result.push_back(message);
            }
        }
        return result;
    }

    ComPtr<FlvAudioStream> audio = createStream<FlvAudioStream>();
    ComPtr<FlvVideoStream> video = createStream<FlvVideoStream>();
};

FlvBuilder twoAudioFrames() {
    return FlvBuilder().aacSequenceHeader(0).aacRaw(0, {1, 2, 3}).aacRaw(23, {4, 5});
}

// What it holds

TEST_F(FlvStreamStateTest, CountsAsOneObjectOfTheModule) {
    ModuleUsageCounter own;
    ComPtr<FlvAudioStream> stream = Pictaro::createObject<FlvAudioStream>(own, *source, parser, lock);
    EXPECT_EQ(own.count(), 1U);
    stream->AddRef();
    EXPECT_EQ(own.count(), 1U);
    EXPECT_EQ(stream->Release(), 1U);
    stream.Reset();
    EXPECT_EQ(own.count(), 0U);
}

TEST_F(FlvStreamStateTest, HoldsNoReferenceToItsSource) {
    open(twoAudioFrames());
    audio->initialize();
    ASSERT_EQ(audio->RequestSample(nullptr), S_OK);
    source->mediaSource().AddRef();
    EXPECT_EQ(source->mediaSource().Release(), 1U);
}

TEST_F(FlvStreamStateTest, QueuesAsManySamplesAsItIsGiven) {
    constexpr ULONG count = 200'000;
    const ComPtr<IMFSample> sample = createSample();
    for (ULONG queued = 0; queued < count; ++queued) {
        audio->queueSample(sample, 0);
    }
    sample->AddRef();
    EXPECT_EQ(sample->Release(), count + 1);
    audio->purgeSamples();
    sample->AddRef();
    EXPECT_EQ(sample->Release(), 1U);
}

TEST_F(FlvStreamStateTest, LetsItsSamplesGoThenItsEventQueueThenItsDescriptorAndLeavesTheModuleLast) {
    ended.clear();
    ModuleUsageCounter own;
    own.setActions(nullptr, [] { ended.push_back("use of the module"); });
    ComPtr<FlvAudioStream> stream = Pictaro::createObject<FlvAudioStream>(own, *source, parser, lock);
    const auto mourned = [&](const char* name) { return Pictaro::createObject<Mourned>(counter, name); };

    for (const char* const name : {"first sample", "second sample"}) {
        const ComPtr<IMFSample> sample = createSample();
        ASSERT_EQ(sample->SetUnknown(MFSampleExtension_Token, mourned(name).Get()), S_OK);
        stream->queueSample(sample, 0);
    }
    PROPVARIANT value{};
    ComPtr<Mourned> inEvent = mourned("event queue");
    value.vt = VT_UNKNOWN;
    value.punkVal = inEvent.Get();
    ASSERT_EQ(stream->QueueEvent(MEStreamPaused, GUID_NULL, S_OK, &value), S_OK);
    ComPtr<IMFMediaType> type;
    ASSERT_EQ(MFCreateMediaType(type.GetAddressOf()), S_OK);
    ComPtr<IMFStreamDescriptor> descriptor;
    ASSERT_EQ(MFCreateStreamDescriptor(1, 1, type.GetAddressOf(), descriptor.GetAddressOf()), S_OK);
    ASSERT_EQ(descriptor->SetUnknown(MFSampleExtension_Token, mourned("descriptor").Get()), S_OK);
    stream->setStreamDescriptor(std::move(descriptor));

    inEvent.Reset();
    EXPECT_THAT(ended, ElementsAre());
    stream.Reset();
    EXPECT_THAT(ended, ElementsAre("first sample", "second sample", "event queue", "descriptor", "use of the module"));
}

TEST_F(FlvStreamStateTest, ShutdownLeavesTheEventQueueAlone) {
    std::promise<HRESULT> woken;
    std::future<HRESULT> result = woken.get_future();
    std::thread([stream = audio, promise = std::move(woken)]() mutable {
        ComPtr<IMFMediaEvent> event;
        promise.set_value(stream->GetEvent(0, event.GetAddressOf()));
    }).detach();
    while (!log.contains("ENTER: JY::Pictaro::Fs::FlvAudioStream::GetEvent")) {
        Sleep(1);
    }
    Sleep(50);
    audio->shutdown();
    EXPECT_EQ(result.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
    audio->detachFromSource();
    ASSERT_EQ(result.wait_for(std::chrono::seconds(10)), std::future_status::ready);
}

// Requests

TEST_F(FlvStreamStateTest, RecordsTheTokenBeforeItRefusesForTheShutdown) {
    audio->shutdown();
    EXPECT_EQ(audio->RequestSample(nullptr), MF_E_SHUTDOWN);
    const auto records = log.messages();
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0], "pToken=null");
    EXPECT_THAT(records[1], HasSubstr("checkShutdown"));
}

TEST_F(FlvStreamStateTest, IsShutDownEvenWhileTheSourceIsPaused) {
    source->state = SourceStateId::paused;
    audio->shutdown();
    EXPECT_EQ(audio->RequestSample(nullptr), MF_E_SHUTDOWN);
}

TEST_F(FlvStreamStateTest, DropsARequestWhileTheSourceIsPausedEvenWithASampleInItsQueue) {
    audio->queueSample(createSample(), 0);
    source->state = SourceStateId::paused;
    EXPECT_EQ(audio->RequestSample(nullptr), S_OK);
    EXPECT_THAT(eventTypes(*audio.Get()), ElementsAre());
    source->state = SourceStateId::started;
    EXPECT_EQ(audio->RequestSample(nullptr), S_OK);
    EXPECT_THAT(eventTypes(*audio.Get()), ElementsAre(MEMediaSample));
}

TEST_F(FlvStreamStateTest, SendsASampleWithoutAnExtendedTypeAndWithSuccess) {
    const ComPtr<IMFSample> sample = createSample();
    audio->queueSample(sample, 0);
    ASSERT_EQ(audio->RequestSample(nullptr), S_OK);
    const ComPtr<IMFMediaEvent> event = nextEvent(*audio.Get());
    ASSERT_NE(event.Get(), nullptr);
    EXPECT_EQ(typeOf(*event.Get()), MEMediaSample);
    EXPECT_EQ(sampleOf(*event.Get()).Get(), sample.Get());
    GUID extendedType = MFMediaType_Audio;
    EXPECT_EQ(event->GetExtendedType(&extendedType), S_OK);
    EXPECT_EQ(extendedType, GUID_NULL);
    HRESULT status = E_FAIL;
    EXPECT_EQ(event->GetStatus(&status), S_OK);
    EXPECT_EQ(status, S_OK);
}

TEST_F(FlvStreamStateTest, SendsNothingWhenTheSampleDoesNotTakeTheToken) {
    const MediaFoundationFault fault(MediaFoundationCall::setUnknown, E_UNEXPECTED);
    audio->queueSample(createSample(), 0);
    const ComPtr<Mourned> token = Pictaro::createObject<Mourned>(counter, "token");
    EXPECT_EQ(audio->RequestSample(token.Get()), E_UNEXPECTED);
    EXPECT_THAT(eventTypes(*audio.Get()), ElementsAre());
}

TEST_F(FlvStreamStateTest, EndsItselfBeforeThePresentation) {
    open(FlvBuilder().onMetaData());
    EXPECT_EQ(audio->RequestSample(nullptr), MF_E_END_OF_STREAM);
    EXPECT_THAT(recordsWithTraceOf("QueueEvent"),
                ElementsAre("pToken=null", "ENTER: JY::Pictaro::Fs::FlvAudioStream::QueueEvent",
                            "EXIT: JY::Pictaro::Fs::FlvAudioStream::QueueEvent"));
    const ComPtr<IMFMediaEvent> event = nextEvent(*audio.Get());
    ASSERT_NE(event.Get(), nullptr);
    EXPECT_EQ(typeOf(*event.Get()), MEEndOfStream);
    GUID extendedType = MFMediaType_Audio;
    EXPECT_EQ(event->GetExtendedType(&extendedType), S_OK);
    EXPECT_EQ(extendedType, GUID_NULL);
    HRESULT status = E_FAIL;
    EXPECT_EQ(event->GetStatus(&status), S_OK);
    EXPECT_EQ(status, S_OK);
    EXPECT_EQ(source->mediaSource().events.size(), 1U);
}

TEST_F(FlvStreamStateTest, EndsNoPresentationWhenItsOwnEndIsNotTaken) {
    const MediaFoundationFault fault(MediaFoundationCall::queueEventParamVar, E_UNEXPECTED);
    const ComPtr<FlvAudioStream> stream = createStream<FlvAudioStream>();
    open(FlvBuilder().onMetaData());
    EXPECT_EQ(stream->RequestSample(nullptr), E_UNEXPECTED);
    EXPECT_TRUE(source->mediaSource().events.empty());
}

TEST_F(FlvStreamStateTest, EndsThePresentationForAnyOfItsStreams) {
    open(twoAudioFrames());
    EXPECT_EQ(video->RequestSample(nullptr), MF_E_END_OF_STREAM);
    EXPECT_THAT(eventTypes(*video.Get()), ElementsAre(MEEndOfStream));
    EXPECT_THAT(eventTypes(*audio.Get()), ElementsAre()) << "which has samples left";
    EXPECT_EQ(source->mediaSource().events.size(), 1U);
    EXPECT_EQ(audio->RequestSample(nullptr), S_OK);
    EXPECT_EQ(audio->RequestSample(nullptr), S_OK);
}

// The first second

TEST_F(FlvStreamStateTest, DoesNotBeginToInitializeBehindTheFirstSecond) {
    open(FlvBuilder().avcSequenceHeader(0).aacSequenceHeader(0).aacRaw(0, {1}));
    parser.position = TimePosition(1'000'001);
    EXPECT_THAT(thrown<ErrorException>([&] { audio->initialize(); }), StartsWith("No audio tag until stream start."));
    EXPECT_THAT(thrown<ErrorException>([&] { video->initialize(); }), StartsWith("No video tag until stream start."));
    EXPECT_EQ(parser.reads, 0U);
    parser.position = TimePosition(1'000'000);
    video->initialize();
    audio->initialize();
    EXPECT_EQ(parser.reads, 2U);
}

TEST_F(FlvStreamStateTest, IsInitializedBehindTheFirstSecondWhenItHasItsDescriptor) {
    open(FlvBuilder().avcSequenceHeader(0).aacSequenceHeader(0).aacRaw(0, {1}));
    audio->initialize();
    parser.position = TimePosition(2'000'000);
    EXPECT_NO_THROW(audio->initialize());
    EXPECT_NO_THROW(video->initialize());
    EXPECT_EQ(parser.reads, 2U);
}

TEST_F(FlvStreamStateTest, RefusesTheHeaderBeforeItLooksForADescriptorOfVideo) {
    open(FlvBuilder().avcSequenceHeader(0).avcEndOfSequence(0));
    video->initialize();
    parser.video = false;
    EXPECT_THAT(thrown<ErrorException>([&] { video->initialize(); }),
                StartsWith("According to header, video is not present."));
}

// The lock

class FlvStreamLockTest : public StreamTest {
protected:
    FlvStreamLockTest() { parser.addHandler(*stream.Get()); }
    ~FlvStreamLockTest() override { stream->detachFromSource(); }

    void open(const FlvBuilder& file) { parser.open(file.build()); }
    /// The call takes the lock, and does not keep it.
    void expectLocked(const char* name, const std::function<void()>& call) {
        countingLock->takeTaken();
        call();
        EXPECT_GE(countingLock->takeTaken(), 1U) << name;
        EXPECT_EQ(countingLock->held(), 0U) << name;
    }
    void expectNotLocked(const char* name, const std::function<void()>& call) {
        countingLock->takeTaken();
        call();
        EXPECT_EQ(countingLock->takeTaken(), 0U) << name;
    }
    void expectRequest(const char* what, HRESULT expected) {
        expectLocked(what, [&] { EXPECT_EQ(stream->RequestSample(nullptr), expected) << what; });
    }

    boost::shared_ptr<CountingLock> countingLock = boost::make_shared<CountingLock>();
    WatchedSource watched{*source, *countingLock};
    ComPtr<FlvAudioStream> stream =
        Pictaro::createObject<FlvAudioStream>(counter, watched, parser, boost::shared_ptr<Lock>(countingLock));
};

TEST_F(FlvStreamLockTest, IsTakenByEachMethodAndLetGo) {
    ComPtr<IMFMediaEvent> event;
    expectLocked("GetEvent", [&] {
        EXPECT_EQ(stream->GetEvent(MF_EVENT_FLAG_NO_WAIT, event.GetAddressOf()), MF_E_NO_EVENTS_AVAILABLE);
    });
    const ComPtr<SilentCallback> callback = Pictaro::createObject<SilentCallback>(counter);
    expectLocked("BeginGetEvent", [&] { EXPECT_EQ(stream->BeginGetEvent(callback.Get(), nullptr), S_OK); });
    ComPtr<IMFAsyncResult> result;
    ASSERT_EQ(MFCreateAsyncResult(nullptr, callback.Get(), nullptr, result.GetAddressOf()), S_OK);
    expectLocked("EndGetEvent", [&] { EXPECT_LT(stream->EndGetEvent(result.Get(), event.GetAddressOf()), 0); });
    expectLocked("QueueEvent", [&] { EXPECT_EQ(stream->QueueEvent(MEStreamPaused, GUID_NULL, S_OK, nullptr), S_OK); });
    ComPtr<IMFMediaSource> mediaSource;
    expectLocked("GetMediaSource", [&] { EXPECT_EQ(stream->GetMediaSource(mediaSource.GetAddressOf()), S_OK); });
    ComPtr<IMFStreamDescriptor> descriptor;
    expectLocked("GetStreamDescriptor",
                 [&] { EXPECT_EQ(stream->GetStreamDescriptor(descriptor.GetAddressOf()), MF_E_NOT_INITIALIZED); });
    open(twoAudioFrames());
    expectLocked("initialize", [&] { stream->initialize(); });
    expectLocked("GetStreamDescriptor, with one",
                 [&] { EXPECT_EQ(stream->GetStreamDescriptor(descriptor.GetAddressOf()), S_OK); });
    expectLocked("shutdown", [&] { stream->shutdown(); });
    expectRequest("RequestSample, shut down", MF_E_SHUTDOWN);
    expectLocked("detachFromSource", [&] { stream->detachFromSource(); });
}

TEST_F(FlvStreamLockTest, IsLetGoHoweverARequestEnds) {
    open(twoAudioFrames());
    expectRequest("a sample", S_OK);
    expectRequest("the end of the file", MF_E_END_OF_STREAM);
    source->state = SourceStateId::paused;
    expectRequest("paused", S_OK);
    source->state = SourceStateId::started;
    expectRequest("the sample of the last tag", S_OK);
    source->mediaSource().queueEventResult = E_UNEXPECTED;
    open(FlvBuilder().onMetaData());
    expectRequest("an end that the source does not take", E_UNEXPECTED);
    open(FlvBuilder().aacPacket(0, 2, {1}));
    expectRequest("bad data", E_FAIL);
    parser.beforeRead = [] { throw 7; };
    expectRequest("something else", E_FAIL);
    EXPECT_GT(watched.asked, 0U);
    EXPECT_EQ(watched.askedWithoutLock, 0U);
}

TEST_F(FlvStreamLockTest, IsLetGoWhenInitializingFails) {
    open(FlvBuilder().aacPacket(0, 2, {1}));
    expectLocked("bad data", [&] { EXPECT_THROW(stream->initialize(), ErrorException); });
    parser.audio = false;
    expectLocked("no audio", [&] { EXPECT_THROW(stream->initialize(), ErrorException); });
}

TEST_F(FlvStreamLockTest, IsHeldWheneverTheSourceIsAsked) {
    open(twoAudioFrames());
    stream->initialize();
    EXPECT_EQ(stream->RequestSample(nullptr), S_OK);
    EXPECT_EQ(stream->RequestSample(nullptr), MF_E_END_OF_STREAM);
    ComPtr<IMFMediaSource> mediaSource;
    EXPECT_EQ(stream->GetMediaSource(mediaSource.GetAddressOf()), S_OK);
    EXPECT_GE(watched.asked, 5U);
    EXPECT_EQ(watched.askedWithoutLock, 0U);
}

TEST_F(FlvStreamLockTest, IsNotTakenForWhatDoesNotNeedIt) {
    expectNotLocked("getStreamId", [&] { EXPECT_EQ(stream->getStreamId(), 1001U); });
    expectNotLocked("isActivated", [&] { EXPECT_FALSE(stream->isActivated()); });
    expectNotLocked("setActivated", [&] { stream->setActivated(); });
    expectNotLocked("hasStreamDescriptor", [&] { EXPECT_FALSE(stream->hasStreamDescriptor()); });
    expectNotLocked("checkShutdown", [&] { stream->checkShutdown(); });
    expectNotLocked("setStreamDescriptor", [&] { stream->setStreamDescriptor(nullptr); });
    expectNotLocked("AddRef", [&] { EXPECT_EQ(stream->AddRef(), 2U); });
    expectNotLocked("Release", [&] { EXPECT_EQ(stream->Release(), 1U); });
}

} // namespace
