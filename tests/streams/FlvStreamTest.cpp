#include "streams/FlvStream.h"

#include "tests/streams/MediaFoundationCalls.h"
#include "tests/streams/StreamTest.h"
#include "tests/support/Faults.h"
#include "tests/support/TimeLimit.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/FatalException.h"

#include <boost/weak_ptr.hpp>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro::Fs;
using Log2::Severity;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

const IID unknownInterface = {0x01234567, 0x89AB, 0xCDEF, {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}};

/// A client's callback: keeps the result that it is invoked with.
class Callback final : public Pictaro::ComUnknownBase<IMFAsyncCallback> {
public:
    explicit Callback(Pictaro::ModuleUsageCounter& counter) : ComUnknownBase(counter) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override {
        AddRef();
        *object = static_cast<IMFAsyncCallback*>(this);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetParameters(DWORD*, DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult* result) override {
        invoked.set_value(result);
        return S_OK;
    }

    std::promise<ComPtr<IMFAsyncResult>> invoked;
};

/// An object without a behaviour, as a request's token or a caller's state.
class Token final : public Pictaro::ComUnknownBase<IUnknown> {
public:
    explicit Token(Pictaro::ModuleUsageCounter& counter) : ComUnknownBase(counter) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
        *object = nullptr;
        if (id != IID_IUnknown) {
            return E_NOINTERFACE;
        }
        AddRef();
        *object = static_cast<IUnknown*>(this);
        return S_OK;
    }
};

class FlvStreamTest : public StreamTest {
protected:
    FlvStreamTest() {
        parser.addHandler(*audio.Get());
        parser.addHandler(*video.Get());
    }

    /// Starts the parser at the first tag of a file.
    void open(const FlvBuilder& file) { parser.open(file.build()); }
    /// Cuts the streams loose and ends what they belonged to.
    void endSource() {
        audio->detachFromSource();
        video->detachFromSource();
        parser.clearHandler();
        source.reset();
    }
    /// Whether another thread can take the lock.
    bool lockIsFree() {
        return returnsInTime([shared = lock] { const std::lock_guard guard(*shared); });
    }
    /// The text of the one error record.
    std::string error() {
        for (const CapturedRecord& record : log.records()) {
            if (record.severity == Severity::error) {
                return record.message;
            }
        }
        return {};
    }
    static std::string apiError(const char* call, HRESULT code) {
        TextBuffer text;
        text << "Exception caught. class JY::ApiErrorException, " << call << ": (0x"
             << Hex{static_cast<std::uint32_t>(code)} << ';';
        return text.str();
    }
    ComPtr<IMFSample> nextSample() {
        const ComPtr<IMFMediaEvent> event = nextEvent(*audio.Get());
        EXPECT_NE(event.Get(), nullptr);
        return event != nullptr ? sampleOf(*event.Get()) : nullptr;
    }

    ComPtr<FlvAudioStream> audio = createStream<FlvAudioStream>();
    ComPtr<FlvVideoStream> video = createStream<FlvVideoStream>();
};

/// A client's pointer that leads nowhere.
template <class T>
T* nowhere() {
    return reinterpret_cast<T*>(std::uintptr_t{8});
}

FlvBuilder twoAudioFrames() {
    return FlvBuilder().aacSequenceHeader(0).aacRaw(0, {1, 2, 3}).aacRaw(23, {4, 5});
}

// QueryInterface

TEST_F(FlvStreamTest, AnswersForItsInterfacesAndRecordsThem) {
    const struct {
        IID id;
        const char* record;
    } interfaces[] = {{IID_IUnknown, "QI(IUnknown)"},
                      {IID_IMFMediaEventGenerator, "QI(IMFMediaEventGenerator)"},
                      {IID_IMFMediaStream, "QI(IMFMediaStream)"}};
    for (const auto& [id, record] : interfaces) {
        ComPtr<IUnknown> object;
        ASSERT_EQ(audio->QueryInterface(id, reinterpret_cast<void**>(object.GetAddressOf())), S_OK);
        EXPECT_EQ(object.Get(), static_cast<IMFMediaStream*>(audio.Get()));
        EXPECT_EQ(log.count(Severity::info, record), 1U);
    }
    EXPECT_EQ(audio->AddRef(), 2U);
    EXPECT_EQ(audio->Release(), 1U);
}

