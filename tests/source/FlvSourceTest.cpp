#include "source/FlvSourceImpl.h"
#include "tests/source/SourceTest.h"
#include "tests/support/Faults.h"
#include "tests/support/ImportPatch.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/FatalException.h"

#include <mferror.h>

#include <new>
#include <thread>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using namespace JY::Pictaro::Fs;
using namespace JY::Test;
using Log2::Severity;
using Microsoft::WRL::ComPtr;

using FlvSourceTest = SourceTest;
using Ids = std::vector<DWORD>;

// Construction.

TEST_F(FlvSourceTest, HasAnAudioAndAVideoStream) {
    const Source source = open(media());
    EXPECT_EQ(streamIdsOf(*source.Get()), (Ids{audioId, videoId}));
    EXPECT_EQ(source->getStateId(), SourceStateId::stopped);
    EXPECT_EQ(counter.count(), 3U);
    EXPECT_FALSE(log.contains("Exception caught."));
}

TEST_F(FlvSourceTest, KnowsItsFile) {
    const std::wstring path = write(media().build());
    EXPECT_EQ(openFile(path)->getFilePath(), path);
}

TEST_F(FlvSourceTest, OfAFileWithoutAudioHasAVideoStreamOnly) {
    const Source source = open(media(MetaData::typical(), FlvBuilder::video));
    EXPECT_EQ(streamIdsOf(*source.Get()), Ids{videoId});
    const CapturedRecord record = log.find("According to header, audio is not present.");
    EXPECT_EQ(record.severity, Severity::warn);
    EXPECT_EQ(record.file, "FlvSource");
    EXPECT_EQ(counter.count(), 2U);
}

TEST_F(FlvSourceTest, OfAFileWithoutVideoHasAnAudioStreamOnly) {
    const Source source = open(media(MetaData::typical(), FlvBuilder::audio));
    EXPECT_EQ(streamIdsOf(*source.Get()), Ids{audioId});
    EXPECT_EQ(log.find("According to header, video is not present.").severity, Severity::warn);
    EXPECT_EQ(counter.count(), 2U);
}

TEST_F(FlvSourceTest, GivesNoTagsToAStreamThatWasLeftOut) {
    // The audio's codec is not supported: the audio stream would fail every reading of its tags.
    FlvBuilder file(FlvBuilder::audioAndVideo);
    file.onMetaData().audioTag(0, 0x6F, {}).avcSequenceHeader(0).audioTag(0, 0x6F, {});
    file.avcNalus(0, FlvBuilder::key, {{0x65, 1, 2, 3, 4, 5}}).avcNalus(2000, FlvBuilder::key, {});
    const Source source = open(file);
    EXPECT_EQ(streamIdsOf(*source.Get()), Ids{videoId});
    EXPECT_EQ(log.find("createAudioDataHandler").severity, Severity::warn);
    settings.set(L"EnableSingleStream", 1);
    settings.set(L"SeekByMetaData", 0);
    const Descriptor descriptor = describe(*source.Get());
    ASSERT_EQ(start(*source.Get(), *descriptor.Get(), Position()), S_OK);
    EXPECT_EQ(requestSample(*announcedStream(*source.Get(), videoId).Get()), 0);
}

TEST_F(FlvSourceTest, OfAFileWithoutAnyStreamIsRefused) {
    const std::wstring path = write(FlvBuilder(FlvBuilder::none).onMetaData().script(0, "x", Amf0::number(1)).build());
    try {
        openFile(path);
        ADD_FAILURE();
    } catch (const ErrorException& exception) {
        EXPECT_EQ(exception.getMessage(), "No stream.");
        EXPECT_STREQ(exception.file(), "FlvSource");
    }
    EXPECT_EQ(counter.count(), 0U);
}

TEST_F(FlvSourceTest, OfAMissingFileIsRefused) {
    try {
        openFile(L"C:\\missing.flv");
        ADD_FAILURE();
    } catch (const ApiErrorException& exception) {
        EXPECT_EQ(exception.code(), static_cast<std::uint32_t>(ERROR_FILE_NOT_FOUND));
        EXPECT_EQ(exception.messageText(), "CreateFile file=C:\\missing.flv");
    }
    EXPECT_EQ(counter.count(), 0U);
}

