#include "source/FlvByteStreamHandlerImpl.h"
#include "source/FlvSourceImpl.h"
#include "tests/source/SourceTest.h"
#include "tests/support/ExhaustedMemory.h"
#include "tests/support/MethodTraces.h"

#include <mferror.h>
#include <shlwapi.h>

#include <map>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using namespace JY::Pictaro::Fs;
using namespace JY::Test;
using Log2::Severity;
using Microsoft::WRL::ComPtr;
using Texts = std::vector<std::string>;

constexpr auto mediaSource = MF_RESOLUTION_MEDIASOURCE;

class FlvByteStreamHandlerTest : public SourceTest {
protected:
    void TearDown() override {
        handler.Reset();
        EXPECT_TRUE(callback.becomesForgotten());
        SourceTest::TearDown();
        EXPECT_TRUE(state.becomesUnreferenced());
        EXPECT_EQ(bytes.references(), 0U); // the byte stream is not used
    }

    static std::wstring urlOf(const std::wstring& path) { return L"file://" + path; }
    HRESULT begin(LPCWSTR url, DWORD flags = mediaSource) {
        return handler->BeginCreateObject(byteStream(), url, flags, nullptr, nullptr, &callback, &state);
    }
    HRESULT begin(const std::wstring& url) { return begin(url.c_str()); }
    /// Ends the request that called back last.
    HRESULT end(ComPtr<IUnknown>& object) {
        EXPECT_TRUE(callback.becomesCalled());
        MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
        const HRESULT result =
            handler->EndCreateObject(callback.takeResult().Get(), &type, object.ReleaseAndGetAddressOf());
        EXPECT_EQ(type, SUCCEEDED(result) ? MF_OBJECT_MEDIASOURCE : MF_OBJECT_INVALID);
        return result;
    }
    IMFByteStream* byteStream() { return reinterpret_cast<IMFByteStream*>(static_cast<IUnknown*>(&bytes)); }
    std::string fileOf(IUnknown* object) { return narrow(dynamic_cast<FlvSource&>(*object).getFilePath()); }

    ComPtr<FlvByteStreamHandlerImpl> handler = createObject<FlvByteStreamHandlerImpl>(counter);
    ClientCallback callback;
    ClientState state;
    ClientState bytes;
};

TEST_F(FlvByteStreamHandlerTest, GivesAMediaSourceOfTheFile) {
    const std::wstring path = write(media().build());
    const std::wstring url = urlOf(path);
    ASSERT_EQ(begin(url), S_OK);
    ComPtr<IUnknown> object;
    ASSERT_EQ(end(object), S_OK);
    ComPtr<IMFMediaSource> source;
    ASSERT_EQ(object.As(&source), S_OK);
    DWORD characteristics = 0;
    EXPECT_EQ(source->GetCharacteristics(&characteristics), S_OK);
    EXPECT_EQ(characteristics, 6U);
    EXPECT_EQ(fileOf(object.Get()), narrow(path));
    EXPECT_EQ(log.count(Severity::info, "pwszURL=" + narrow(url)), 1U);
    EXPECT_EQ(log.count(Severity::info, "FilePath=" + narrow(path)), 1U);
    EXPECT_EQ(log.find("FilePath=").file, "FlvByteStreamHandler");
    EXPECT_FALSE(log.contains(narrow(L"File=" + path)));
    EXPECT_EQ(handler->filePath(), path);
}

TEST_F(FlvByteStreamHandlerTest, GivesTheOnlyReferenceToTheSource) {
    ASSERT_EQ(begin(urlOf(write(media().build()))), S_OK);
    ComPtr<IUnknown> object;
    ASSERT_EQ(end(object), S_OK);
    EXPECT_TRUE(becomesTrue([&] {
        object->AddRef();
        return object->Release() == 1U;
    }));
    object.Reset();
    EXPECT_TRUE(becomesTrue([this] { return counter.count() == 1; })); // the handler
}

TEST_F(FlvByteStreamHandlerTest, CompletesWithTheClientsState) {
    ASSERT_EQ(begin(urlOf(write(media().build()))), S_OK);
    ASSERT_TRUE(callback.becomesCalled());
    const auto result = callback.takeResult();
    ComPtr<IUnknown> carried;
    EXPECT_EQ(result->GetState(carried.GetAddressOf()), S_OK);
    EXPECT_EQ(carried.Get(), &state);
    EXPECT_EQ(result->GetStatus(), S_OK);
}

