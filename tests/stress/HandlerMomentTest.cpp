#include "module/ClassId.h"
#include "tests/module/ModuleLog.h"
#include "tests/stress/MomentTest.h"

#include <mfapi.h>

namespace {

using namespace JY::Test;
using Microsoft::WRL::ComPtr;

class HandlerMomentTest : public MomentTest {
protected:
    HRESULT begin(IMFByteStreamHandler& handler, IMFAsyncCallback& callback) {
        const auto bytes = makeHeapObject<HeapToken>(); // in the place of a byte stream, which is not used
        return handler.BeginCreateObject(reinterpret_cast<IMFByteStream*>(static_cast<IUnknown*>(bytes.Get())),
                                         (L"file://" + film()).c_str(), MF_RESOLUTION_MEDIASOURCE, nullptr, nullptr,
                                         &callback, nullptr);
    }
    static HRESULT end(IMFByteStreamHandler& handler, IMFAsyncResult& result, ComPtr<IMFMediaSource>& source) {
        MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
        ComPtr<IUnknown> object;
        const HRESULT ended = handler.EndCreateObject(&result, &type, object.GetAddressOf());
        if (SUCCEEDED(ended)) {
            EXPECT_EQ(object->QueryInterface(IID_PPV_ARGS(source.ReleaseAndGetAddressOf())), S_OK);
        }
        return ended;
    }
    ComPtr<IClassFactory> makeFactory() const {
        ComPtr<IClassFactory> factory;
        EXPECT_EQ(client->module().find<GetClassObject>("DllGetClassObject")(
                      JY::Pictaro::Fs::CLSID_FlvByteStreamHandler, IID_IClassFactory,
                      reinterpret_cast<void**>(factory.GetAddressOf())),
                  S_OK);
        return factory;
    }
};

TEST_F(HandlerMomentTest, CancelObjectCreationIsNotImplementedAtAnyMoment) {
    const auto handler = client->module().makeHandler();
    ClientState cookie;
    ClientCallback callback;
    ComPtr<IMFMediaSource> source;
    EXPECT_EQ(handler->CancelObjectCreation(&cookie), E_NOTIMPL);
    {
        const HeldWorkItems held;
        EXPECT_EQ(begin(*handler.Get(), callback), S_OK);
        EXPECT_EQ(handler->CancelObjectCreation(&cookie), E_NOTIMPL);
        EXPECT_EQ(handler->CancelObjectCreation(nullptr), E_NOTIMPL);
    }
    ASSERT_TRUE(callback.becomesCalled());
    EXPECT_EQ(end(*handler.Get(), *callback.takeResult().Get(), source), S_OK);
    EXPECT_EQ(handler->CancelObjectCreation(&cookie), E_NOTIMPL);
    EXPECT_EQ(cookie.references(), 0U);
    EXPECT_TRUE(callback.becomesForgotten());
}

TEST_F(HandlerMomentTest, EndCreateObjectWithoutAnyRequestIsRefused) {
    const auto handler = client->module().makeHandler();
    MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
    ComPtr<IUnknown> object;
    ClientAsyncResult result;
    EXPECT_EQ(handler->EndCreateObject(nullptr, &type, object.GetAddressOf()), E_INVALIDARG);
    EXPECT_EQ(handler->EndCreateObject(&result, nullptr, object.GetAddressOf()), E_INVALIDARG);
    EXPECT_EQ(handler->EndCreateObject(&result, &type, nullptr), E_INVALIDARG);
    result.getObjectResult = E_ACCESSDENIED;
    EXPECT_EQ(handler->EndCreateObject(&result, &type, object.GetAddressOf()), E_ACCESSDENIED);
    EXPECT_EQ(object, nullptr);
}

TEST_F(HandlerMomentTest, EndCreateObjectInsideItsCallbackGivesTheSource) {
    const auto handler = client->module().makeHandler();
    const auto callback = makeHeapObject<FunctionCallback>([&](IMFAsyncResult& result) {
        ComPtr<IMFMediaSource> source;
        EXPECT_EQ(end(*handler.Get(), result, source), S_OK);
        EXPECT_EQ(client->canUnloadNow(), S_FALSE);
        EXPECT_EQ(source->Pause(), MF_E_INVALID_STATE_TRANSITION);
        EXPECT_EQ(source->Shutdown(), S_OK);
    });
    EXPECT_EQ(begin(*handler.Get(), *callback.Get()), S_OK);
    EXPECT_TRUE(callback->becomesDone());
}

TEST_F(HandlerMomentTest, LastReleaseOfHandlerAndSourceInsideTheCallbackEndsBoth) {
    auto handler = client->module().makeHandler();
    const auto callback = makeHeapObject<FunctionCallback>([&](IMFAsyncResult& result) {
        ComPtr<IMFMediaSource> source;
        EXPECT_EQ(end(*handler.Get(), result, source), S_OK);
        handler.Reset();
    });
    {
        const HeldWorkItems held; // until this thread has returned from the handler
        EXPECT_EQ(begin(*handler.Get(), *callback.Get()), S_OK);
    }
    EXPECT_TRUE(callback->becomesDone());
}

TEST_F(HandlerMomentTest, StartInsideTheCallbackOutlivesTheLastRelease) {
    letGo();
    const ModuleLog log;
    const ModuleSetting level(L"LogLevel", 0); // the module's own record is all that such a start leaves
    client.emplace();
    auto handler = client->module().makeHandler();
    auto callback = makeHeapObject<FunctionCallback>([&](IMFAsyncResult& result) {
        ComPtr<IMFMediaSource> source;
        EXPECT_EQ(end(*handler.Get(), result, source), S_OK);
        EXPECT_EQ(startSource(*source.Get(), Position(0)), S_OK);
    });
    EXPECT_EQ(begin(*handler.Get(), *callback.Get()), S_OK);
    EXPECT_TRUE(callback->becomesDone());
    callback.Reset();
    handler.Reset();
    letGo();
    EXPECT_EQ(log.count("StartPosition[100ns]=0"), 1U);
}

TEST_F(HandlerMomentTest, AResultIsEndedTwiceAndByAnotherHandler) {
    const auto handler = client->module().makeHandler();
    const auto other = client->module().makeHandler();
    ClientCallback callback;
    EXPECT_EQ(begin(*handler.Get(), callback), S_OK);
    ASSERT_TRUE(callback.becomesCalled());
    auto result = callback.takeResult();
    ComPtr<IMFMediaSource> first;
    ComPtr<IMFMediaSource> second;
    EXPECT_EQ(end(*handler.Get(), *result.Get(), first), S_OK);
    EXPECT_EQ(end(*other.Get(), *result.Get(), second), S_OK);
    EXPECT_EQ(first.Get(), second.Get());
    result.Reset();
    EXPECT_TRUE(callback.becomesForgotten());
}

TEST_F(HandlerMomentTest, AResultThatNobodyEndsTakesTheSourceWithIt) {
    auto handler = client->module().makeHandler();
    ClientCallback callback;
    EXPECT_EQ(begin(*handler.Get(), callback), S_OK);
    ASSERT_TRUE(callback.becomesCalled());
    handler.Reset();
    EXPECT_EQ(client->canUnloadNow(), S_FALSE);
    EXPECT_TRUE(callback.becomesForgotten());
}

TEST_F(HandlerMomentTest, LastReleaseDuringAPendingCreationWaitsForIt) {
    auto handler = client->module().makeHandler();
    ClientCallback callback;
    {
        const HeldWorkItems held;
        EXPECT_EQ(begin(*handler.Get(), callback), S_OK);
        EXPECT_NE(handler.Reset(), 0U);
        EXPECT_EQ(client->canUnloadNow(), S_FALSE);
        EXPECT_EQ(callback.calls(), 0U);
    }
    EXPECT_TRUE(callback.becomesCalled());
    EXPECT_TRUE(callback.becomesForgotten());
}

TEST_F(HandlerMomentTest, SecondRequestDuringAPendingCreationHasAnAnswerOfItsOwn) {
    const auto handler = client->module().makeHandler();
    ClientCallback first;
    ClientCallback second;
    {
        const HeldWorkItems held;
        EXPECT_EQ(begin(*handler.Get(), first), S_OK);
        EXPECT_EQ(begin(*handler.Get(), second), S_OK);
    }
    ASSERT_TRUE(first.becomesCalled());
    ASSERT_TRUE(second.becomesCalled());
    ComPtr<IMFMediaSource> one;
    ComPtr<IMFMediaSource> other;
    EXPECT_EQ(end(*handler.Get(), *second.takeResult().Get(), other), S_OK);
    EXPECT_EQ(end(*handler.Get(), *first.takeResult().Get(), one), S_OK);
    EXPECT_NE(one.Get(), other.Get());
    EXPECT_TRUE(first.becomesForgotten());
    EXPECT_TRUE(second.becomesForgotten());
}

TEST_F(HandlerMomentTest, DeletingTheFileDuringAPendingCreationFailsItsEndOnly) {
    const auto handler = client->module().makeHandler();
    ClientCallback callback;
    {
        const HeldWorkItems held;
        EXPECT_EQ(begin(*handler.Get(), callback), S_OK);
        ASSERT_TRUE(DeleteFileW(film().c_str()));
    }
    ASSERT_TRUE(callback.becomesCalled());
    ComPtr<IMFMediaSource> source;
    EXPECT_TRUE(FAILED(end(*handler.Get(), *callback.takeResult().Get(), source)));
    EXPECT_TRUE(callback.becomesForgotten());
}

// The factory and the server lock in between.

TEST_F(HandlerMomentTest, ServerLockTakenDuringAPendingCreationOutlivesIt) {
    const auto handler = client->module().makeHandler();
    ClientCallback callback;
    {
        const HeldWorkItems held;
        EXPECT_EQ(begin(*handler.Get(), callback), S_OK);
        EXPECT_EQ(makeFactory()->LockServer(TRUE), S_OK);
        EXPECT_EQ(client->canUnloadNow(), S_FALSE);
    }
    ASSERT_TRUE(callback.becomesCalled());
    EXPECT_TRUE(callback.becomesForgotten());
    EXPECT_EQ(client->canUnloadNow(), S_FALSE);
    EXPECT_EQ(makeFactory()->LockServer(FALSE), S_OK);
}

TEST_F(HandlerMomentTest, ServerLockKeepsTheModuleBehindItsLastObject) {
    auto factory = makeFactory();
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    factory.Reset();
    auto source = open();
    EXPECT_EQ(source->Shutdown(), S_OK);
    EXPECT_EQ(source.Reset(), 0U);
    EXPECT_EQ(client->canUnloadNow(), S_FALSE);
    factory = makeFactory();
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    EXPECT_EQ(client->canUnloadNow(), S_FALSE);
    factory.Reset();
    EXPECT_EQ(client->canUnloadNow(), S_OK);
}

TEST_F(HandlerMomentTest, FactoryRefusesAPartAndAForeignInterfaceDuringAPendingCreation) {
    const auto handler = client->module().makeHandler();
    const auto factory = makeFactory();
    ClientCallback callback;
    ClientState outer;
    ComPtr<IUnknown> none;
    const auto place = reinterpret_cast<void**>(none.GetAddressOf());
    {
        const HeldWorkItems held;
        EXPECT_EQ(begin(*handler.Get(), callback), S_OK);
        EXPECT_EQ(factory->CreateInstance(&outer, IID_IUnknown, place), CLASS_E_NOAGGREGATION);
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IMFMediaSource, place), E_NOINTERFACE);
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_INVALIDARG);
        EXPECT_EQ(factory->QueryInterface(IID_IMFMediaSource, place), E_NOINTERFACE);
        EXPECT_EQ(none, nullptr);
    }
    EXPECT_TRUE(callback.becomesCalled());
    EXPECT_TRUE(callback.becomesForgotten());
}

