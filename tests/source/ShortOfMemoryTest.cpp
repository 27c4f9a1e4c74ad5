#include "source/FlvByteStreamHandlerImpl.h"
#include "tests/source/SourceTest.h"
#include "tests/support/Allocations.h"
#include "tests/support/ImportPatch.h"

#include <mfapi.h>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using namespace JY::Pictaro::Fs;
using namespace JY::Test;
using Microsoft::WRL::ComPtr;

/// Takes the place of the work queue: keeps what is queued until it is run on the test's own thread.
class HeldWork {
public:
    HeldWork() { held_ = this; }
    HeldWork(const HeldWork&) = delete;
    HeldWork& operator=(const HeldWork&) = delete;
    ~HeldWork() { held_ = nullptr; }

    void run() { callback_->Invoke(item_.Get()); }
    void forget() {
        callback_.Reset();
        item_.Reset();
    }

private:
    static HRESULT STDAPICALLTYPE hold(DWORD, IMFAsyncCallback* callback, IUnknown* state) {
        held_->callback_ = callback;
        return MFCreateAsyncResult(nullptr, callback, state, held_->item_.ReleaseAndGetAddressOf());
    }

    static inline HeldWork* held_ = nullptr;
    ImportPatch<decltype(&MFPutWorkItem)> patch_{"MFPutWorkItem", &hold};
    ComPtr<IMFAsyncCallback> callback_;
    ComPtr<IMFAsyncResult> item_;
};

/// Each allocation of an operation fails in turn: the operation fails and leaves nothing behind, or nobody notices.
class ShortOfMemoryTest : public SourceTest {
protected:
    /// Records kept for a test would be among the allocations.
    ShortOfMemoryTest() { Log2::setCore(nullptr); }
};

TEST_F(ShortOfMemoryTest, RequestForASourceIsQueuedOrRefused) {
    const std::wstring url = L"file://" + write(media().build());
    const auto handler = createObject<FlvByteStreamHandlerImpl>(counter);
    ClientState bytes;
    ClientState state;
    ClientCallback callback;
    unsigned refusals = 0;
    unsigned queued = 0;
    failEachAllocationOf([&] {
        const HRESULT result =
            handler->BeginCreateObject(reinterpret_cast<IMFByteStream*>(&bytes), url.c_str(), MF_RESOLUTION_MEDIASOURCE,
                                       nullptr, nullptr, &callback, &state);
        ++(SUCCEEDED(result) ? queued : refusals);
        EXPECT_TRUE(result == S_OK || result == E_FAIL) << std::hex << result;
    });
    EXPECT_GT(refusals, 0U);
    EXPECT_GT(queued, 0U);
    EXPECT_TRUE(becomesTrue([&] { return callback.calls() == queued; }));
    EXPECT_TRUE(callback.becomesForgotten());
    EXPECT_TRUE(state.becomesUnreferenced());
}

TEST_F(ShortOfMemoryTest, ClientIsToldWhetherItHasASource) {
    const std::wstring url = L"file://" + write(media(MetaData::typical(), FlvBuilder::audioAndVideo, 2).build());
    const auto handler = createObject<FlvByteStreamHandlerImpl>(counter);
    ClientState bytes;
    ClientState state;
    HeldWork work;
    unsigned sources = 0;
    bool hasFailed = true;
    unsigned requests = 0;
    for (; hasFailed; ++requests) {
        ClientCallback callback;
        ASSERT_EQ(handler->BeginCreateObject(reinterpret_cast<IMFByteStream*>(&bytes), url.c_str(),
                                             MF_RESOLUTION_MEDIASOURCE, nullptr, nullptr, &callback, &state),
                  S_OK);
        {
            const FailingAllocation failure(requests + 1);
            work.run();
            hasFailed = failure.hasFailed();
        }
        work.forget();
        ASSERT_TRUE(callback.becomesCalled());
        MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
        ComPtr<IUnknown> object;
        const HRESULT result = handler->EndCreateObject(callback.takeResult().Get(), &type, object.GetAddressOf());
        EXPECT_EQ(SUCCEEDED(result), object != nullptr);
        sources += SUCCEEDED(result);
        EXPECT_TRUE(callback.becomesForgotten());
    }
    EXPECT_GT(sources, 0U);
    EXPECT_LT(sources, requests);
    EXPECT_TRUE(state.becomesUnreferenced());
}

TEST_F(ShortOfMemoryTest, StartIsQueuedOrRefusedAndCanBeRepeated) {
    const Source source = open(media());
    const Descriptor descriptor = describe(*source.Get());
    unsigned refusals = 0;
    failEachAllocationOf([&] {
        const HRESULT result = source->Start(descriptor.Get(), nullptr, Position(0).get());
        refusals += FAILED(result);
        EXPECT_TRUE(result == S_OK || result == E_FAIL) << std::hex << result;
    });
    EXPECT_GT(refusals, 0U);
    EXPECT_EQ(source->Start(descriptor.Get(), nullptr, Position(0).get()), S_OK);
    ASSERT_TRUE(becomesTrue([&] { return source->getStateId() == SourceStateId::started; }));
    const Stream video = announcedStream(*source.Get(), videoId);
    ASSERT_NE(video, nullptr);
    EXPECT_EQ(requestSample(*video.Get()), 0);
    EXPECT_EQ(source->Shutdown(), S_OK);
}

} // namespace
