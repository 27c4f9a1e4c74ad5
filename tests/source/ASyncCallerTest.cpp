#include "source/ASyncCaller.h"

#include "com/ComUnknownBase.h"
#include "tests/source/ClientObjects.h"
#include "tests/source/MediaFoundationSeam.h"
#include "tests/support/Faults.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MethodTraces.h"
#include "tests/support/TimeLimit.h"
#include "util/ErrorException.h"

#include <mferror.h>

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using namespace JY::Pictaro::Fs;
using namespace JY::Test;
using Log2::Severity;
using Microsoft::WRL::ComPtr;

class Owner final : public ComUnknownBase<IUnknown> {
public:
    explicit Owner(ModuleUsageCounter& counter) : ComUnknownBase(counter) {}
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** result) override {
        *result = nullptr;
        return E_NOINTERFACE;
    }

    std::function<HRESULT(IUnknown* argument, IUnknown** result)> work = [](IUnknown*, IUnknown**) { return S_OK; };
    std::atomic<unsigned> calls{0};
    std::atomic<DWORD> thread{0};

private:
    HRESULT callee(IUnknown* argument, IUnknown** result) {
        thread = GetCurrentThreadId();
        const HRESULT outcome = work(argument, result);
        ++calls;
        return outcome;
    }

public:
    AsyncCaller<Owner> caller{*this, &Owner::callee};
};

class ASyncCallerTest : public testing::Test {
protected:
    void TearDown() override {
        owner.Reset();
        EXPECT_TRUE(becomesTrue([this] { return counter.count() == 0; }));
    }

    /// What Media Foundation does with a call that has been queued for this callback.
    HRESULT invoke(IMFAsyncCallback* whom) {
        const auto param = createParam<AsyncCallParam>(whom, nullptr, nullptr);
        ClientAsyncResult result;
        result.state = param.Get();
        return owner->caller.Invoke(&result);
    }

    LogCapture log;
    ModuleUsageCounter counter;
    ComPtr<Owner> owner = createObject<Owner>(counter);
    ClientCallback callback;
    ClientState state;
};

TEST_F(ASyncCallerTest, RunsTheCalleeOnAThreadOfTheWorkQueue) {
    ClientState argument;
    std::atomic<IUnknown*> seen{nullptr};
    owner->work = [&](IUnknown* given, IUnknown** result) {
        EXPECT_EQ(*result, nullptr);
        seen = given;
        return S_OK;
    };
    EXPECT_EQ(owner->caller.doCallAsync(&argument), S_OK);
    EXPECT_TRUE(becomesTrue([&] { return owner->calls == 1; }));
    EXPECT_NE(owner->thread, GetCurrentThreadId());
    EXPECT_EQ(seen, &argument);
    EXPECT_TRUE(argument.becomesUnreferenced());
}

TEST_F(ASyncCallerTest, TellsTheCallbackWithTheStateTheResultObjectAndStatusOk) {
    ClientState object;
    ClientState argument;
    owner->work = [&](IUnknown* given, IUnknown** result) {
        EXPECT_EQ(given, &argument);
        object.AddRef();
        *result = &object;
        return S_OK;
    };
    EXPECT_EQ(owner->caller.doCallAsync(&callback, &state, &argument), S_OK);
    ASSERT_TRUE(callback.becomesCalled());
    {
        const auto result = callback.takeResult();
        EXPECT_EQ(result->GetStatus(), S_OK);
        ComPtr<IUnknown> carried;
        EXPECT_EQ(result->GetState(carried.GetAddressOf()), S_OK);
        EXPECT_EQ(carried.Get(), &state);
        EXPECT_EQ(result->GetObject(carried.ReleaseAndGetAddressOf()), S_OK);
        EXPECT_EQ(carried.Get(), &object);
    }
    EXPECT_TRUE(callback.becomesUnreferenced());
    EXPECT_TRUE(state.becomesUnreferenced());
    EXPECT_TRUE(argument.becomesUnreferenced());
    EXPECT_TRUE(object.becomesUnreferenced());
    EXPECT_EQ(callback.calls(), 1U);
}