TEST_F(FlvSourceTest, OfAFileThatIsNoFlvIsRefused) {
    EXPECT_THROW(openFile(write({'M', 'P', '4', 0, 0, 0, 0, 0, 0})), ErrorException);
    EXPECT_EQ(counter.count(), 0U);
}

TEST_F(FlvSourceTest, NeedsAnEventQueue) {
    const MediaFoundationFault fault(MediaFoundationCall::createEventQueue, E_OUTOFMEMORY);
    try {
        open(media());
        ADD_FAILURE();
    } catch (const ApiErrorException& exception) {
        EXPECT_EQ(exception.messageText(), "MFCreateEventQueue");
        EXPECT_EQ(exception.code(), static_cast<std::uint32_t>(E_OUTOFMEMORY));
        EXPECT_STREQ(exception.file(), "FlvSource");
    }
    EXPECT_EQ(counter.count(), 0U);
}

TEST_F(FlvSourceTest, LeavesNothingBehindWhenASecondStreamCannotBeMade) {
    const MediaFoundationFault fault(MediaFoundationCall::createEventQueue, E_OUTOFMEMORY, 2);
    EXPECT_THROW(open(media()), ApiErrorException);
    EXPECT_EQ(counter.count(), 0U);
}

TEST_F(FlvSourceTest, GoesOnWithoutMetaDataThatCannotBeRead) {
    FlvBuilder file(FlvBuilder::audioAndVideo);
    file.script(0, Bytes{0x01, 0x00}).aacSequenceHeader(0).aacRaw(0, {1, 2, 3}).aacRaw(2000, {1, 2, 3});
    const Source source = open(file);
    const CapturedRecord record = log.find("Script parse error.");
    EXPECT_EQ(record.severity, Severity::warn);
    EXPECT_EQ(record.file, "FlvSource");
    EXPECT_THROW(source->getMetaDatum("duration"), FlvMetaData::MetaDataNotFoundException);
}

TEST_F(FlvSourceTest, EndsWhenReadingTheMetaDataFaults) {
    // The metadata's reader opens the file for itself, and shares it for reading only.
    static bool (*const isMetaDataOpening)(DWORD) = [](DWORD share) { return share == FILE_SHARE_READ; };
    static const ImportPatch<decltype(&CreateFileW)>* originalCreateFile = nullptr;
    const ImportPatch<decltype(&CreateFileW)> createFile(
        "CreateFileW",
        [](LPCWSTR path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD flags,
           HANDLE pattern) -> HANDLE {
            if (isMetaDataOpening(share)) {
                readFrom(nullptr);
            }
            return originalCreateFile->callOriginal(path, access, share, security, disposition, flags, pattern);
        });
    originalCreateFile = &createFile;
    const std::wstring path = write(media().build());
    constexpr SourceFile here{"FlvSourceTest"};
    const HRESULT result = comCall({here(), nullptr, "test"}, [&](const ComCall&) {
        openFile(path);
        return S_OK;
    });
    EXPECT_EQ(result, E_FAIL);
    const CapturedRecord record = log.find("ACCESS_VIOLATION");
    EXPECT_EQ(record.severity, Severity::fatal);
    EXPECT_EQ(record.file, "FlvSource");
    EXPECT_EQ(counter.count(), 0U);
}

TEST_F(FlvSourceTest, ReadsHowMuchToDumpOnceForItsLife) {
    settings.set(L"NumDumpBin", 5);
    const Source source = open(media());
    EXPECT_EQ(source->getNumDumpBin(), 5U);
    settings.set(L"NumDumpBin", 6);
    EXPECT_EQ(source->getNumDumpBin(), 5U);
    EXPECT_EQ(settings.readCount(L"NumDumpBin"), 1U);
    EXPECT_EQ(open(media())->getNumDumpBin(), 6U);
}

TEST_F(FlvSourceTest, DumpsThirtyTwoBytesByDefault) {
    EXPECT_EQ(open(media())->getNumDumpBin(), 32U);
}

// QueryInterface and GetCharacteristics.