TEST_F(FlvByteStreamHandlerTest, NeedsNoState) {
    const std::wstring url = urlOf(write(media().build()));
    ASSERT_EQ(handler->BeginCreateObject(byteStream(), url.c_str(), mediaSource, nullptr, nullptr, &callback, nullptr),
              S_OK);
    ComPtr<IUnknown> object;
    EXPECT_EQ(end(object), S_OK);
}

TEST_F(FlvByteStreamHandlerTest, BuildsTheSourceOnAThreadOfTheWorkQueue) {
    ASSERT_EQ(begin(urlOf(write(media().build()))), S_OK);
    ASSERT_TRUE(callback.becomesCalled());
    const CapturedRecord record = log.find("ENTER: JY::Pictaro::Fs::FlvByteStreamHandlerImpl::doCreateObject");
    EXPECT_EQ(record.severity, Severity::trace);
    EXPECT_NE(record.threadId, GetCurrentThreadId());
    EXPECT_EQ(log.count(Severity::trace, "EXIT: JY::Pictaro::Fs::FlvByteStreamHandlerImpl::doCreateObject"), 1U);
}

TEST_F(FlvByteStreamHandlerTest, QueuesOnTheMultithreadedQueue) {
    takeWorkQueues();
    ASSERT_EQ(begin(urlOf(write(media().build()))), S_OK);
    EXPECT_EQ(takeWorkQueues(), std::vector<DWORD>{5});
    EXPECT_TRUE(callback.becomesCalled());
}

TEST_F(FlvByteStreamHandlerTest, TracesEachOfItsMethods) {
    void* unknown = nullptr;
    QWORD bytesNeeded = 0;
    MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
    ComPtr<IUnknown> object;
    ClientAsyncResult result;
    result.getObjectResult = MF_E_NOT_FOUND;
    expectMethodTraces(log, typeid(FlvByteStreamHandlerImpl), "FlvByteStreamHandler",
                       {{"QueryInterface", [&] { handler->QueryInterface(IID_IClassFactory, &unknown); }},
                        {"BeginCreateObject", [&] { begin(L"file://C:\\missing.flv"); }},
                        {"EndCreateObject", [&] { handler->EndCreateObject(&result, &type, object.GetAddressOf()); }},
                        {"CancelObjectCreation", [&] { handler->CancelObjectCreation(nullptr); }},
                        {"GetMaxNumberOfBytesRequiredForResolution",
                         [&] { handler->GetMaxNumberOfBytesRequiredForResolution(&bytesNeeded); }}});
}

TEST_F(FlvByteStreamHandlerTest, LooksAtNeitherThePropertiesNorTheCookie) {
    const std::wstring url = urlOf(write(media().build()));
    ASSERT_EQ(handler->BeginCreateObject(byteStream(), url.c_str(), mediaSource, reinterpret_cast<IPropertyStore*>(8),
                                         reinterpret_cast<IUnknown**>(8), &callback, &state),
              S_OK);
    ComPtr<IUnknown> object;
    EXPECT_EQ(end(object), S_OK);
}

TEST_F(FlvByteStreamHandlerTest, HandsOutNoCancelCookie) {
    const std::wstring url = urlOf(write(media().build()));
    auto* const untouched = reinterpret_cast<IUnknown*>(0x1234);
    IUnknown* cookie = untouched;
    ASSERT_EQ(handler->BeginCreateObject(byteStream(), url.c_str(), mediaSource, nullptr, &cookie, &callback, &state),
              S_OK);
    EXPECT_EQ(cookie, untouched);
    EXPECT_TRUE(callback.becomesCalled());
}

TEST_F(FlvByteStreamHandlerTest, CannotCancel) {
    EXPECT_EQ(handler->CancelObjectCreation(nullptr), E_NOTIMPL);
    EXPECT_EQ(handler->CancelObjectCreation(&state), E_NOTIMPL);
}

TEST_F(FlvByteStreamHandlerTest, NeedsNineBytesToTellAnFlvFile) {
    QWORD needed = 0;
    EXPECT_EQ(handler->GetMaxNumberOfBytesRequiredForResolution(&needed), S_OK);
    EXPECT_EQ(needed, 9U);
    EXPECT_EQ(handler->GetMaxNumberOfBytesRequiredForResolution(nullptr), E_INVALIDARG);
    EXPECT_EQ(log.count(Severity::fatal, "pqwBytes is NULL."), 1U);
}

