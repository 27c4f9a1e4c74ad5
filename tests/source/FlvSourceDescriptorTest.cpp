#include "tests/source/SourceTest.h"

#include <mfapi.h>
#include <mferror.h>

#include <cmath>
#include <limits>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using namespace JY::Pictaro::Fs;
using namespace JY::Test;
using Log2::Severity;
using Microsoft::WRL::ComPtr;
using Ids = std::vector<DWORD>;
using Texts = std::vector<std::string>;

using FlvSourceDescriptorTest = SourceTest;

UINT64 durationOf(IMFPresentationDescriptor& descriptor) {
    UINT64 duration = 0;
    EXPECT_EQ(descriptor.GetUINT64(MF_PD_DURATION, &duration), S_OK);
    return duration;
}

TEST_F(FlvSourceDescriptorTest, TellsTheDurationOfTheMetaData) {
    const struct {
        double seconds;
        UINT64 duration;
    } cases[] = {{12.345, 123'450'000}, {0, 0}, {0.00000019, 1}, {0.043, 430'000}}; // the last is one less in 80 bits
    for (const auto& [seconds, duration] : cases) {
        const Source source = open(media(MetaData::typical().set("duration", Amf0::number(seconds))));
        EXPECT_EQ(durationOf(*describe(*source.Get()).Get()), duration);
    }
}

TEST_F(FlvSourceDescriptorTest, GivesEveryCallerADescriptorOfItsOwn) {
    const Source source = open(media());
    const Descriptor first = describe(*source.Get());
    first->DeselectStream(0);
    const Descriptor second = describe(*source.Get());
    EXPECT_NE(first.Get(), second.Get());
    BOOL selected = FALSE;
    ComPtr<IMFStreamDescriptor> stream;
    second->GetStreamDescriptorByIndex(0, &selected, stream.GetAddressOf());
    EXPECT_TRUE(selected);
}

TEST_F(FlvSourceDescriptorTest, ClampsADurationThatCannotBe) {
    const struct {
        double seconds;
        UINT64 duration;
    } cases[] = {{-1, 0},
                 {std::numeric_limits<double>::quiet_NaN(), 0},
                 {std::numeric_limits<double>::infinity(), 0xFFFF'FFFF'FFFF'F800}};
    for (const auto& [seconds, duration] : cases) {
        const Source source = open(media(MetaData::typical().set("duration", Amf0::number(seconds))));
        EXPECT_EQ(durationOf(*describe(*source.Get()).Get()), duration);
    }
}

TEST_F(FlvSourceDescriptorTest, HasNoDescriptorWithoutANumberForADuration) {
    const Source source = open(media(MetaData::typical().set("duration", Amf0::string("10"))));
    for (unsigned call = 1; call <= 2; ++call) {
        ComPtr<IMFPresentationDescriptor> descriptor;
        EXPECT_EQ(source->CreatePresentationDescriptor(descriptor.GetAddressOf()), E_FAIL);
        EXPECT_EQ(descriptor.Get(), nullptr);
    }
    EXPECT_EQ(log.find("Invalid duration attribute type.").severity, Severity::error);
    EXPECT_TRUE(log.contains("class JY::ErrorException, Invalid duration attribute type. @FlvSource:"));
}

TEST_F(FlvSourceDescriptorTest, HasNoDescriptorWithoutADuration) {
    const Source source = open(media(MetaData::typical().remove("duration")));
    for (unsigned call = 1; call <= 2; ++call) {
        ComPtr<IMFPresentationDescriptor> descriptor;
        EXPECT_EQ(source->CreatePresentationDescriptor(descriptor.GetAddressOf()), E_FAIL);
    }
    EXPECT_TRUE(log.contains("FlvMetaData::MetaDataNotFoundException, Key not found."));
}

TEST_F(FlvSourceDescriptorTest, NamesTheCallThatADescriptorFailsOn) {
    const struct {
        MediaFoundationCall call;
        const char* record;
    } cases[] = {
        {MediaFoundationCall::createPresentationDescriptor, "MFCreatePresentationDescriptor: (0x8007000e;"},
        {MediaFoundationCall::setDescriptorAttribute, "SetUINT64(MF_PD_DURATION): (0x8007000e;"},
        {MediaFoundationCall::selectStream, "SelectStream: (0x8007000e;"},
        {MediaFoundationCall::cloneDescriptor, "Clone: (0x8007000e;"},
    };
    for (const auto& [call, record] : cases) {
        const Source source = open(media());
        const MediaFoundationFault fault(call, E_OUTOFMEMORY);
        ComPtr<IMFPresentationDescriptor> descriptor;
        EXPECT_EQ(source->CreatePresentationDescriptor(descriptor.GetAddressOf()), E_OUTOFMEMORY);
        EXPECT_TRUE(log.contains(record)) << record;
    }
}

TEST_F(FlvSourceDescriptorTest, MakesItsDescriptorInASecondCallAfterAFailure) {
    const Source source = open(media());
    {
        const MediaFoundationFault fault(MediaFoundationCall::setDescriptorAttribute, E_OUTOFMEMORY);
        ComPtr<IMFPresentationDescriptor> descriptor;
        EXPECT_EQ(source->CreatePresentationDescriptor(descriptor.GetAddressOf()), E_OUTOFMEMORY);
    }
    EXPECT_EQ(streamIdsOf(*source.Get()), (Ids{audioId, videoId}));
}

TEST_F(FlvSourceDescriptorTest, IsBuiltOnce) {
    const Source source = open(media());
    describe(*source.Get());
    const MediaFoundationFault fault(MediaFoundationCall::createPresentationDescriptor, E_OUTOFMEMORY);
    EXPECT_EQ(streamIdsOf(*source.Get()), (Ids{audioId, videoId}));
}

TEST_F(FlvSourceDescriptorTest, SelectsEveryStreamWhenItIsFirstMade) {
    settings.set(L"EnableSingleStream", 1);
    const Source source = open(media());
    ASSERT_EQ(start(*source.Get(), *makeDescriptor({videoId}).Get(), Position(0)), S_OK);
    events.take();
    describe(*source.Get());
    EXPECT_EQ(source->Pause(), S_OK);
    EXPECT_EQ(events.take(), (Texts{"audio MEStreamPaused", "video MEStreamPaused", "source MESourcePaused"}));
}

TEST_F(FlvSourceDescriptorTest, LeavesTheSelectionWhenItIsThere) {
    settings.set(L"EnableSingleStream", 1);
    const Source source = open(media());
    ASSERT_EQ(start(*source.Get(), *select(*source.Get(), {videoId}).Get(), Position(0)), S_OK);
    events.take();
    describe(*source.Get());
    EXPECT_EQ(source->Pause(), S_OK);
    EXPECT_EQ(events.take(), (Texts{"video MEStreamPaused", "source MESourcePaused"}));
}

TEST_F(FlvSourceDescriptorTest, LeavesTheSelectionWhenItCannotBeMade) {
    settings.set(L"EnableSingleStream", 1);
    const Source source = open(media(MetaData::typical().remove("duration")));
    ASSERT_EQ(start(*source.Get(), *makeDescriptor({videoId}).Get(), Position(0)), S_OK);
    events.take();
    Descriptor descriptor;
    EXPECT_EQ(source->CreatePresentationDescriptor(descriptor.GetAddressOf()), E_FAIL);
    EXPECT_EQ(source->Pause(), S_OK);
    EXPECT_EQ(events.take(), (Texts{"video MEStreamPaused", "source MESourcePaused"}));
}

TEST_F(FlvSourceDescriptorTest, NamesTheFailureOfAStreamToGiveItsOwn) {
    const Source source = open(media());
    ASSERT_EQ(start(*source.Get(), *makeDescriptor({audioId, videoId}).Get(), Position(0)), S_OK);
    const Stream video = announcedStream(*source.Get(), videoId);
    dynamic_cast<FlvStream&>(*video.Get()).shutdown();
    log.clear();
    Descriptor descriptor;
    EXPECT_EQ(source->CreatePresentationDescriptor(descriptor.GetAddressOf()), MF_E_SHUTDOWN);
    EXPECT_EQ(descriptor.Get(), nullptr);
    const CapturedRecord record = log.find("GetStreamDescriptor: (0xc00d3e85;");
    EXPECT_EQ(record.severity, Severity::error);
    EXPECT_EQ(record.file, "FlvSource");
}

} // namespace