TEST_F(FlvSourceTest, AnswersForItsInterfaces) {
    const Source source = open(media());
    const struct {
        const IID& id;
        const char* record;
    } known[] = {{IID_IUnknown, "QI(IUnknown)"},
                 {IID_IMFMediaEventGenerator, "QI(IMFMediaEventGenerator)"},
                 {IID_IMFMediaSource, "QI(IMFMediaSource)"}};
    for (const auto& [id, record] : known) {
        void* result = nullptr;
        EXPECT_EQ(source->QueryInterface(id, &result), S_OK);
        EXPECT_EQ(result, static_cast<IMFMediaSource*>(source.Get()));
        EXPECT_EQ(source->Release(), 1U);
        EXPECT_EQ(log.count(Severity::info, record), 1U);
    }
}

TEST_F(FlvSourceTest, RefusesOtherInterfaces) {
    const Source source = open(media());
    const struct {
        const IID& id;
        const char* record;
    } refused[] = {{IID_IMFMediaSourceEx, "QI-None(IMFMediaSourceEx)"},
                   {IID_IMFAttributes, "QI-None(IMFAttributes)"},
                   {IID_IMFMediaStream, "QI-None(d182108f-4ec6-443f-aa42-a71106ec825f)"}};
    for (const auto& [id, record] : refused) {
        void* result = source.Get();
        EXPECT_EQ(source->QueryInterface(id, &result), E_NOINTERFACE);
        EXPECT_EQ(result, nullptr);
        EXPECT_EQ(log.count(Severity::info, record), 1U);
    }
    EXPECT_EQ(source->AddRef(), 2U);
    source->Release();
}

TEST_F(FlvSourceTest, CanSeekAndPause) {
    const Source source = open(media());
    DWORD characteristics = 0;
    EXPECT_EQ(source->GetCharacteristics(&characteristics), S_OK);
    EXPECT_EQ(characteristics, 6U);
    EXPECT_EQ(characteristics, static_cast<DWORD>(MFMEDIASOURCE_CAN_SEEK | MFMEDIASOURCE_CAN_PAUSE));
}

// Null pointers.

TEST_F(FlvSourceTest, RefusesNullPointersByName) {
    const Source source = open(media());
    ClientAsyncResult result;
    const Descriptor descriptor = describe(*source.Get());
    ComPtr<IMFMediaEvent> event;
    const struct {
        HRESULT result;
        const char* record;
    } calls[] = {
        {source->QueryInterface(IID_IUnknown, nullptr), "ppvObject is NULL."},
        {source->GetEvent(0, nullptr), "ppEvent is NULL."},
        {source->BeginGetEvent(nullptr, nullptr), "pCallback is NULL."},
        {source->EndGetEvent(nullptr, nullptr), "pResult is NULL."},
        {source->GetCharacteristics(nullptr), "pdwCharacteristics is NULL."},
        {source->CreatePresentationDescriptor(nullptr), "ppPresentationDescriptor is NULL."},
        {source->Start(nullptr, nullptr, nullptr), "pPresentationDescriptor is NULL."},
        {source->Start(descriptor.Get(), nullptr, nullptr), "pvarStartPosition is NULL."},
    };
    for (const auto& [code, record] : calls) {
        EXPECT_EQ(code, E_INVALIDARG);
        EXPECT_EQ(log.count(Severity::fatal, record), 1U) << record;
    }
    EXPECT_EQ(LogCapture::snapshots(), std::size(calls));
    EXPECT_EQ(source->EndGetEvent(&result, nullptr), E_INVALIDARG);
    EXPECT_EQ(log.count(Severity::fatal, "ppEvent is NULL."), 2U);
}

TEST_F(FlvSourceTest, SurvivesBadPointers) {
    const Source source = open(media());
    const Descriptor descriptor = describe(*source.Get());
    EXPECT_EQ(source->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(8)), E_FAIL);
    EXPECT_EQ(source->GetCharacteristics(reinterpret_cast<DWORD*>(8)), E_FAIL);
    EXPECT_EQ(source->CreatePresentationDescriptor(reinterpret_cast<IMFPresentationDescriptor**>(8)), E_FAIL);
    EXPECT_EQ(source->Start(descriptor.Get(), nullptr, reinterpret_cast<const PROPVARIANT*>(8)), E_FAIL);
    EXPECT_EQ(source->Start(reinterpret_cast<IMFPresentationDescriptor*>(8), nullptr, Position().get()), E_FAIL);
    EXPECT_EQ(LogCapture::snapshots(), 5U);
    ASSERT_EQ(start(*source.Get(), Position()), S_OK); // nothing is left locked or half done
    EXPECT_EQ(source->getStateId(), SourceStateId::started);
}

