#include "tests/source/SourceTest.h"
#include "tests/support/MethodTraces.h"

#include <mferror.h>

#include <functional>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using namespace JY::Pictaro::Fs;
using namespace JY::Test;
using Log2::Severity;
using Microsoft::WRL::ComPtr;

/// What holds for each method of a source alike.
class FlvSourceCallsTest : public SourceTest {
protected:
    void TearDown() override {
        source.Reset();
        EXPECT_TRUE(callback.becomesForgotten());
        SourceTest::TearDown();
    }

    /// Makes the source's one subscriber a callback, so that the next that comes is refused.
    void subscribe() { ASSERT_EQ(source->BeginGetEvent(&callback, nullptr), S_OK); }

    const std::wstring path = write(media().build());
    Source source = openFile(path);
    ClientCallback callback;
    ClientAsyncResult foreignResult;
    ComPtr<IMFMediaEvent> event;
};

TEST_F(FlvSourceCallsTest, TracesEachOfItsMethods) {
    void* unknown = nullptr;
    DWORD characteristics = 0;
    const Descriptor descriptor = describe(*source.Get());
    Descriptor another;
    const MediaFoundationFault queueless(MediaFoundationCall::putWorkItem, E_ACCESSDENIED);
    expectMethodTraces(
        log, typeid(FlvSourceImpl), "FlvSource",
        {{"QueryInterface", [&] { source->QueryInterface(IID_IMFAttributes, &unknown); }},
         {"GetEvent", [&] { source->GetEvent(MF_EVENT_FLAG_NO_WAIT, event.ReleaseAndGetAddressOf()); }},
         {"BeginGetEvent", [&] { source->BeginGetEvent(&callback, nullptr); }},
         {"EndGetEvent", [&] { source->EndGetEvent(&foreignResult, event.ReleaseAndGetAddressOf()); }},
         {"QueueEvent", [&] { source->QueueEvent(MEError, GUID_NULL, S_OK, nullptr); }},
         {"GetCharacteristics", [&] { source->GetCharacteristics(&characteristics); }},
         {"CreatePresentationDescriptor", [&] { source->CreatePresentationDescriptor(another.GetAddressOf()); }},
         {"Start", [&] { source->Start(descriptor.Get(), nullptr, Position().get()); }},
         {"Stop", [&] { source->Stop(); }},
         {"Pause", [&] { source->Pause(); }},
         {"Shutdown", [&] { source->Shutdown(); }}});
}

TEST_F(FlvSourceCallsTest, TracesWhatAStartDoesOnTheWorkQueue) {
    ASSERT_EQ(start(*source.Get(), Position()), S_OK);
    for (const char* const record : {"ENTER: JY::Pictaro::Fs::FlvSourceImpl::doStartAction",
                                     "EXIT: JY::Pictaro::Fs::FlvSourceImpl::doStartAction"}) {
        EXPECT_EQ(log.count(Severity::trace, record), 1U);
        EXPECT_NE(log.find(record).threadId, GetCurrentThreadId());
    }
}

TEST_F(FlvSourceCallsTest, RecordsTheFileOfEveryFailedMethod) {
    subscribe();
    ClientCallback other;
    const Descriptor descriptor = describe(*source.Get());
    const struct {
        const char* method;
        std::function<HRESULT()> call;
    } calls[] = {
        {"GetEvent", [&] { return source->GetEvent(MF_EVENT_FLAG_NO_WAIT, event.ReleaseAndGetAddressOf()); }},
        {"BeginGetEvent", [&] { return source->BeginGetEvent(&other, nullptr); }},
        {"EndGetEvent", [&] { return source->EndGetEvent(&foreignResult, event.ReleaseAndGetAddressOf()); }},
        {"QueueEvent",
         [&] {
             events.refuse("source", MEError, E_OUTOFMEMORY);
             return source->QueueEvent(MEError, GUID_NULL, S_OK, nullptr);
         }},
        {"CreatePresentationDescriptor", [&] { return source->CreatePresentationDescriptor(nullptr); }},
        {"Start", [&] { return source->Start(descriptor.Get(), &MFMediaType_Video, Position().get()); }},
        {"Pause", [&] { return source->Pause(); }},
        {"Stop",
         [&] {
             EXPECT_EQ(start(*source.Get(), Position(0)), S_OK);
             events.refuse("audio", MEStreamStopped, E_OUTOFMEMORY);
             log.clear();
             return source->Stop();
         }},
        {"Shutdown",
         [&] {
             EXPECT_EQ(source->Shutdown(), S_OK);
             return source->Shutdown();
         }},
    };
    for (const auto& [method, call] : calls) {
        log.clear();
        EXPECT_TRUE(FAILED(call())) << method;
        EXPECT_EQ(log.count(Severity::notice, "File=" + narrow(path)), 1U) << method;
        EXPECT_EQ(log.find("File=").file, "FlvSource") << method;
    }
    EXPECT_TRUE(other.becomesForgotten());
}

TEST_F(FlvSourceCallsTest, RecordsTheFileOfAStartThatFailsOnTheWorkQueue) {
    ASSERT_EQ(start(*source.Get(), Position::ofType(VT_R8)), S_OK);
    EXPECT_EQ(log.count(Severity::notice, "File=" + narrow(path)), 1U);
    EXPECT_NE(log.find("File=").threadId, GetCurrentThreadId());
}

TEST_F(FlvSourceCallsTest, RecordsNoFileOfASuccess) {
    subscribe();
    ASSERT_EQ(start(*source.Get(), Position(0)), S_OK);
    EXPECT_EQ(source->Pause(), S_OK);
    EXPECT_EQ(source->Stop(), S_OK);
    EXPECT_EQ(source->Shutdown(), S_OK);
    EXPECT_EQ(log.count("File=" + narrow(path)), 0U);
}

TEST_F(FlvSourceCallsTest, AnswersWhatTheQueueAnswers) {
    ClientCallback other;
    ClientState state;
    subscribe();
    log.clear();
    EXPECT_EQ(source->BeginGetEvent(&callback, nullptr), MF_S_MULTIPLE_BEGIN); // a success that says more
    EXPECT_FALSE(log.contains("File="));
    EXPECT_EQ(source->BeginGetEvent(&callback, &state), MF_E_MULTIPLE_BEGIN);
    EXPECT_EQ(source->BeginGetEvent(&other, nullptr), MF_E_MULTIPLE_SUBSCRIBERS);
    EXPECT_TRUE(FAILED(source->EndGetEvent(&foreignResult, event.GetAddressOf())));
    EXPECT_EQ(event.Get(), nullptr);
    EXPECT_FALSE(log.contains("Exception caught."));
    EXPECT_EQ(other.references(), 0U);
    EXPECT_EQ(state.references(), 0U);
}

TEST_F(FlvSourceCallsTest, GivesTheValuesOfItsMetaData) {
    const MetaDatum width = source->getMetaDatum("width");
    ASSERT_NE(boost::get<long double>(&width), nullptr);
    EXPECT_EQ(static_cast<double>(*boost::get<long double>(&width)), 320.0);
    EXPECT_THROW(source->getMetaDatum("no such value"), FlvMetaData::MetaDataNotFoundException);
}

} // namespace