TEST_F(ASyncCallerTest, WithoutACallbackRecordsThatNobodyIsTold) {
    EXPECT_EQ(invoke(nullptr), S_OK);
    EXPECT_EQ(owner->calls, 1U);
    EXPECT_EQ(log.count(Severity::info, "No callback return."), 1U);
    EXPECT_EQ(log.find("No callback return.").file, "ASyncCaller");
}

TEST_F(ASyncCallerTest, WithoutACallbackAnswersOkAlsoWhenTheCalleeFails) {
    owner->work = [](IUnknown*, IUnknown**) { return MF_E_SHUTDOWN; };
    EXPECT_EQ(invoke(nullptr), S_OK);
    EXPECT_EQ(log.count(Severity::info, "No callback return."), 1U);
    const CapturedRecord record = log.find("(*callee)");
    EXPECT_EQ(record.severity, Severity::warn);
    EXPECT_EQ(record.file, "ASyncCaller");
    EXPECT_TRUE(record.message.starts_with("Exception caught. class JY::ApiErrorException, (*callee): (0xc00d3e85;"));
}

TEST_F(ASyncCallerTest, CompletesAFailedCallWithStatusOkAndNoObject) {
    owner->work = [](IUnknown*, IUnknown**) { return E_ACCESSDENIED; };
    EXPECT_EQ(owner->caller.doCallAsync(&callback, &state, nullptr), S_OK);
    ASSERT_TRUE(callback.becomesCalled());
    const auto result = callback.takeResult();
    EXPECT_EQ(result->GetStatus(), S_OK);
    ComPtr<IUnknown> object;
    EXPECT_TRUE(FAILED(result->GetObject(object.GetAddressOf())));
    EXPECT_TRUE(log.contains("(*callee): (0x80070005;"));
}

TEST_F(ASyncCallerTest, AnswersTheFailureOfGetState) {
    ClientAsyncResult result;
    result.getStateResult = E_POINTER;
    EXPECT_EQ(owner->caller.Invoke(&result), E_POINTER);
    const CapturedRecord record = log.find("Exception caught.");
    EXPECT_EQ(record.severity, Severity::error);
    EXPECT_TRUE(record.message.starts_with("Exception caught. class JY::ApiErrorException, GetState: (0x80004003;"));
    EXPECT_EQ(owner->calls, 0U);
}

TEST_F(ASyncCallerTest, AnswersEFailForAResultWithoutAState) {
    ClientAsyncResult result;
    EXPECT_EQ(owner->caller.Invoke(&result), E_FAIL);
    const CapturedRecord record = log.find("Exception caught.");
    EXPECT_EQ(record.severity, Severity::error);
    EXPECT_TRUE(record.message.starts_with("Exception caught. class JY::ApiErrorException, "));
    EXPECT_NE(record.message.find("(0x80004005;"), std::string::npos);
    EXPECT_EQ(owner->calls, 0U);
}

TEST_F(ASyncCallerTest, RefusesANullResult) {
    EXPECT_EQ(owner->caller.Invoke(nullptr), E_INVALIDARG);
    EXPECT_EQ(log.count(Severity::fatal, "pAsyncResult is NULL."), 1U);
}

TEST_F(ASyncCallerTest, StopsWhenThereCanBeNoCompletion) {
    const MediaFoundationFault fault(MediaFoundationCall::createAsyncResult, E_OUTOFMEMORY);
    ClientState object;
    owner->work = [&](IUnknown*, IUnknown** result) {
        object.AddRef();
        *result = &object;
        return S_OK;
    };
    EXPECT_EQ(invoke(&callback), E_OUTOFMEMORY);
    const CapturedRecord record = log.find("MFCreateAsyncResult");
    EXPECT_EQ(record.severity, Severity::warn);
    EXPECT_TRUE(
        record.message.starts_with("Exception caught. class JY::ApiErrorException, MFCreateAsyncResult: (0x8007000e;"));
    EXPECT_EQ(callback.calls(), 0U);
    EXPECT_EQ(object.references(), 0U);
}

