#include "source/AsyncCallParam.h"

#include "tests/source/ClientObjects.h"
#include "tests/support/FaultyCallback.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using namespace JY::Pictaro::Fs;
using namespace JY::Test;

TEST(AsyncCallParam, HoldsAReferenceToEachOfItsObjects) {
    ClientCallback callback;
    ClientState state;
    ClientState argument;
    {
        const auto param = createParam<AsyncCallParam>(&callback, &state, &argument);
        EXPECT_EQ(callback.references(), 1U);
        EXPECT_EQ(state.references(), 1U);
        EXPECT_EQ(argument.references(), 1U);
        EXPECT_EQ(param->callback(), &callback);
        EXPECT_EQ(param->state(), &state);
        EXPECT_EQ(param->argument(), &argument);
    }
    EXPECT_EQ(callback.references(), 0U);
    EXPECT_EQ(state.references(), 0U);
    EXPECT_EQ(argument.references(), 0U);
}

TEST(AsyncCallParam, MayBeWithoutAnyOfThem) {
    const auto param = createParam<AsyncCallParam>(nullptr, nullptr, nullptr);
    EXPECT_EQ(param->callback(), nullptr);
    EXPECT_EQ(param->state(), nullptr);
    EXPECT_EQ(param->argument(), nullptr);
}

TEST(AsyncCallParam, ReleasesTheStateBeforeTheCallback) {
    std::string order;
    class Ordered final : public ClientObject<IMFAsyncCallback> {
    public:
        Ordered(std::string& text, char mark) : text_(text), mark_(mark) {}
        HRESULT STDMETHODCALLTYPE GetParameters(DWORD*, DWORD*) override { return E_NOTIMPL; }
        HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult*) override { return E_NOTIMPL; }
        ULONG STDMETHODCALLTYPE Release() override {
            text_ += mark_;
            return ClientObject::Release();
        }

    private:
        std::string& text_;
        char mark_;
    };
    Ordered callback(order, 'c');
    Ordered state(order, 's');
    createParam<AsyncCallParam>(&callback, &state, nullptr).Reset();
    EXPECT_EQ(order, "sc");
}

TEST(AsyncCallParam, OutlivesObjectsThatFaultWhenTheyAreLetGo) {
    FaultyCallback object;
    createParam<AsyncCallParam>(&object, &object, nullptr).Reset();
    EXPECT_EQ(object.releases, 2U);
}

} // namespace