TEST_F(FlvStreamTest, RefusesOtherInterfacesByTheirIdentifier) {
    void* object = this;
    EXPECT_EQ(audio->QueryInterface(unknownInterface, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(log.count(Severity::info, "QI-None(01234567-89ab-cdef-0123-456789abcdef)"), 1U);
}

TEST_F(FlvStreamTest, RecordsNullPointersByTheirNamesAsFatalAndAsksForASnapshotEach) {
    ComPtr<IMFMediaEvent> event;
    const auto expectRefused = [&](HRESULT result, const char* name) {
        EXPECT_EQ(result, E_INVALIDARG);
        EXPECT_EQ(log.count(Severity::fatal, std::string(name) + " is NULL."), 1U) << name;
        EXPECT_EQ(log.records().size(), 3U) << "ENTER, the record and EXIT";
        EXPECT_EQ(log.records()[1].file, "FlvStream");
        log.clear();
    };
    expectRefused(audio->QueryInterface(IID_IUnknown, nullptr), "ppvObject");
    expectRefused(audio->GetEvent(0, nullptr), "ppEvent");
    expectRefused(audio->BeginGetEvent(nullptr, nullptr), "pCallback");
    expectRefused(audio->EndGetEvent(nullptr, event.GetAddressOf()), "pResult");
    ComPtr<IMFAsyncResult> result;
    ASSERT_EQ(MFCreateAsyncResult(nullptr, nullptr, nullptr, result.GetAddressOf()), S_OK);
    expectRefused(audio->EndGetEvent(result.Get(), nullptr), "ppEvent");
    expectRefused(audio->GetMediaSource(nullptr), "ppMediaSource");
    expectRefused(audio->GetStreamDescriptor(nullptr), "ppStreamDescriptor");
    EXPECT_EQ(LogCapture::snapshots(), 7U);
}

TEST_F(FlvStreamTest, TracesEachMethodUnderItsRunTimeClass) {
    const auto expectTraced = [&](const char* method, const auto& call) {
        open(twoAudioFrames());
        log.clear();
        call();
        const std::string name = std::string("JY::Pictaro::Fs::FlvAudioStream::") + method;
        ASSERT_GE(log.records().size(), 2U) << method;
        EXPECT_EQ(log.records().front().message, "ENTER: " + name);
        EXPECT_EQ(log.records().back().message, "EXIT: " + name);
        EXPECT_EQ(log.records().front().severity, Severity::trace);
    };
    expectTraced("QueryInterface", [&] { audio->QueryInterface(IID_IUnknown, nullptr); });
    expectTraced("GetEvent", [&] { audio->GetEvent(0, nullptr); });
    expectTraced("BeginGetEvent", [&] { audio->BeginGetEvent(nullptr, nullptr); });
    expectTraced("EndGetEvent", [&] { audio->EndGetEvent(nullptr, nullptr); });
    expectTraced("QueueEvent", [&] { audio->QueueEvent(MEStreamPaused, GUID_NULL, S_OK, nullptr); });
    expectTraced("GetMediaSource", [&] { audio->GetMediaSource(nullptr); });
    expectTraced("GetStreamDescriptor", [&] { audio->GetStreamDescriptor(nullptr); });
    expectTraced("RequestSample", [&] { audio->RequestSample(nullptr); });
    expectTraced("initialize", [&] { audio->initialize(); });
    log.clear();
    video->GetMediaSource(nullptr);
    EXPECT_EQ(log.records().front().message, "ENTER: JY::Pictaro::Fs::FlvVideoStream::GetMediaSource");
}

TEST_F(FlvStreamTest, LogsItsClassWhenTheLastReferenceGoes) {
    parser.clearHandler();
    audio.Reset();
    EXPECT_TRUE(log.contains("Delete at Release. instance=class JY::Pictaro::Fs::FlvAudioStream"));
}

// Events

TEST_F(FlvStreamTest, DeliversQueuedEventsInOrder) {
    ASSERT_EQ(audio->QueueEvent(MEStreamStarted, unknownInterface, S_FALSE, nullptr), S_OK);
    ASSERT_EQ(audio->QueueEvent(MEStreamPaused, GUID_NULL, S_OK, nullptr), S_OK);
    const ComPtr<IMFMediaEvent> first = nextEvent(*audio.Get());
    EXPECT_EQ(typeOf(*first.Get()), MEStreamStarted);
    GUID extendedType{};
    EXPECT_EQ(first->GetExtendedType(&extendedType), S_OK);
    EXPECT_EQ(extendedType, unknownInterface);
    HRESULT status = S_OK;
    EXPECT_EQ(first->GetStatus(&status), S_OK);
    EXPECT_EQ(status, S_FALSE);
    EXPECT_THAT(eventTypes(*audio.Get()), ElementsAre(MEStreamPaused));
    EXPECT_EQ(nextEvent(*video.Get()).Get(), nullptr);
}

TEST_F(FlvStreamTest, QueuesEventsWithATimeOrWithoutAValue) {
    ASSERT_EQ(audio->queueEvent(MEStreamStarted, 123'456'789'012), S_OK);
    ASSERT_EQ(audio->queueEvent(MEStreamStopped), S_OK);
    const ComPtr<IMFMediaEvent> started = nextEvent(*audio.Get());
    EXPECT_EQ(typeOf(*started.Get()), MEStreamStarted);
    PROPVARIANT value{};
    ASSERT_EQ(started->GetValue(&value), S_OK);
    EXPECT_EQ(value.vt, VT_I8);
    EXPECT_EQ(value.hVal.QuadPart, 123'456'789'012);
    const ComPtr<IMFMediaEvent> stopped = nextEvent(*audio.Get());
    EXPECT_EQ(typeOf(*stopped.Get()), MEStreamStopped);
    ASSERT_EQ(stopped->GetValue(&value), S_OK);
    EXPECT_EQ(value.vt, VT_EMPTY);
}

TEST_F(FlvStreamTest, RaisesAFailedGetEvent) {
    ComPtr<IMFMediaEvent> event;
    EXPECT_EQ(audio->GetEvent(MF_EVENT_FLAG_NO_WAIT, event.GetAddressOf()), MF_E_NO_EVENTS_AVAILABLE);
    EXPECT_THAT(error(), HasSubstr(apiError("GetEvent", MF_E_NO_EVENTS_AVAILABLE)));
}

TEST_F(FlvStreamTest, RaisesAnEventThatItsQueueDoesNotTake) {
    const MediaFoundationFault fault(MediaFoundationCall::queueEventParamVar, E_UNEXPECTED);
    const ComPtr<FlvAudioStream> stream = createStream<FlvAudioStream>();
    EXPECT_EQ(stream->QueueEvent(MEStreamPaused, GUID_NULL, S_OK, nullptr), E_UNEXPECTED);
    EXPECT_THAT(error(), HasSubstr(apiError("QueueEventParamVar", E_UNEXPECTED)));
    EXPECT_TRUE(lockIsFree());
}

TEST_F(FlvStreamTest, RaisesAnEventQueueThatCannotBeMade) {
    const ULONG before = counter.count();
    const MediaFoundationFault fault(MediaFoundationCall::createEventQueue, E_UNEXPECTED);
    EXPECT_EQ(thrownIn<ApiErrorException>([&] { createStream<FlvAudioStream>(); }),
              "MFCreateEventQueue: (0x8000ffff) @FlvStream");
    EXPECT_EQ(counter.count(), before);
}

TEST_F(FlvStreamTest, WaitsForAnEventWithoutHoldingTheLock) {
    ComPtr<IMFMediaEvent> event;
    std::thread waiting([&] { EXPECT_EQ(audio->GetEvent(0, event.GetAddressOf()), S_OK); });
    while (!log.contains("ENTER: JY::Pictaro::Fs::FlvAudioStream::GetEvent")) {
        Sleep(1);
    }
    Sleep(50);
    EXPECT_TRUE(lockIsFree());
    EXPECT_EQ(audio->queueEvent(MEStreamPaused), S_OK);
    waiting.join();
    ASSERT_NE(event.Get(), nullptr);
    EXPECT_EQ(typeOf(*event.Get()), MEStreamPaused);
}

TEST_F(FlvStreamTest, DeliversAnEventThroughACallback) {
    const ComPtr<Callback> callback = Pictaro::createObject<Callback>(counter);
    const ComPtr<Token> state = Pictaro::createObject<Token>(counter);
    auto invoked = callback->invoked.get_future();
    ASSERT_EQ(audio->BeginGetEvent(callback.Get(), state.Get()), S_OK);
    ASSERT_EQ(audio->queueEvent(MEStreamPaused), S_OK);
    ASSERT_EQ(invoked.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    const ComPtr<IMFAsyncResult> result = invoked.get();
    ComPtr<IMFMediaEvent> event;
    ASSERT_EQ(audio->EndGetEvent(result.Get(), event.GetAddressOf()), S_OK);
    EXPECT_EQ(typeOf(*event.Get()), MEStreamPaused);
    ComPtr<IUnknown> carried;
    EXPECT_EQ(result->GetState(carried.GetAddressOf()), S_OK);
    EXPECT_EQ(carried.Get(), state.Get());
}

TEST_F(FlvStreamTest, RefusesASecondWaitingCallbackAsTheEventQueueDoes) {
    const ComPtr<Callback> first = Pictaro::createObject<Callback>(counter);
    const ComPtr<Callback> second = Pictaro::createObject<Callback>(counter);
    auto invoked = first->invoked.get_future();
    ASSERT_EQ(audio->BeginGetEvent(first.Get(), nullptr), S_OK);
    EXPECT_EQ(audio->BeginGetEvent(second.Get(), nullptr), MF_E_MULTIPLE_SUBSCRIBERS);
    ASSERT_EQ(audio->queueEvent(MEStreamPaused), S_OK);
    ASSERT_EQ(invoked.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    ComPtr<IMFMediaEvent> event;
    EXPECT_EQ(audio->EndGetEvent(invoked.get().Get(), event.GetAddressOf()), S_OK);
}

// Source, descriptor, identifier

TEST_F(FlvStreamTest, HandsOutItsSource) {
    ComPtr<IMFMediaSource> mediaSource;
    ASSERT_EQ(audio->GetMediaSource(mediaSource.GetAddressOf()), S_OK);
    EXPECT_EQ(mediaSource.Get(), &source->mediaSource());
}

TEST_F(FlvStreamTest, RaisesASourceThatCannotBeHad) {
    source->mediaSource().queryResult = E_ACCESSDENIED;
    ComPtr<IMFMediaSource> mediaSource;
    EXPECT_EQ(audio->GetMediaSource(mediaSource.GetAddressOf()), E_ACCESSDENIED);
    EXPECT_THAT(error(), HasSubstr(apiError("QueryInterface", E_ACCESSDENIED)));
}

TEST_F(FlvStreamTest, HandsOutTheDescriptorThatItHolds) {
    open(twoAudioFrames());
    ASSERT_EQ(audio->RequestSample(nullptr), S_OK);
    EXPECT_TRUE(audio->hasStreamDescriptor());
    ComPtr<IMFStreamDescriptor> descriptor;
    ASSERT_EQ(audio->GetStreamDescriptor(descriptor.GetAddressOf()), S_OK);
    DWORD id = 0;
    EXPECT_EQ(descriptor->GetStreamIdentifier(&id), S_OK);
    EXPECT_EQ(id, 1001U);
}

TEST_F(FlvStreamTest, HasNoDescriptorToHandOutBeforeItsFirstTag) {
    EXPECT_FALSE(audio->hasStreamDescriptor());
    ComPtr<IMFStreamDescriptor> descriptor;
    EXPECT_EQ(audio->GetStreamDescriptor(descriptor.GetAddressOf()), MF_E_NOT_INITIALIZED);
    EXPECT_EQ(descriptor.Get(), nullptr);
}

TEST_F(FlvStreamTest, ReplacesItsDescriptorAndReleasesTheOneBefore) {
    ComPtr<IMFMediaType> type;
    ASSERT_EQ(MFCreateMediaType(type.GetAddressOf()), S_OK);
    ComPtr<IMFStreamDescriptor> descriptors[2];
    for (auto& descriptor : descriptors) {
        ASSERT_EQ(MFCreateStreamDescriptor(1, 1, type.GetAddressOf(), descriptor.GetAddressOf()), S_OK);
        audio->setStreamDescriptor(descriptor);
        audio->setStreamDescriptor(descriptor);
    }
    ComPtr<IMFStreamDescriptor> current;
    ASSERT_EQ(audio->GetStreamDescriptor(current.GetAddressOf()), S_OK);
    EXPECT_EQ(current.Get(), descriptors[1].Get());
    descriptors[0]->AddRef();
    EXPECT_EQ(descriptors[0]->Release(), 1U);
    descriptors[1]->AddRef();
    EXPECT_EQ(descriptors[1]->Release(), 3U);
}

TEST_F(FlvStreamTest, SurvivesPointersThatLeadNowhere) {
    open(twoAudioFrames());
    ASSERT_EQ(audio->RequestSample(nullptr), S_OK);
    ComPtr<IMFStreamDescriptor> descriptor;
    ASSERT_EQ(audio->GetStreamDescriptor(descriptor.GetAddressOf()), S_OK);
    descriptor->AddRef();
    const ULONG references = descriptor->Release();
    const ReadOnlyPage page;
    EXPECT_EQ(audio->GetStreamDescriptor(reinterpret_cast<IMFStreamDescriptor**>(page.get())), E_FAIL);
    EXPECT_EQ(audio->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(page.get())), E_FAIL);
    descriptor->AddRef();
    EXPECT_EQ(descriptor->Release(), references);
    EXPECT_TRUE(log.contains("ACCESS_VIOLATION"));
    EXPECT_TRUE(lockIsFree());
}

TEST_F(FlvStreamTest, SurvivesABadToken) {
    open(twoAudioFrames().aacRaw(46, {6}).aacRaw(69, {7}));
    EXPECT_EQ(audio->RequestSample(nowhere<IUnknown>()), E_FAIL);
    EXPECT_TRUE(log.contains("ACCESS_VIOLATION"));
    EXPECT_TRUE(lockIsFree());
    EXPECT_THAT(eventTypes(*audio.Get()), ElementsAre());
    ASSERT_TRUE(returnsInTime([stream = audio] { stream->RequestSample(nullptr); }));
    EXPECT_THAT(eventTypes(*audio.Get()), ElementsAre(MEMediaSample));
}

TEST_F(FlvStreamTest, EventQueueStaysUsableAfterBadPointers) {
    const ComPtr<Callback> callback = Pictaro::createObject<Callback>(counter);
    ComPtr<IMFAsyncResult> result;
    ASSERT_EQ(MFCreateAsyncResult(nullptr, callback.Get(), nullptr, result.GetAddressOf()), S_OK);
    ASSERT_EQ(audio->queueEvent(MEStreamPaused), S_OK);
    EXPECT_EQ(audio->GetEvent(MF_EVENT_FLAG_NO_WAIT, nowhere<IMFMediaEvent*>()), E_FAIL);
    EXPECT_EQ(audio->BeginGetEvent(nowhere<IMFAsyncCallback>(), nullptr), E_FAIL);
    EXPECT_EQ(audio->BeginGetEvent(callback.Get(), nowhere<IUnknown>()), E_FAIL);
    EXPECT_LT(audio->EndGetEvent(nowhere<IMFAsyncResult>(), nowhere<IMFMediaEvent*>()), 0);
    EXPECT_LT(audio->EndGetEvent(result.Get(), nowhere<IMFMediaEvent*>()), 0);
    eventTypes(*audio.Get());
    ASSERT_TRUE(returnsInTime([stream = audio] {
        stream->queueEvent(MEStreamStopped);
        ComPtr<IMFMediaEvent> event;
        stream->GetEvent(0, event.GetAddressOf());
        if (event != nullptr) {
            stream->queueEvent(typeOf(*event.Get()));
        }
    }));
    EXPECT_THAT(eventTypes(*audio.Get()), ElementsAre(MEStreamStopped));
    EXPECT_TRUE(lockIsFree());
}

TEST_F(FlvStreamTest, KnowsItsIdentifier) {
    EXPECT_EQ(audio->getStreamId(), 1001U);
    EXPECT_EQ(video->getStreamId(), 1002U);
}

TEST_F(FlvStreamTest, IsNotActivatedUntilToldSo) {
    EXPECT_FALSE(audio->isActivated());
    audio->setActivated();
    EXPECT_TRUE(audio->isActivated());
}

// RequestSample

TEST_F(FlvStreamTest, DeliversSamplesInTheOrderOfTheFile) {
    open(twoAudioFrames().aacRaw(46, {6}));
    EXPECT_EQ(audio->RequestSample(nullptr), S_OK);
    EXPECT_EQ(audio->RequestSample(nullptr), S_OK);
    EXPECT_EQ(contentOf(*nextSample().Get()), (SampleContent{{1, 2, 3}, 0, 0, false}));
    EXPECT_EQ(contentOf(*nextSample().Get()), (SampleContent{{4, 5}, 230'000, 230'000, false}));
    EXPECT_EQ(nextEvent(*audio.Get()).Get(), nullptr);
}

TEST_F(FlvStreamTest, ReadsNoFurtherThanTheRequestNeeds) {
    open(twoAudioFrames().aacRaw(46, {6}));
    ASSERT_EQ(audio->RequestSample(nullptr), S_OK);
    EXPECT_EQ(parser.reads, 2U);
}

TEST_F(FlvStreamTest, PutsTheTokenOnTheSample) {
    open(twoAudioFrames());
    const ComPtr<Token> token = Pictaro::createObject<Token>(counter);
    ASSERT_EQ(audio->RequestSample(token.Get()), S_OK);
    ComPtr<IUnknown> carried;
    ASSERT_EQ(nextSample()->GetUnknown(MFSampleExtension_Token, IID_IUnknown,
                                       reinterpret_cast<void**>(carried.GetAddressOf())),
              S_OK);
    EXPECT_EQ(carried.Get(), token.Get());
    EXPECT_EQ(log.count(Severity::info, "pToken=NotNull"), 1U);
}

TEST_F(FlvStreamTest, LeavesTheTokenOutWhenThereIsNone) {
    open(twoAudioFrames());
    ASSERT_EQ(audio->RequestSample(nullptr), S_OK);
    ComPtr<IUnknown> carried;
    EXPECT_EQ(nextSample()->GetUnknown(MFSampleExtension_Token, IID_IUnknown,
                                       reinterpret_cast<void**>(carried.GetAddressOf())),
              MF_E_ATTRIBUTENOTFOUND);
    EXPECT_EQ(log.count(Severity::info, "pToken=null"), 1U);
}

TEST_F(FlvStreamTest, LeavesTagsOfTheOtherKindInTheOtherStreamsQueue) {
    open(FlvBuilder()
             .avcSequenceHeader(0)
             .avcNalus(0, FlvBuilder::key, {{0x65, 1, 2, 3, 4}})
             .aacSequenceHeader(0)
             .aacRaw(0, {9})
             .aacRaw(23, {8}));
    ASSERT_EQ(audio->RequestSample(nullptr), S_OK);
    const unsigned reads = parser.reads;
    ASSERT_EQ(video->RequestSample(nullptr), S_OK);
    EXPECT_EQ(parser.reads, reads);
    EXPECT_THAT(eventTypes(*video.Get()), ElementsAre(MEMediaSample));
    EXPECT_THAT(eventTypes(*audio.Get()), ElementsAre(MEMediaSample));
}

TEST_F(FlvStreamTest, DropsARequestWhileTheSourceIsPaused) {
    open(twoAudioFrames());
    source->state = SourceStateId::paused;
    EXPECT_EQ(audio->RequestSample(nullptr), S_OK);
    EXPECT_EQ(parser.reads, 0U);
    source->state = SourceStateId::started;
    EXPECT_EQ(nextEvent(*audio.Get()).Get(), nullptr);
    EXPECT_EQ(audio->RequestSample(nullptr), S_OK);
    EXPECT_THAT(eventTypes(*audio.Get()), ElementsAre(MEMediaSample));
}

TEST_F(FlvStreamTest, ServesARequestWhileTheSourceIsStopped) {
    open(twoAudioFrames());
    source->state = SourceStateId::stopped;
    EXPECT_EQ(audio->RequestSample(nullptr), S_OK);
    EXPECT_THAT(eventTypes(*audio.Get()), ElementsAre(MEMediaSample));
}

TEST_F(FlvStreamTest, EndsTheStreamAndThePresentationAtTheEndOfTheFile) {
    open(FlvBuilder().onMetaData());
    EXPECT_EQ(audio->RequestSample(nullptr), MF_E_END_OF_STREAM);
    const ComPtr<IMFMediaEvent> event = nextEvent(*audio.Get());
    ASSERT_NE(event.Get(), nullptr);
    EXPECT_EQ(typeOf(*event.Get()), MEEndOfStream);
    PROPVARIANT value{};
    EXPECT_EQ(event->GetValue(&value), S_OK);
    EXPECT_EQ(value.vt, VT_EMPTY);
    EXPECT_THAT(eventTypes(*video.Get()), ElementsAre());
    ASSERT_EQ(source->mediaSource().events.size(), 1U);
    const FakeMediaSource::Event& end = source->mediaSource().events[0];
    EXPECT_EQ(end.type, MEEndOfPresentation);
    EXPECT_EQ(end.extendedType, GUID_NULL);
    EXPECT_EQ(end.status, S_OK);
    EXPECT_EQ(end.value, nullptr);
}

TEST_F(FlvStreamTest, LeavesTheSampleOfTheLastTagForTheNextRequest) {
    open(twoAudioFrames());
    ASSERT_EQ(audio->RequestSample(nullptr), S_OK);
    EXPECT_EQ(audio->RequestSample(nullptr), MF_E_END_OF_STREAM);
    EXPECT_THAT(eventTypes(*audio.Get()), ElementsAre(MEMediaSample, MEEndOfStream));
    EXPECT_EQ(audio->RequestSample(nullptr), S_OK);
    EXPECT_EQ(contentOf(*nextSample().Get()), (SampleContent{{4, 5}, 230'000, 230'000, false}));
}

TEST_F(FlvStreamTest, RepeatsTheEndWithEveryRequestAfterIt) {
    open(FlvBuilder().onMetaData());
    for (std::size_t request = 1; request <= 3; ++request) {
        EXPECT_EQ(audio->RequestSample(nullptr), MF_E_END_OF_STREAM);
        EXPECT_THAT(eventTypes(*audio.Get()), ElementsAre(MEEndOfStream));
        EXPECT_EQ(source->mediaSource().events.size(), request);
    }
}

TEST_F(FlvStreamTest, RaisesAnEndThatTheSourceDoesNotTake) {
    open(FlvBuilder().onMetaData());
    source->mediaSource().queueEventResult = E_UNEXPECTED;
    EXPECT_EQ(audio->RequestSample(nullptr), E_UNEXPECTED);
    EXPECT_THAT(error(), HasSubstr(apiError("QueueEvent", E_UNEXPECTED)));
    EXPECT_THAT(eventTypes(*audio.Get()), ElementsAre(MEEndOfStream));
}

TEST_F(FlvStreamTest, RaisesATokenThatTheSampleDoesNotTake) {
    {
        const MediaFoundationFault fault(MediaFoundationCall::setUnknown, E_UNEXPECTED);
        ComPtr<IMFSample> sample;
        ASSERT_EQ(MFCreateSample(sample.GetAddressOf()), S_OK);
        audio->queueSample(sample, 0);
        const ComPtr<Token> token = Pictaro::createObject<Token>(counter);
        EXPECT_EQ(audio->RequestSample(token.Get()), E_UNEXPECTED);
        EXPECT_THAT(error(), HasSubstr(apiError("SetUnknown", E_UNEXPECTED)));
        sample->AddRef();
        EXPECT_EQ(sample->Release(), 1U) << "the stream must have let it go";
    }
    EXPECT_TRUE(lockIsFree());
    open(twoAudioFrames());
    EXPECT_EQ(audio->RequestSample(nullptr), S_OK);
    EXPECT_EQ(contentOf(*nextSample().Get()).bytes, (Bytes{1, 2, 3}));
}

TEST_F(FlvStreamTest, RaisesASampleThatItsEventQueueDoesNotTake) {
    const MediaFoundationFault fault(MediaFoundationCall::queueEventParamUnk, E_UNEXPECTED);
    const ComPtr<FlvAudioStream> stream = createStream<FlvAudioStream>();
    ComPtr<IMFSample> sample;
    ASSERT_EQ(MFCreateSample(sample.GetAddressOf()), S_OK);
    stream->queueSample(sample, 0);
    EXPECT_EQ(stream->RequestSample(nullptr), E_UNEXPECTED);
    EXPECT_THAT(error(), HasSubstr(apiError("QueueEventParamUnk", E_UNEXPECTED)));
    sample->AddRef();
    EXPECT_EQ(sample->Release(), 1U) << "the stream must have let it go";
    EXPECT_TRUE(lockIsFree());
}

TEST_F(FlvStreamTest, RecordsWhatReadingThrowsOfOtherFamiliesAsFatalWithASnapshot) {
    unsigned snapshots = 0;
    const auto expectFatal = [&](const std::string& text, const std::function<void()>& thrower) {
        log.clear();
        parser.beforeRead = thrower;
        EXPECT_EQ(audio->RequestSample(nullptr), E_FAIL) << text;
        const auto records = log.records();
        ASSERT_EQ(records.size(), 4U) << "ENTER, the token, the record and EXIT";
        EXPECT_EQ(records[2].severity, Severity::fatal);
        EXPECT_EQ(records[2].file, "FlvStream");
        EXPECT_THAT(records[2].message, StartsWith(text));
        EXPECT_EQ(LogCapture::snapshots(), ++snapshots);
        EXPECT_TRUE(lockIsFree()) << text;
    };
    open(twoAudioFrames());
    expectFatal("Exception caught. class JY::FatalException, No good. @Parser:7", [] {
        throw FatalException({"Parser", 7}, "No good.");
    });
    expectFatal("No good.", [] { throw std::runtime_error("No good."); });
    expectFatal("Unknown exception.", [] { throw 7; });
    parser.beforeRead = [] {};
    EXPECT_EQ(audio->RequestSample(nullptr), S_OK);
}

TEST_F(FlvStreamTest, ReturnsTheCodeOfAFailedCallWhileReading) {
    open(FlvBuilder().audioTag(0, 0x10, {1, 2, 3}));
    EXPECT_EQ(audio->RequestSample(nullptr), MF_E_UNSUPPORTED_FORMAT);
    EXPECT_THAT(error(), HasSubstr(apiError("createAudioDataHandler", MF_E_UNSUPPORTED_FORMAT)));
}

TEST_F(FlvStreamTest, FailsOnBadDataAndReleasesTheLock) {
    open(FlvBuilder().aacPacket(0, 2, {1, 2, 3}));
    EXPECT_EQ(audio->RequestSample(nullptr), E_FAIL);
    EXPECT_THAT(error(),
                HasSubstr("Exception caught. class JY::ErrorException, Unknown AACPacketType=2 @FlvAudioTag:"));
    EXPECT_EQ(LogCapture::snapshots(), 0U);
    EXPECT_TRUE(lockIsFree());
}

TEST_F(FlvStreamTest, HoldsTheLockWhileItReads) {
    open(twoAudioFrames());
    std::atomic<bool> taken = false;
    std::thread other;
    parser.beforeRead = [&] {
        if (!other.joinable()) {
            other = std::thread([&] {
                const std::lock_guard guard(*lock);
                taken = true;
            });
            Sleep(50);
        }
        EXPECT_FALSE(taken);
    };
    EXPECT_EQ(audio->RequestSample(nullptr), S_OK);
    other.join();
    EXPECT_TRUE(taken);
}

// Queue of samples

TEST_F(FlvStreamTest, ForgetsPurgedSamples) {
    open(twoAudioFrames());
    EXPECT_EQ(video->RequestSample(nullptr), MF_E_END_OF_STREAM);
    audio->purgeSamples();
    parser.open(FlvBuilder().aacRaw(46, {6}).aacRaw(69, {7}).build());
    EXPECT_EQ(audio->RequestSample(nullptr), S_OK);
    EXPECT_EQ(contentOf(*nextSample().Get()).bytes, Bytes{6});
}

TEST_F(FlvStreamTest, PurgesAnEmptyQueue) {
    audio->purgeSamples();
    open(twoAudioFrames());
    EXPECT_EQ(audio->RequestSample(nullptr), S_OK);
}

TEST_F(FlvStreamTest, ReleasesItsQueuedSamplesWhenPurgedDetachedOrDeleted) {
    ComPtr<IMFSample> samples[3];
    for (auto& sample : samples) {
        ASSERT_EQ(MFCreateSample(sample.GetAddressOf()), S_OK);
    }
    const auto references = [](IMFSample& sample) {
        sample.AddRef();
        return sample.Release();
    };
    audio->queueSample(samples[0], 0);
    EXPECT_EQ(references(*samples[0].Get()), 2U);
    audio->purgeSamples();
    EXPECT_EQ(references(*samples[0].Get()), 1U);
    audio->queueSample(samples[1], 0);
    audio->detachFromSource();
    EXPECT_EQ(references(*samples[1].Get()), 1U);
    video->queueSample(samples[2], 0);
    parser.clearHandler();
    video.Reset();
    EXPECT_EQ(references(*samples[2].Get()), 1U);
}

TEST_F(FlvStreamTest, HoldsNoSampleThatHasBeenSent) {
    open(twoAudioFrames());
    ASSERT_EQ(audio->RequestSample(nullptr), S_OK);
    const ComPtr<IMFSample> sample = nextSample();
    sample->AddRef();
    EXPECT_EQ(sample->Release(), 1U);
}

// Shutdown

class ShutDownStreamTest : public FlvStreamTest {
protected:
    void expectEveryMethodAnswersShutdown() {
        ComPtr<IMFMediaEvent> event;
        EXPECT_EQ(audio->GetEvent(0, event.GetAddressOf()), MF_E_SHUTDOWN);
        EXPECT_EQ(audio->GetEvent(MF_EVENT_FLAG_NO_WAIT, event.GetAddressOf()), MF_E_SHUTDOWN);
        const ComPtr<Callback> callback = Pictaro::createObject<Callback>(counter);
        EXPECT_EQ(audio->BeginGetEvent(callback.Get(), nullptr), MF_E_SHUTDOWN);
        ComPtr<IMFAsyncResult> result;
        ASSERT_EQ(MFCreateAsyncResult(nullptr, nullptr, nullptr, result.GetAddressOf()), S_OK);
        EXPECT_EQ(audio->EndGetEvent(result.Get(), event.GetAddressOf()), MF_E_SHUTDOWN);
        EXPECT_EQ(audio->QueueEvent(MEStreamStarted, GUID_NULL, S_OK, nullptr), MF_E_SHUTDOWN);
        ComPtr<IMFMediaSource> mediaSource;
        EXPECT_EQ(audio->GetMediaSource(mediaSource.GetAddressOf()), MF_E_SHUTDOWN);
        EXPECT_EQ(mediaSource.Get(), nullptr);
        ComPtr<IMFStreamDescriptor> descriptor;
        EXPECT_EQ(audio->GetStreamDescriptor(descriptor.GetAddressOf()), MF_E_SHUTDOWN);
        EXPECT_EQ(descriptor.Get(), nullptr);
        EXPECT_EQ(audio->RequestSample(nullptr), MF_E_SHUTDOWN);
        EXPECT_EQ(parser.reads, 0U);
        EXPECT_THAT(error(), HasSubstr(apiError("checkShutdown", MF_E_SHUTDOWN)));
    }
    void expectInternalOperationsThrow() {
        MemoryStream file(FlvBuilder().aacRaw(0, {1}).build());
        file.seek(9);
        FlvTag tag(file);
        tag.read();
        const std::string expected = "checkShutdown: (0xc00d3e85) @FlvStream:";
        EXPECT_THAT(thrown<ApiErrorException>([&] { audio->initialize(); }), HasSubstr(expected));
        EXPECT_THAT(thrown<ApiErrorException>([&] { video->initialize(); }), HasSubstr(expected));
        EXPECT_THAT(thrown<ApiErrorException>([&] { audio->handleTag(file, tag); }), HasSubstr(expected));
        EXPECT_THAT(thrown<ApiErrorException>([&] { audio->checkShutdown(); }), HasSubstr(expected));
    }
};

TEST_F(ShutDownStreamTest, IsNotShutDownFromTheStart) {
    EXPECT_NO_THROW(audio->checkShutdown());
}

TEST_F(ShutDownStreamTest, AnswersShutdownFromEveryMethodAfterShutdown) {
    audio->shutdown();
    expectEveryMethodAnswersShutdown();
}

TEST_F(ShutDownStreamTest, MayBeShutDownAgain) {
    audio->shutdown();
    audio->shutdown();
    expectEveryMethodAnswersShutdown();
}

TEST_F(ShutDownStreamTest, StillAnswersQueryInterfaceAfterShutdown) {
    audio->shutdown();
    ComPtr<IUnknown> object;
    EXPECT_EQ(audio->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(object.GetAddressOf())), S_OK);
}

TEST_F(ShutDownStreamTest, ChecksNullPointersBeforeTheShutdown) {
    audio->shutdown();
    EXPECT_EQ(audio->GetEvent(0, nullptr), E_INVALIDARG);
}

TEST_F(ShutDownStreamTest, OutlivesItsSourceOnceDetached) {
    open(twoAudioFrames());
    endSource();
    expectEveryMethodAnswersShutdown();
    expectInternalOperationsThrow();
    EXPECT_EQ(audio->getStreamId(), 1001U);
}

TEST_F(ShutDownStreamTest, IsDetachedAlsoAfterShutdownAndTwice) {
    audio->shutdown();
    video->shutdown();
    endSource();
    audio->detachFromSource();
    expectEveryMethodAnswersShutdown();
    expectInternalOperationsThrow();
}

TEST_F(ShutDownStreamTest, KeepsTheLockThatItsSourceSharedAliveAsLongAsItself) {
    endSource();
    const boost::weak_ptr<LockImpl> shared(lock);
    lock.reset();
    EXPECT_EQ(audio->RequestSample(nullptr), MF_E_SHUTDOWN);
    EXPECT_FALSE(shared.expired());
    audio.Reset();
    video.Reset();
    EXPECT_TRUE(shared.expired());
}

TEST_F(ShutDownStreamTest, WakesAClientThatWaitsForAnEventWhenDetached) {
    std::promise<HRESULT> woken;
    auto result = woken.get_future();
    std::thread([stream = audio, promise = std::move(woken)]() mutable {
        ComPtr<IMFMediaEvent> event;
        promise.set_value(stream->GetEvent(0, event.GetAddressOf()));
    }).detach();
    while (!log.contains("ENTER: JY::Pictaro::Fs::FlvAudioStream::GetEvent")) {
        Sleep(1);
    }
    Sleep(50);
    audio->detachFromSource();
    ASSERT_EQ(result.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_EQ(result.get(), MF_E_SHUTDOWN);
}

TEST_F(ShutDownStreamTest, IsDetachedOnlyAfterARequestInProgress) {
    open(twoAudioFrames());
    std::atomic<bool> detached = false;
    std::thread detaching;
    parser.beforeRead = [&] {
        if (!detaching.joinable()) {
            detaching = std::thread([&] {
                audio->detachFromSource();
                detached = true;
            });
            Sleep(50);
        }
        EXPECT_FALSE(detached);
    };
    EXPECT_EQ(audio->RequestSample(nullptr), S_OK);
    detaching.join();
    EXPECT_EQ(audio->RequestSample(nullptr), MF_E_SHUTDOWN);
}

} // namespace
