#include "source/ComParamBase.h"
#include "source/FlvByteStreamHandlerImpl.h"
#include "source/FlvSource.h"
#include "source/SourceState.h"
#include "tests/support/VirtualSlot.h"

#include <gtest/gtest.h>

// The order of the operations in the tables of virtual functions is fixed.

namespace {

using namespace JY::Pictaro::Fs;
using JY::Test::slotOf;

using Query = HRESULT STDMETHODCALLTYPE(REFIID, void**);
using SendEvent = void(IMFMediaEvent*);
using SendObject = void(MediaEventType, IUnknown*);

constexpr std::size_t destructorSlots = 2;

TEST(VirtualSlots, OfASourceState) {
    EXPECT_EQ(slotOf(&SourceState::start), 0U);
    EXPECT_EQ(slotOf(&SourceState::pause), 1U);
    EXPECT_EQ(slotOf(&SourceState::stop), 2U);
    EXPECT_EQ(slotOf(&SourceState::getStateId), 3U);
}

TEST(VirtualSlots, OfASourceAreTheInterfacesAndThenItsOwn) {
    EXPECT_EQ((slotOf<Query, IUnknown>(&FlvSource::QueryInterface)), 0U);
    EXPECT_EQ(slotOf(&FlvSource::AddRef), 1U);
    EXPECT_EQ(slotOf(&FlvSource::Release), 2U);
    EXPECT_EQ(slotOf(&FlvSource::GetEvent), 3U);
    EXPECT_EQ(slotOf(&FlvSource::BeginGetEvent), 4U);
    EXPECT_EQ(slotOf(&FlvSource::EndGetEvent), 5U);
    EXPECT_EQ(slotOf(&FlvSource::QueueEvent), 6U);
    EXPECT_EQ(slotOf(&FlvSource::GetCharacteristics), 7U);
    EXPECT_EQ(slotOf(&FlvSource::CreatePresentationDescriptor), 8U);
    EXPECT_EQ(slotOf(&FlvSource::Start), 9U);
    EXPECT_EQ(slotOf(&FlvSource::Stop), 10U);
    EXPECT_EQ(slotOf(&FlvSource::Pause), 11U);
    EXPECT_EQ(slotOf(&FlvSource::Shutdown), 12U);
    constexpr std::size_t own = 13 + destructorSlots;
    EXPECT_EQ(slotOf(&FlvSource::getStateId), own);
    EXPECT_EQ(slotOf<SendEvent>(&FlvSource::queueEvent), own + 1);
    EXPECT_EQ(slotOf<SendObject>(&FlvSource::queueEvent), own + 2);
    EXPECT_EQ(slotOf(&FlvSource::getCurrentPosition), own + 3);
    EXPECT_EQ(slotOf(&FlvSource::seekPosition), own + 4);
    EXPECT_EQ(slotOf(&FlvSource::getMetaDatum), own + 5);
    EXPECT_EQ(slotOf(&FlvSource::getFilePath), own + 6);
}

TEST(VirtualSlots, OfAByteStreamHandler) {
    EXPECT_EQ(slotOf(&FlvByteStreamHandlerImpl::QueryInterface), 0U);
    EXPECT_EQ(slotOf(&FlvByteStreamHandlerImpl::AddRef), 1U);
    EXPECT_EQ(slotOf(&FlvByteStreamHandlerImpl::Release), 2U);
    EXPECT_EQ(slotOf(&FlvByteStreamHandlerImpl::BeginCreateObject), 3U);
    EXPECT_EQ(slotOf(&FlvByteStreamHandlerImpl::EndCreateObject), 4U);
    EXPECT_EQ(slotOf(&FlvByteStreamHandlerImpl::CancelObjectCreation), 5U);
    EXPECT_EQ(slotOf(&FlvByteStreamHandlerImpl::GetMaxNumberOfBytesRequiredForResolution), 6U);
}

TEST(VirtualSlots, OfAnAsynchronousCaller) {
    using Caller = AsyncCaller<FlvByteStreamHandlerImpl>;
    EXPECT_EQ(slotOf(&Caller::QueryInterface), 0U);
    EXPECT_EQ(slotOf(&Caller::AddRef), 1U);
    EXPECT_EQ(slotOf(&Caller::Release), 2U);
    EXPECT_EQ(slotOf(&Caller::GetParameters), 3U);
    EXPECT_EQ(slotOf(&Caller::Invoke), 4U);
}

TEST(VirtualSlots, OfAParameter) {
    EXPECT_EQ(slotOf(&ComParamBase::QueryInterface), 0U);
    EXPECT_EQ(slotOf(&ComParamBase::AddRef), 1U);
    EXPECT_EQ(slotOf(&ComParamBase::Release), 2U);
}

} // namespace
