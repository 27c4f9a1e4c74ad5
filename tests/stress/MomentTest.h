#pragma once

#include "tests/stress/HeapObject.h"
#include "tests/stress/HeldWorkItems.h"
#include "tests/stress/ModuleClient.h"
#include "tests/support/TempFile.h"

#include <mferror.h>
#include <mfidl.h>
#include <windows.h>
#include <wrl/client.h>

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace JY::Test {

/// A callback that a test gives its meaning.
class FunctionCallback final : public HeapObject<IMFAsyncCallback> {
public:
    using Function = std::function<void(IMFAsyncResult&)>;

    explicit FunctionCallback(Function function) : function_(std::move(function)) {}
    HRESULT STDMETHODCALLTYPE GetParameters(DWORD*, DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult* result) override {
        function_(*result);
        isDone_ = true;
        return S_OK;
    }
    bool becomesDone() const {
        return becomesTrue([this] { return isDone_.load(); });
    }

private:
    Function function_;
    std::atomic<bool> isDone_{false};
};

/// A call at the wrong moment. When a test is over nothing may refer to the module any more, which is unloaded then.
class MomentTest : public testing::Test {
protected:
    void SetUp() override { client.emplace(); }
    void TearDown() override { letGo(); }

    void letGo() {
        client.reset();
        EXPECT_TRUE(becomesTrue([] { return liveHeapObjects == 0; })) << liveHeapObjects;
        EXPECT_EQ(GetModuleHandleW(L"JyFlvSource.dll"), nullptr);
    }

    /// Both kinds, a key frame every second up to the tenth.
    const std::wstring& film() {
        if (!film_) {
            film_.emplace(secondsFilm());
            path_ = film_->path();
        }
        return path_;
    }
    /// A source that nobody else refers to any more.
    PlayedSource play() {
        return settled([&] { return client->play(film()); });
    }
    Microsoft::WRL::ComPtr<IMFMediaSource> open() {
        return settled([&] { return client->open(film()); });
    }

    std::optional<ModuleClient> client;

private:
    /// What `make` gives when the work queue has let go of all that making it took.
    template <class Make>
    std::invoke_result_t<Make> settled(const Make& make) {
        const unsigned before = liveHeapObjects;
        auto made = make();
        EXPECT_TRUE(becomesTrue([&] { return liveHeapObjects == before; })) << liveHeapObjects;
        EXPECT_TRUE(becomesLeft(client->module()));
        return made;
    }

    std::optional<TempFile> film_;
    std::wstring path_;
};

} // namespace JY::Test