TEST_F(FlvByteStreamHandlerTest, AnswersForItsInterfaces) {
    const std::map<const IID*, const char*> known{{&IID_IUnknown, "QI(IUnknown)"},
                                                  {&__uuidof(IMFByteStreamHandler), "QI(IMFByteStreamHandler)"}};
    for (const auto& [id, record] : known) {
        void* result = nullptr;
        EXPECT_EQ(handler->QueryInterface(*id, &result), S_OK);
        EXPECT_EQ(result, handler.Get());
        EXPECT_EQ(handler->Release(), 1U);
        EXPECT_EQ(log.count(Severity::info, record), 1U);
    }
}

TEST_F(FlvByteStreamHandlerTest, RefusesOtherInterfaces) {
    void* result = &state;
    EXPECT_EQ(handler->QueryInterface(IID_IClassFactory, &result), E_NOINTERFACE);
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(log.count(Severity::info, "QI-None(00000001-0000-0000-c000-000000000046)"), 1U);
    EXPECT_EQ(handler->QueryInterface(IID_IUnknown, nullptr), E_INVALIDARG);
    EXPECT_EQ(log.count(Severity::fatal, "ppObject is NULL."), 1U);
}

// BeginCreateObject's checks.

TEST_F(FlvByteStreamHandlerTest, RecordsTheUrlBeforeItsChecks) {
    EXPECT_EQ(handler->BeginCreateObject(nullptr, nullptr, 0, nullptr, nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(log.messages(), (Texts{"pwszURL=(null)", "pByteStream is NULL."}));
}

TEST_F(FlvByteStreamHandlerTest, RefusesNullPointersInOrder) {
    const std::wstring url = urlOf(write(media().build()));
    const auto refuse = [&](IMFByteStream* stream, LPCWSTR address, IMFAsyncCallback* whom) {
        EXPECT_EQ(handler->BeginCreateObject(stream, address, mediaSource, nullptr, nullptr, whom, nullptr),
                  E_INVALIDARG);
    };
    refuse(nullptr, nullptr, nullptr);
    EXPECT_EQ(log.count(Severity::fatal, "pByteStream is NULL."), 1U);
    refuse(byteStream(), nullptr, nullptr);
    EXPECT_EQ(log.count(Severity::fatal, "pwszURL is NULL."), 1U);
    refuse(byteStream(), url.c_str(), nullptr);
    EXPECT_EQ(log.count(Severity::fatal, "pCallback is NULL."), 1U);
    EXPECT_EQ(LogCapture::snapshots(), 3U);
    EXPECT_FALSE(log.contains("File="));
}

TEST_F(FlvByteStreamHandlerTest, GivesNothingButMediaSources) {
    const std::wstring url = urlOf(write(media().build()));
    for (const DWORD flags : {0UL, static_cast<DWORD>(MF_RESOLUTION_BYTESTREAM), 0xFFFFFFFEUL}) {
        log.clear();
        EXPECT_EQ(begin(url.c_str(), flags), E_INVALIDARG);
        EXPECT_EQ(log.messages(), Texts{"pwszURL=" + narrow(url)});
    }
    EXPECT_EQ(begin(url.c_str(), 0xFFFFFFFF), S_OK);
    EXPECT_TRUE(callback.becomesCalled());
}

TEST_F(FlvByteStreamHandlerTest, RefusesAUrlThatIsNoFileUrl) {
    EXPECT_EQ(begin(L"http://example.com/a.flv"), E_INVALIDARG);
    const CapturedRecord record = log.find("PathCreateFromUrl");
    EXPECT_EQ(record.severity, Severity::error);
    EXPECT_TRUE(record.message.starts_with("Exception caught. class JY::ApiErrorException, "
                                           "PathCreateFromUrl URL=http://example.com/a.flv: (0x80070057;"));
    EXPECT_EQ(callback.calls(), 0U);
}

TEST_F(FlvByteStreamHandlerTest, RefusesAPlainPath) {
    const std::wstring path = write(media().build());
    EXPECT_EQ(begin(path), E_INVALIDARG);
    EXPECT_TRUE(log.contains("PathCreateFromUrl URL=" + narrow(path)));
}

TEST_F(FlvByteStreamHandlerTest, TakesAPathOfAsManyCharactersAsThePlatformHolds) {
    const auto urlOfLength = [](std::size_t length) { return urlOf(L"C:\\" + std::wstring(length - 3, L'a')); };
    EXPECT_EQ(begin(urlOfLength(259)), E_FAIL);
    EXPECT_TRUE(log.contains("File not found.=C:\\aaa"));
    EXPECT_EQ(handler->filePath().size(), 259U);

    const std::wstring tooLong = urlOfLength(260);
    wchar_t path[260];
    DWORD length = 260;
    const HRESULT refusal = PathCreateFromUrlW(tooLong.c_str(), path, &length, 0);
    ASSERT_TRUE(FAILED(refusal));
    EXPECT_EQ(begin(tooLong), refusal);
    EXPECT_TRUE(log.contains("PathCreateFromUrl URL=" + narrow(tooLong) + ": (0x"));
}

TEST_F(FlvByteStreamHandlerTest, DecodesTheUrl) {
    const std::wstring path = write(media().build());
    std::wstring url = L"file:///";
    for (const wchar_t character : path) {
        if (character == L'j') {
            url += L"%6A";
        } else {
            url += character == L'\\' ? L'/' : character;
        }
    }
    ASSERT_EQ(begin(url), S_OK);
    ComPtr<IUnknown> object;
    ASSERT_EQ(end(object), S_OK);
    EXPECT_EQ(fileOf(object.Get()), narrow(path));
}

TEST_F(FlvByteStreamHandlerTest, RefusesAMissingFileAtOnce) {
    EXPECT_EQ(begin(L"file://C:\\missing.flv"), E_FAIL);
    const auto messages = log.messages();
    ASSERT_EQ(messages.size(), 3U);
    EXPECT_EQ(messages[0], "pwszURL=file://C:\\missing.flv");
    EXPECT_TRUE(messages[1].starts_with(
        "Exception caught. class JY::ErrorException, File not found.=C:\\missing.flv @FlvByteStreamHandler:"));
    EXPECT_EQ(messages[2], "File=C:\\missing.flv");
    EXPECT_EQ(log.find("File not found.=").severity, Severity::error);
    EXPECT_EQ(log.count(Severity::notice, "File=C:\\missing.flv"), 1U);
    EXPECT_EQ(log.find("File=C").file, "FlvByteStreamHandler");
    EXPECT_EQ(callback.calls(), 0U);
    EXPECT_EQ(handler->filePath(), L"C:\\missing.flv");
}

TEST_F(FlvByteStreamHandlerTest, HidesTheNamesOfFiles) {
    settings.setHideFileName(1);
    EXPECT_EQ(begin(L"file://Q:\\A"), E_FAIL);
    EXPECT_TRUE(log.contains("File not found.=ffaeffc5ffa3ffbe @"));
    EXPECT_EQ(log.count(Severity::notice, "File=ffaeffc5ffa3ffbe"), 1U);
    EXPECT_EQ(log.count("ResolveFile failed. "), 2U);

    const std::wstring path = write(media().build());
    ASSERT_EQ(begin(urlOf(path)), S_OK);
    EXPECT_TRUE(callback.becomesCalled());
    EXPECT_TRUE(log.contains("FilePath="));
    EXPECT_FALSE(log.contains("FilePath=" + narrow(path)));
}

TEST_F(FlvByteStreamHandlerTest, AnswersTheFailureToQueue) {
    const std::wstring path = write(media().build());
    const MediaFoundationFault fault(MediaFoundationCall::putWorkItem, MF_E_SHUTDOWN);
    EXPECT_EQ(begin(urlOf(path)), MF_E_SHUTDOWN);
    EXPECT_EQ(log.count(Severity::notice, "File=" + narrow(path)), 1U);
    EXPECT_FALSE(log.contains("Exception caught."));
    EXPECT_EQ(callback.calls(), 0U);
}

TEST_F(FlvByteStreamHandlerTest, SurvivesBadPointers) {
    const std::wstring url = urlOf(write(media().build()));
    EXPECT_EQ(begin(reinterpret_cast<LPCWSTR>(8)), E_FAIL);
    EXPECT_EQ(handler->BeginCreateObject(byteStream(), url.c_str(), mediaSource, nullptr, nullptr,
                                         reinterpret_cast<IMFAsyncCallback*>(8), &state),
              E_FAIL);
    EXPECT_EQ(handler->BeginCreateObject(byteStream(), url.c_str(), mediaSource, nullptr, nullptr, &callback,
                                         reinterpret_cast<IUnknown*>(8)),
              E_FAIL);
    EXPECT_EQ(handler->GetMaxNumberOfBytesRequiredForResolution(reinterpret_cast<QWORD*>(8)), E_FAIL);
    EXPECT_EQ(handler->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(8)), E_FAIL);
    EXPECT_EQ(LogCapture::snapshots(), 5U);
    ASSERT_EQ(begin(url), S_OK); // nothing is left locked
    EXPECT_TRUE(callback.becomesCalled());
}

// Building the source.

TEST_F(FlvByteStreamHandlerTest, CompletesWithoutAnObjectForAFileThatIsNoFlv) {
    const std::wstring path = write({'M', 'P', '4', 0, 0, 0, 0, 0, 0, 0, 0});
    ASSERT_EQ(begin(urlOf(path)), S_OK);
    ComPtr<IUnknown> object;
    const HRESULT result = end(object);
    EXPECT_TRUE(FAILED(result));
    EXPECT_EQ(object.Get(), nullptr);
    const CapturedRecord record = log.find("Invalid FlvHeader");
    EXPECT_EQ(record.severity, Severity::error);
    EXPECT_EQ(log.find("(*callee): (0x80004005;").severity, Severity::warn);
    EXPECT_EQ(log.count(Severity::notice, "File=" + narrow(path)), 1U);
    EXPECT_EQ(log.find("GetObject: (0x").severity, Severity::error);
    EXPECT_EQ(log.find("GetObject: (0x").file, "FlvByteStreamHandler");
}

TEST_F(FlvByteStreamHandlerTest, CompletesWithoutAnObjectForAFileWithoutAStream) {
    ASSERT_EQ(begin(urlOf(write(FlvBuilder(FlvBuilder::none).onMetaData().build()))), S_OK);
    ComPtr<IUnknown> object;
    EXPECT_TRUE(FAILED(end(object)));
    EXPECT_TRUE(log.contains("class JY::ErrorException, No stream. @FlvSource:"));
    EXPECT_TRUE(becomesTrue([this] { return counter.count() == 1; }));
}

TEST_F(FlvByteStreamHandlerTest, CompletesWithoutAnObjectWhenThereIsNoMemoryForTheSource) {
    const std::wstring path = write(media().build());
    ComPtr<IUnknown> object;
    {
        const ExhaustedMemory exhausted;
        ASSERT_EQ(begin(urlOf(path)), S_OK);
        EXPECT_TRUE(FAILED(end(object)));
    }
    EXPECT_EQ(log.count(Severity::fatal, "pSource is NULL."), 1U);
    EXPECT_EQ(LogCapture::snapshots(), 1U);
    EXPECT_EQ(log.find("(*callee): (0x8007000e;").severity, Severity::warn);
    EXPECT_EQ(log.count(Severity::notice, "File=" + narrow(path)), 1U);
}

TEST_F(FlvByteStreamHandlerTest, RecordsAFaultWhileASourceIsBuiltAndLeavesTheHostAlive) {
    const std::wstring path = write(media().build());
    const MediaFoundationFault fault(MediaFoundationCall::createEventQueue, MediaFoundationFault::accessViolation);
    ASSERT_EQ(begin(urlOf(path)), S_OK);
    ComPtr<IUnknown> object;
    EXPECT_TRUE(FAILED(end(object)));
    const CapturedRecord record = log.find("ACCESS_VIOLATION");
    EXPECT_EQ(record.severity, Severity::fatal);
    EXPECT_NE(record.threadId, GetCurrentThreadId());
    EXPECT_EQ(LogCapture::snapshots(), 1U);
    EXPECT_TRUE(log.contains("(*callee): (0x80004005;"));
    EXPECT_TRUE(becomesTrue([this] { return counter.count() == 1; }));
}

TEST_F(FlvByteStreamHandlerTest, OpensEachRequestsOwnFile) {
    const std::wstring first = write(media().build());
    const std::wstring second = write(media().build());
    ClientCallback secondCallback;
    {
        const WorkItemHold hold; // both requests are there before either is served
        ASSERT_EQ(begin(urlOf(first)), S_OK);
        ASSERT_EQ(handler->BeginCreateObject(byteStream(), urlOf(second).c_str(), mediaSource, nullptr, nullptr,
                                             &secondCallback, nullptr),
                  S_OK);
        EXPECT_EQ(handler->filePath(), second);
    }
    ComPtr<IUnknown> object;
    ASSERT_EQ(end(object), S_OK);
    EXPECT_EQ(fileOf(object.Get()), narrow(first));
    ASSERT_TRUE(secondCallback.becomesCalled());
    MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
    ASSERT_EQ(handler->EndCreateObject(secondCallback.takeResult().Get(), &type, object.ReleaseAndGetAddressOf()),
              S_OK);
    EXPECT_EQ(fileOf(object.Get()), narrow(second));
    EXPECT_TRUE(secondCallback.becomesForgotten());
}

TEST_F(FlvByteStreamHandlerTest, ServesManyRequestsAtOnce) {
    constexpr std::size_t requests = 16;
    std::vector<std::wstring> paths;
    std::vector<ClientCallback> callbacks(requests);
    for (auto& each : callbacks) {
        paths.push_back(write(media(MetaData::typical(), FlvBuilder::audioAndVideo, 2).build()));
        ASSERT_EQ(handler->BeginCreateObject(byteStream(), urlOf(paths.back()).c_str(), mediaSource, nullptr, nullptr,
                                             &each, &state),
                  S_OK);
    }
    for (std::size_t i = 0; i < requests; ++i) {
        ASSERT_TRUE(callbacks[i].becomesCalled());
        MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
        ComPtr<IUnknown> object;
        ASSERT_EQ(handler->EndCreateObject(callbacks[i].takeResult().Get(), &type, object.GetAddressOf()), S_OK);
        EXPECT_EQ(fileOf(object.Get()), narrow(paths[i]));
        EXPECT_TRUE(callbacks[i].becomesForgotten());
    }
}

TEST_F(FlvByteStreamHandlerTest, IsKeptAliveByAQueuedRequest) {
    const std::wstring url = urlOf(write(media().build()));
    {
        const WorkItemHold hold;
        ASSERT_EQ(begin(url), S_OK);
        handler.Reset();
        EXPECT_EQ(counter.count(), 1U);
    }
    EXPECT_TRUE(callback.becomesCalled());
    EXPECT_TRUE(callback.becomesForgotten());
    EXPECT_TRUE(becomesTrue([this] { return counter.count() == 0; }));
    EXPECT_TRUE(log.contains("Delete at Release. instance=class JY::Pictaro::Fs::FlvByteStreamHandlerImpl"));
}

// EndCreateObject.

TEST_F(FlvByteStreamHandlerTest, RefusesNullPointersAtTheEndInOrder) {
    ClientAsyncResult result;
    MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
    EXPECT_EQ(handler->EndCreateObject(nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(log.count(Severity::fatal, "pResult is NULL."), 1U);
    EXPECT_EQ(handler->EndCreateObject(&result, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(log.count(Severity::fatal, "pObjectType is NULL."), 1U);
    EXPECT_EQ(handler->EndCreateObject(&result, &type, nullptr), E_INVALIDARG);
    EXPECT_EQ(log.count(Severity::fatal, "ppObject is NULL."), 1U);
    EXPECT_EQ(LogCapture::snapshots(), 3U);
}

TEST_F(FlvByteStreamHandlerTest, AnswersTheFailureOfTheResult) {
    ClientAsyncResult result;
    result.getObjectResult = MF_E_NOT_FOUND;
    MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
    IUnknown* object = &state;
    EXPECT_EQ(handler->EndCreateObject(&result, &type, &object), MF_E_NOT_FOUND);
    EXPECT_EQ(object, nullptr);
    EXPECT_TRUE(log.contains("class JY::ApiErrorException, GetObject: (0xc00d36d5;"));
}

TEST_F(FlvByteStreamHandlerTest, RefusesAResultWhoseObjectIsNoMediaSource) {
    ClientAsyncResult result;
    result.object = &state;
    MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
    IUnknown* object = nullptr;
    EXPECT_EQ(handler->EndCreateObject(&result, &type, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_TRUE(log.contains("class JY::ApiErrorException, QueryInterface: (0x80004002;"));
    EXPECT_EQ(state.references(), 0U);
}

TEST_F(FlvByteStreamHandlerTest, HandsOnTheResultsOwnPointer) {
    const Source source = open(media());
    ClientAsyncResult result;
    result.object = static_cast<IMFMediaSource*>(source.Get());
    MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
    ComPtr<IUnknown> object;
    EXPECT_EQ(handler->EndCreateObject(&result, &type, object.GetAddressOf()), S_OK);
    EXPECT_EQ(object.Get(), result.object);
    EXPECT_EQ(type, MF_OBJECT_MEDIASOURCE);
}

} // namespace