TEST_F(ASyncCallerTest, AnswersTheFailureToCallBack) {
    const MediaFoundationFault fault(MediaFoundationCall::invokeCallback, MF_E_SHUTDOWN);
    EXPECT_EQ(invoke(&callback), MF_E_SHUTDOWN);
    const CapturedRecord record = log.find("MFInvokeCallback");
    EXPECT_EQ(record.severity, Severity::error);
    EXPECT_TRUE(
        record.message.starts_with("Exception caught. class JY::ApiErrorException, MFInvokeCallback: (0xc00d3e85;"));
    EXPECT_EQ(callback.references(), 0U);
}

TEST_F(ASyncCallerTest, AnswersTheFailureToQueueWithoutARecord) {
    const MediaFoundationFault fault(MediaFoundationCall::putWorkItem, E_ACCESSDENIED);
    EXPECT_EQ(owner->caller.doCallAsync(&callback, &state, nullptr), E_ACCESSDENIED);
    EXPECT_TRUE(log.messages().empty());
    EXPECT_EQ(callback.references(), 0U);
    EXPECT_EQ(state.references(), 0U);
}

/// Asks for another call when it is released for the last time.
class AskingState final : public ClientObject<IUnknown> {
public:
    explicit AskingState(AsyncCaller<Owner>& caller) : caller_(caller) {}
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = ClientObject::Release();
        if (left == 0 && !asked_.exchange(true)) {
            caller_.doCallAsync(nullptr);
        }
        return left;
    }

private:
    AsyncCaller<Owner>& caller_;
    std::atomic<bool> asked_{false};
};

TEST_F(ASyncCallerTest, ReleasesOutsideItsLockWhatItCouldNotQueue) {
    const MediaFoundationFault fault(MediaFoundationCall::putWorkItem, E_ACCESSDENIED);
    AskingState asking(owner->caller);
    ASSERT_TRUE(returnsInTime([&] { owner->caller.doCallAsync(nullptr, &asking, nullptr); }));
    EXPECT_EQ(asking.references(), 0U);
}

TEST_F(ASyncCallerTest, QueuesOnTheMultithreadedQueue) {
    takeWorkQueues();
    EXPECT_EQ(owner->caller.doCallAsync(nullptr), S_OK);
    EXPECT_EQ(owner->caller.doCallAsync(&callback, &state, nullptr), S_OK);
    EXPECT_EQ(takeWorkQueues(), (std::vector<DWORD>{5, 5}));
    EXPECT_TRUE(callback.becomesCalled());
    EXPECT_TRUE(callback.becomesForgotten());
    EXPECT_TRUE(state.becomesUnreferenced());
}

TEST_F(ASyncCallerTest, TracesEachOfItsMethods) {
    void* result = nullptr;
    const MediaFoundationFault queueless(MediaFoundationCall::putWorkItem, E_ACCESSDENIED);
    expectMethodTraces(log, typeid(owner->caller), "ASyncCaller",
                       {{"QueryInterface", [&] { owner->caller.QueryInterface(IID_IClassFactory, &result); }},
                        {"GetParameters", [&] { owner->caller.GetParameters(nullptr, nullptr); }},
                        {"doCallAsync", [&] { owner->caller.doCallAsync(nullptr); }},
                        {"Invoke", [&] { invoke(nullptr); }}});
}

TEST_F(ASyncCallerTest, RecordsAFaultOfTheCalleeAndLeavesTheHostAlive) {
    owner->work = [](IUnknown*, IUnknown**) { return static_cast<HRESULT>(readFrom(nullptr)); };
    EXPECT_EQ(owner->caller.doCallAsync(&callback, &state, nullptr), S_OK);
    EXPECT_TRUE(becomesTrue([this] { return LogCapture::snapshots() == 1; }));
    const CapturedRecord record = log.find("ACCESS_VIOLATION");
    EXPECT_EQ(record.severity, Severity::fatal);
    EXPECT_NE(record.threadId, GetCurrentThreadId());
    EXPECT_TRUE(callback.becomesUnreferenced());
    EXPECT_TRUE(state.becomesUnreferenced());
}

