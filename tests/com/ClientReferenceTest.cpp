#include "com/ClientReference.h"

#include "com/ComCall.h"
#include "tests/support/FaultyCallback.h"
#include "tests/support/LogCapture.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/StructureException.h"
#include "util/StructuredExceptionGuard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using Log2::Severity;
using Test::CapturedRecord;
using Test::FaultyCallback;
using Test::LogCapture;
using testing::StartsWith;

constexpr SourceFile here{"ClientReferenceTest"};

class CountedObject final : public IUnknown {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }

    ULONG references = 0;
};

class ClientReferenceTest : public testing::Test {
protected:
    CapturedRecord onlyRecord() {
        const auto records = log.records();
        EXPECT_EQ(records.size(), 1U);
        return records.size() == 1 ? records[0] : CapturedRecord{};
    }

    LogCapture log;
};

TEST_F(ClientReferenceTest, HoldsAReferenceAsLongAsItLives) {
    CountedObject object;
    {
        const ClientReference<IUnknown> reference(&object);
        EXPECT_EQ(reference.get(), &object);
        EXPECT_EQ(object.references, 1U);
    }
    EXPECT_EQ(object.references, 0U);
    EXPECT_TRUE(log.records().empty());
}

TEST_F(ClientReferenceTest, MayBeToNone) {
    const ClientReference<IUnknown> reference(nullptr);
    EXPECT_EQ(reference.get(), nullptr);
}

TEST_F(ClientReferenceTest, OwnsWhatAClientPutsIntoIt) {
    CountedObject object;
    {
        ClientReference<IUnknown> reference;
        *reference.put() = &object;
        object.AddRef();
        EXPECT_EQ(reference.get(), &object);
    }
    EXPECT_EQ(object.references, 0U);
}

TEST_F(ClientReferenceTest, TakesAReferenceOverAndGivesItUp) {
    CountedObject object;
    {
        ClientReference<IUnknown> reference{Microsoft::WRL::ComPtr<IUnknown>(&object)};
        EXPECT_EQ(object.references, 1U);
        EXPECT_EQ(reference.detach(), &object);
        EXPECT_EQ(reference.get(), nullptr);
    }
    EXPECT_EQ(object.references, 1U);
}

TEST_F(ClientReferenceTest, ToABadPointerFaultsWhereItIsMade) {
    auto* const bad = reinterpret_cast<IUnknown*>(16);
    const HRESULT result = comCall({here(), nullptr, "test"}, [&](const ComCall&) {
        const ClientReference<IUnknown> reference(bad);
        return S_OK;
    });
    EXPECT_EQ(result, E_FAIL);
}

TEST_F(ClientReferenceTest, RecordsAFaultOfWhatItLetsGo) {
    FaultyCallback object;
    { const ClientReference<IMFAsyncCallback> reference(&object); }
    EXPECT_EQ(object.releases, 1U);
    const CapturedRecord record = onlyRecord();
    EXPECT_EQ(record.severity, Severity::fatal);
    EXPECT_EQ(record.file, "ClientReference");
    EXPECT_THAT(record.message, StartsWith("Exception caught. class JY::StructureException, "));
}

TEST_F(ClientReferenceTest, LetsAnExceptionPassThatIsOnItsWay) {
    FaultyCallback object;
    const HRESULT result = comCall({here(), nullptr, "test"}, [&](const ComCall&) -> HRESULT {
        const ClientReference<IMFAsyncCallback> reference(&object);
        throw ApiErrorException(here(), "call", static_cast<std::uint32_t>(E_ACCESSDENIED));
    });
    EXPECT_EQ(result, E_ACCESSDENIED);
    EXPECT_EQ(object.releases, 1U);
    const auto records = log.records();
    ASSERT_EQ(records.size(), 4U); // between ENTER and EXIT the fault and the exception
    EXPECT_EQ(records[1].severity, Severity::fatal);
    EXPECT_EQ(records[2].severity, Severity::error);
}

TEST_F(ClientReferenceTest, LettingGoRecordsAnErrorAsOne) {
    letGo([] { throw ErrorException(here(), "client's"); });
    const CapturedRecord record = onlyRecord();
    EXPECT_EQ(record.severity, Severity::error);
    EXPECT_THAT(record.message, StartsWith("Exception caught. class JY::ErrorException, client's"));
}

TEST_F(ClientReferenceTest, LettingGoRecordsForeignExceptions) {
    letGo([] { throw std::runtime_error("foreign"); });
    letGo([] { throw 1; });
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"foreign", "Unknown exception."}));
}

void otherTranslator(unsigned, EXCEPTION_POINTERS*) {}

TEST_F(ClientReferenceTest, LettingGoPutsTheTranslatorBack) {
    const StructuredExceptionTranslator before = setStructuredExceptionTranslator(otherTranslator);
    letGo([] {
        EXPECT_EQ(setStructuredExceptionTranslator(translateStructuredException), translateStructuredException);
    });
    EXPECT_EQ(setStructuredExceptionTranslator(before), otherTranslator);
}

} // namespace