// Events.

TEST_F(FlvSourceTest, GivesQueuedEvents) {
    const Source source = open(media());
    EXPECT_EQ(source->QueueEvent(MEError, GUID_NULL, E_ACCESSDENIED, Position(5).get()), S_OK);
    const auto event = nextEvent(*source.Get());
    MediaEventType type = MEUnknown;
    HRESULT status = S_OK;
    event->GetType(&type);
    event->GetStatus(&status);
    EXPECT_EQ(type, static_cast<MediaEventType>(MEError));
    EXPECT_EQ(status, E_ACCESSDENIED);
}

TEST_F(FlvSourceTest, GivesEventsAsynchronously) {
    const Source source = open(media());
    ClientCallback callback;
    ClientState state;
    ASSERT_EQ(source->BeginGetEvent(&callback, &state), S_OK);
    EXPECT_EQ(source->QueueEvent(MEError, GUID_NULL, S_OK, nullptr), S_OK);
    ASSERT_TRUE(callback.becomesCalled());
    ComPtr<IMFMediaEvent> event;
    EXPECT_EQ(source->EndGetEvent(callback.takeResult().Get(), event.GetAddressOf()), S_OK);
    MediaEventType type = MEUnknown;
    event->GetType(&type);
    EXPECT_EQ(type, static_cast<MediaEventType>(MEError));
    EXPECT_TRUE(callback.becomesUnreferenced());
    EXPECT_TRUE(state.becomesUnreferenced());
}

TEST_F(FlvSourceTest, AnswersTheFailureToGetAnEvent) {
    const std::wstring path = write(media().build());
    const Source source = openFile(path);
    log.clear();
    ComPtr<IMFMediaEvent> event;
    EXPECT_EQ(source->GetEvent(MF_EVENT_FLAG_NO_WAIT, event.GetAddressOf()), MF_E_NO_EVENTS_AVAILABLE);
    const auto messages = log.messages();
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_TRUE(messages[0].starts_with("Exception caught. class JY::ApiErrorException, GetEvent: (0xc00d3e80;"));
    EXPECT_EQ(messages[1], "File=" + narrow(path));
    EXPECT_EQ(log.find("GetEvent: ").severity, Severity::error);
    EXPECT_EQ(log.find("File=").severity, Severity::notice);
}

TEST_F(FlvSourceTest, AnswersTheFailureToQueueAnEvent) {
    const Source source = open(media());
    events.refuse("source", MEError, E_OUTOFMEMORY);
    EXPECT_EQ(source->QueueEvent(MEError, GUID_NULL, S_OK, nullptr), E_OUTOFMEMORY);
    EXPECT_TRUE(log.contains("class JY::ApiErrorException, QueueEventParamVar: (0x8007000e;"));
}

TEST_F(FlvSourceTest, WaitsForAnEventWithoutHoldingTheLock) {
    const Source source = open(media());
    std::atomic<MediaEventType> received{MEUnknown};
    std::jthread client([&] {
        ComPtr<IMFMediaEvent> event;
        EXPECT_EQ(source->GetEvent(0, event.GetAddressOf()), S_OK);
        MediaEventType type = MEUnknown;
        event->GetType(&type);
        received = type;
    });
    ASSERT_TRUE(becomesTrue([this] { return log.contains("ENTER: JY::Pictaro::Fs::FlvSourceImpl::GetEvent"); }));
    EXPECT_EQ(received, static_cast<MediaEventType>(MEUnknown));
    EXPECT_EQ(source->QueueEvent(MEError, GUID_NULL, S_OK, nullptr), S_OK); // takes the lock
    EXPECT_TRUE(becomesTrue([&] { return received == static_cast<MediaEventType>(MEError); }));
}

} // namespace