TEST_F(ASyncCallerTest, TurnsWhatTheCalleeThrowsIntoAResult) {
    owner->work = [](IUnknown*, IUnknown**) -> HRESULT {
        constexpr SourceFile here{"ASyncCallerTest"};
        throw ErrorException(here(), "Bad data.");
    };
    EXPECT_EQ(invoke(&callback), E_FAIL);
    EXPECT_EQ(log.find("Bad data.").severity, Severity::error);
}

TEST_F(ASyncCallerTest, LeavesNoReferencesBehindABadCallback) {
    auto* const bad = reinterpret_cast<IMFAsyncCallback*>(8);
    constexpr SourceFile here{"ASyncCallerTest"};
    const HRESULT result = comCall({here(), nullptr, "test"},
                                   [&](const ComCall&) { return owner->caller.doCallAsync(bad, &state, nullptr); });
    EXPECT_EQ(result, E_FAIL);
    EXPECT_TRUE(log.contains("ACCESS_VIOLATION"));
    EXPECT_EQ(state.references(), 0U);
    EXPECT_EQ(owner->caller.doCallAsync(&callback, &state, nullptr), S_OK); // nothing is left locked
    EXPECT_TRUE(callback.becomesCalled());
    callback.takeResult();
    EXPECT_TRUE(state.becomesUnreferenced());
}

TEST_F(ASyncCallerTest, KeepsItsOwnerAliveUntilTheCallHasRun) {
    std::atomic<bool> go{false};
    std::atomic<bool> done{false};
    owner->work = [&](IUnknown*, IUnknown**) {
        EXPECT_TRUE(becomesTrue([&] { return go.load(); }));
        done = true;
        return S_OK;
    };
    EXPECT_EQ(owner->caller.doCallAsync(nullptr), S_OK);
    owner.Reset();
    EXPECT_EQ(counter.count(), 1U);
    go = true;
    EXPECT_TRUE(becomesTrue([&] { return counter.count() == 0; }));
    EXPECT_TRUE(done);
}

TEST_F(ASyncCallerTest, CountsTheReferencesOfManyOverlappingCalls) {
    constexpr unsigned threadCount = 4;
    constexpr unsigned callsEach = 500;
    {
        std::vector<std::jthread> threads;
        for (unsigned i = 0; i < threadCount; ++i) {
            threads.emplace_back([&] {
                for (unsigned call = 0; call < callsEach; ++call) {
                    EXPECT_EQ(owner->caller.doCallAsync(nullptr, &state, &state), S_OK);
                }
            });
        }
    }
    EXPECT_TRUE(becomesTrue([&] { return owner->calls == threadCount * callsEach; }));
    EXPECT_TRUE(state.becomesUnreferenced());
}

TEST_F(ASyncCallerTest, AnswersForIUnknownWithAReferenceToItsOwner) {
    void* result = nullptr;
    EXPECT_EQ(owner->caller.QueryInterface(IID_IUnknown, &result), S_OK);
    EXPECT_EQ(result, &owner->caller);
    EXPECT_EQ(owner->Release(), 1U);
}

TEST_F(ASyncCallerTest, DoesNotAnswerForTheCallbackInterface) {
    void* result = &state;
    EXPECT_EQ(owner->caller.QueryInterface(IID_IMFAsyncCallback, &result), E_NOINTERFACE);
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(owner->caller.QueryInterface(IID_IUnknown, nullptr), E_INVALIDARG);
    EXPECT_EQ(owner->AddRef(), 2U);
    owner->Release();
}

TEST_F(ASyncCallerTest, ForwardsItsReferencesToItsOwner) {
    EXPECT_EQ(owner->caller.AddRef(), 2U);
    EXPECT_EQ(owner->AddRef(), 3U);
    EXPECT_EQ(owner->caller.Release(), 2U);
    EXPECT_EQ(owner->Release(), 1U);
}

TEST_F(ASyncCallerTest, HasNoParameters) {
    DWORD flags = 0;
    DWORD queue = 0;
    EXPECT_EQ(owner->caller.GetParameters(&flags, &queue), E_NOTIMPL);
    EXPECT_EQ(owner->caller.GetParameters(nullptr, nullptr), E_NOTIMPL);
}

} // namespace
