#include "source/ComParamBase.h"

#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace {

using namespace JY::Pictaro::Fs;
using JY::Log2::Severity;
using JY::Test::LogCapture;

class Param final : public ComParamBase {
public:
    explicit Param(bool& destroyed) : destroyed_(destroyed) {}
    ~Param() override { destroyed_ = true; }

private:
    bool& destroyed_;
};

class ComParamBaseTest : public testing::Test {
protected:
    bool destroyed = false;
    LogCapture log;
};

TEST_F(ComParamBaseTest, StartsWithoutAReference) {
    IUnknown* const param = new Param(destroyed);
    EXPECT_EQ(param->AddRef(), 1U);
    EXPECT_EQ(param->AddRef(), 2U);
    EXPECT_EQ(param->Release(), 1U);
    EXPECT_FALSE(destroyed);
    EXPECT_EQ(param->Release(), 0U);
    EXPECT_TRUE(destroyed);
}

TEST_F(ComParamBaseTest, IsDestroyedByAReleaseThatHasNoReference) {
    IUnknown* const param = new Param(destroyed);
    EXPECT_EQ(param->Release(), static_cast<ULONG>(-1));
    EXPECT_TRUE(destroyed);
}

TEST_F(ComParamBaseTest, IsMadeWithTheReferenceOfItsMaker) {
    {
        const auto param = createParam<Param>(destroyed);
        EXPECT_EQ(param->AddRef(), 2U);
        EXPECT_EQ(param->Release(), 1U);
        EXPECT_FALSE(destroyed);
    }
    EXPECT_TRUE(destroyed);
}

TEST_F(ComParamBaseTest, PassesOnWhatItsConstructorThrows) {
    class Failing final : public ComParamBase {
    public:
        Failing() { throw std::runtime_error("x"); }
    };
    EXPECT_THROW(createParam<Failing>(), std::runtime_error);
}

TEST_F(ComParamBaseTest, AnswersForIUnknownOnly) {
    const auto param = createParam<Param>(destroyed);
    void* result = nullptr;
    EXPECT_EQ(param->QueryInterface(IID_IUnknown, &result), S_OK);
    EXPECT_EQ(result, static_cast<IUnknown*>(param.Get()));
    EXPECT_EQ(param->Release(), 1U);
    EXPECT_EQ(param->QueryInterface(IID_IClassFactory, &result), E_NOINTERFACE);
    EXPECT_EQ(result, nullptr);
}

TEST_F(ComParamBaseTest, AddsTheReferenceThroughTheObjectsOwnTable) {
    class Counting final : public ComParamBase {
    public:
        ULONG STDMETHODCALLTYPE AddRef() override {
            ++added;
            return ComParamBase::AddRef();
        }
        unsigned added = 0;
    };
    const auto param = createParam<Counting>();
    param->added = 0;
    void* result = nullptr;
    EXPECT_EQ(param->QueryInterface(IID_IUnknown, &result), S_OK);
    EXPECT_EQ(param->added, 1U);
    EXPECT_EQ(param->Release(), 1U);
}

TEST_F(ComParamBaseTest, RefusesANullResultPointer) {
    const auto param = createParam<Param>(destroyed);
    EXPECT_EQ(param->QueryInterface(IID_IUnknown, nullptr), E_INVALIDARG);
    EXPECT_EQ(log.count(Severity::fatal, "ppv is NULL."), 1U);
    EXPECT_EQ(LogCapture::snapshots(), 1U);
}

TEST_F(ComParamBaseTest, SurvivesABadResultPointer) {
    const auto param = createParam<Param>(destroyed);
    EXPECT_EQ(param->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(8)), E_FAIL);
    EXPECT_EQ(param->AddRef(), 2U);
    param->Release();
}

} // namespace