TEST_F(HandlerMomentTest, NullPointersAreRefusedDuringAPendingCreation) {
    const auto handler = client->module().makeHandler();
    ClientCallback callback;
    ClientState bytes;
    auto* const stream = reinterpret_cast<IMFByteStream*>(static_cast<IUnknown*>(&bytes));
    const auto again = [&](IMFByteStream* byteStream, LPCWSTR url, DWORD flags, IMFAsyncCallback* told) {
        return handler->BeginCreateObject(byteStream, url, flags, nullptr, nullptr, told, nullptr);
    };
    {
        const HeldWorkItems held;
        EXPECT_EQ(begin(*handler.Get(), callback), S_OK);
        EXPECT_EQ(again(nullptr, L"file://C:\\x.flv", MF_RESOLUTION_MEDIASOURCE, &callback), E_INVALIDARG);
        EXPECT_EQ(again(stream, nullptr, MF_RESOLUTION_MEDIASOURCE, &callback), E_INVALIDARG);
        EXPECT_EQ(again(stream, L"file://C:\\x.flv", MF_RESOLUTION_MEDIASOURCE, nullptr), E_INVALIDARG);
        EXPECT_EQ(again(stream, L"file://C:\\x.flv", MF_RESOLUTION_BYTESTREAM, &callback), E_INVALIDARG);
        EXPECT_EQ(again(stream, L"file://C:\\missing.flv", MF_RESOLUTION_MEDIASOURCE, &callback), E_FAIL);
        EXPECT_EQ(handler->GetMaxNumberOfBytesRequiredForResolution(nullptr), E_INVALIDARG);
    }
    EXPECT_TRUE(callback.becomesCalled());
    ComPtr<IMFMediaSource> source;
    EXPECT_EQ(end(*handler.Get(), *callback.takeResult().Get(), source), S_OK); // of the first request's own file
    EXPECT_TRUE(callback.becomesForgotten());
}

} // namespace
