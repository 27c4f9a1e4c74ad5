#include "tests/source/SourceTest.h"
#include "tests/support/VirtualSlot.h"
#include "tests/support/VirtualTable.h"

#include <mfapi.h>
#include <mferror.h>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using namespace JY::Pictaro::Fs;
using namespace JY::Test;
using Log2::Severity;
using Microsoft::WRL::ComPtr;
using Ids = std::vector<DWORD>;
using Texts = std::vector<std::string>;

using FlvSourceStartTest = SourceTest;

TEST_F(FlvSourceStartTest, TakesTheNullTimeFormat) {
    const Source source = open(media());
    const GUID format = GUID_NULL;
    const Descriptor descriptor = describe(*source.Get());
    EXPECT_EQ(source->Start(descriptor.Get(), &format, Position().get()), S_OK);
    EXPECT_TRUE(becomesTrue([&] { return source->getStateId() == SourceStateId::started; }));
}

TEST_F(FlvSourceStartTest, RefusesAnyOtherTimeFormat) {
    const std::wstring path = write(media().build());
    const Source source = openFile(path);
    const Descriptor descriptor = describe(*source.Get());
    EXPECT_EQ(source->Start(descriptor.Get(), &MFMediaType_Video, Position().get()), E_FAIL);
    const CapturedRecord record = log.find("Unsuppored time format.");
    EXPECT_EQ(record.severity, Severity::error);
    EXPECT_TRUE(record.message.starts_with("Exception caught. class JY::ErrorException, Unsuppored time format. @"));
    EXPECT_EQ(log.count(Severity::notice, "File=" + narrow(path)), 1U);
    EXPECT_EQ(source->getStateId(), SourceStateId::stopped);
}

TEST_F(FlvSourceStartTest, RecordsTheSelection) {
    settings.set(L"EnableSingleStream", 1);
    const Source source = open(media());
    const Descriptor descriptor = select(*source.Get(), {videoId});
    ASSERT_EQ(start(*source.Get(), *descriptor.Get(), Position()), S_OK);
    EXPECT_EQ(log.count(Severity::info, "NumOfDescriptors=2"), 1U);
    EXPECT_EQ(log.count(Severity::warn, "Stream[0]:NotSelected"), 1U);
    EXPECT_EQ(log.count(Severity::info, "Stream[1]:Selected"), 1U);
}

TEST_F(FlvSourceStartTest, RefusesASelectionOfNothing) {
    const Source source = open(media());
    const Descriptor descriptor = select(*source.Get(), {});
    EXPECT_EQ(start(*source.Get(), *descriptor.Get(), Position()), MF_E_UNSUPPORTED_REPRESENTATION);
    EXPECT_EQ(log.find("noSelectedStream: (0xc00d36b7;").severity, Severity::error);
}

TEST_F(FlvSourceStartTest, RefusesOneStreamOfAFileWithBoth) {
    const Source source = open(media());
    for (const DWORD streamId : {audioId, videoId}) {
        const Descriptor descriptor = select(*source.Get(), {streamId});
        log.clear();
        EXPECT_EQ(start(*source.Get(), *descriptor.Get(), Position()), MF_E_UNSUPPORTED_REPRESENTATION);
        EXPECT_EQ(log.find("selectStream: (0xc00d36b7;").severity, Severity::error);
    }
    EXPECT_EQ(source->getStateId(), SourceStateId::stopped);
    EXPECT_TRUE(events.take().empty());
}

TEST_F(FlvSourceStartTest, TakesOneStreamOfAFileWithBothWhenTheSettingAllowsIt) {
    settings.set(L"EnableSingleStream", 1);
    const Source source = open(media());
    const Descriptor descriptor = select(*source.Get(), {videoId});
    ASSERT_EQ(start(*source.Get(), *descriptor.Get(), Position(0)), S_OK);
    EXPECT_EQ(events.take(), (Texts{"source MENewStream 1002", "video MEStreamStarted 0", "source MESourceStarted 0"}));
}

TEST_F(FlvSourceStartTest, ReadsTheSingleStreamSettingAtEachStart) {
    settings.set(L"EnableSingleStream", 1);
    const Source source = open(media());
    const Descriptor descriptor = select(*source.Get(), {audioId});
    EXPECT_EQ(start(*source.Get(), *descriptor.Get(), Position()), S_OK);
    settings.set(L"EnableSingleStream", 0);
    EXPECT_EQ(start(*source.Get(), *descriptor.Get(), Position()), MF_E_UNSUPPORTED_REPRESENTATION);
}

TEST_F(FlvSourceStartTest, RefusesTheOneStreamThatIsLeftOfAFileThatAnnouncesBoth) {
    // Without the metadata's picture size and rate the video does not become a stream.
    FlvBuilder file(FlvBuilder::audioAndVideo);
    file.onMetaData(MetaData().duration(10)).aacSequenceHeader(0).avcSequenceHeader(0).aacRaw(2000, {1, 2, 3});
    const Source source = open(file);
    EXPECT_EQ(streamIdsOf(*source.Get()), Ids{audioId});
    EXPECT_EQ(start(*source.Get(), Position()), MF_E_UNSUPPORTED_REPRESENTATION);
    settings.set(L"EnableSingleStream", 1);
    EXPECT_EQ(start(*source.Get(), Position()), S_OK);
}

TEST_F(FlvSourceStartTest, TakesTheOneStreamOfAFileThatAnnouncesOne) {
    const Source source = open(media(MetaData::typical(), FlvBuilder::video));
    EXPECT_EQ(start(*source.Get(), Position(0)), S_OK);
    EXPECT_EQ(source->getStateId(), SourceStateId::started);
}

TEST_F(FlvSourceStartTest, PassesOnASingleStreamSettingThatCannotBeRead) {
    settings.setMistyped(L"EnableSingleStream");
    const Source source = open(media());
    EXPECT_EQ(start(*source.Get(), *select(*source.Get(), {videoId}).Get(), Position()), E_FAIL);
    EXPECT_TRUE(log.contains("Type missmatch."));
    EXPECT_EQ(start(*source.Get(), Position()), E_FAIL); // read whatever is selected
}

TEST_F(FlvSourceStartTest, SelectsByStreamIdentifierInTheDescriptorsOrder) {
    const Source source = open(media());
    const auto descriptor = makeDescriptor({videoId, audioId});
    ASSERT_EQ(start(*source.Get(), *descriptor.Get(), Position(0)), S_OK);
    EXPECT_EQ(events.take(), (Texts{"source MENewStream 1002", "video MEStreamStarted 0", "source MENewStream 1001",
                                    "audio MEStreamStarted 0", "source MESourceStarted 0"}));
}

TEST_F(FlvSourceStartTest, RefusesAStreamThatItDoesNotHave) {
    const Source source = open(media());
    const auto descriptor = makeDescriptor({audioId, 77});
    EXPECT_EQ(start(*source.Get(), *descriptor.Get(), Position()), MF_E_INVALIDSTREAMNUMBER);
    EXPECT_EQ(log.find("selectStream: (0xc00d36b3;").severity, Severity::error);
}

TEST_F(FlvSourceStartTest, NamesTheCallThatASelectionFailsOn) {
    const Source source = open(media());
    const struct {
        std::size_t slot;
        const char* record;
    } cases[] = {
        {slotOf(&IMFPresentationDescriptor::GetStreamDescriptorCount), "GetStreamDescriptorCount: (0x80070005;"},
        {slotOf(&IMFPresentationDescriptor::GetStreamDescriptorByIndex), "GetStreamDescriptorByIndex: (0x80070005;"}};
    for (const auto& [slot, record] : cases) {
        VirtualTable<IMFPresentationDescriptor> table;
        const Descriptor failing = describe(*source.Get());
        table.replace(
            *failing.Get(), slot, +[](IUnknown*) -> HRESULT { return E_ACCESSDENIED; });
        EXPECT_EQ(start(*source.Get(), *failing.Get(), Position()), E_ACCESSDENIED);
        EXPECT_TRUE(log.contains(record)) << record;
    }
}

TEST_F(FlvSourceStartTest, NamesAStreamDescriptorsFailureToTellWhichStreamItIs) {
    const Source source = open(media());
    VirtualTable<IMFStreamDescriptor> table;
    const Descriptor failing = makeDescriptor({audioId, videoId});
    BOOL selected = FALSE;
    ComPtr<IMFStreamDescriptor> stream;
    failing->GetStreamDescriptorByIndex(1, &selected, stream.GetAddressOf());
    table.replace(
        *stream.Get(), slotOf(&IMFStreamDescriptor::GetStreamIdentifier),
        +[](IUnknown*) -> HRESULT { return E_ACCESSDENIED; });
    EXPECT_EQ(start(*source.Get(), *failing.Get(), Position()), E_ACCESSDENIED);
    EXPECT_TRUE(log.contains("GetStreamIdentifier: (0x80070005;"));
}

TEST_F(FlvSourceStartTest, HasReplacedItsSelectionWhenAStartIsRefused) {
    const Source source = open(media());
    ASSERT_EQ(start(*source.Get(), Position(0)), S_OK);
    events.take();
    EXPECT_EQ(start(*source.Get(), *select(*source.Get(), {videoId}).Get(), Position()),
              MF_E_UNSUPPORTED_REPRESENTATION);
    EXPECT_EQ(source->Pause(), S_OK);
    EXPECT_EQ(events.take(), (Texts{"video MEStreamPaused", "source MESourcePaused"}));
    EXPECT_EQ(start(*source.Get(), *makeDescriptor({audioId, 77}).Get(), Position()), MF_E_INVALIDSTREAMNUMBER);
    EXPECT_EQ(source->Stop(), S_OK);
    EXPECT_EQ(events.take(), (Texts{"audio MEStreamStopped", "source MESourceStopped"}));
}

TEST_F(FlvSourceStartTest, GivesTagsToTheSelectedStreamsOnly) {
    settings.set(L"EnableSingleStream", 1);
    settings.set(L"SeekByMetaData", 0);
    const Source source = open(media());
    const Descriptor both = describe(*source.Get());
    ASSERT_EQ(start(*source.Get(), *both.Get(), Position(0)), S_OK);
    const Stream audio = announcedStream(*source.Get(), audioId);
    const Stream video = announcedStream(*source.Get(), videoId);
    ASSERT_EQ(start(*source.Get(), *select(*source.Get(), {videoId}).Get(), Position(0)), S_OK);
    EXPECT_EQ(requestSample(*video.Get()), 0);
    EXPECT_EQ(requestSample(*video.Get()), 1000);
    ASSERT_EQ(start(*source.Get(), *both.Get(), Position()), S_OK);
    EXPECT_EQ(requestSample(*audio.Get()), 1000); // the one at 0 was passed over
}

TEST_F(FlvSourceStartTest, AcceptsAStartWhetherOrNotItCanBeQueued) {
    const Source source = open(media());
    const Descriptor descriptor = describe(*source.Get());
    const MediaFoundationFault fault(MediaFoundationCall::putWorkItem, E_OUTOFMEMORY);
    EXPECT_EQ(source->Start(descriptor.Get(), nullptr, Position().get()), S_OK);
    EXPECT_EQ(source->getStateId(), SourceStateId::stopped);
}

TEST_F(FlvSourceStartTest, KeepsACopyOfTheStartPosition) {
    const Source source = open(media());
    const Descriptor descriptor = describe(*source.Get());
    {
        const WorkItemHold hold;
        PROPVARIANT position{};
        position.vt = VT_I8;
        position.hVal.QuadPart = 70'000'000;
        EXPECT_EQ(source->Start(descriptor.Get(), nullptr, &position), S_OK);
        position.hVal.QuadPart = 1;
    }
    EXPECT_TRUE(becomesTrue([this] { return log.contains("StartPosition[100ns]=70000000"); }));
}

TEST_F(FlvSourceStartTest, RefusesAStartPositionThatCannotBeCopied) {
    const Source source = open(media());
    const Descriptor descriptor = describe(*source.Get());
    EXPECT_TRUE(FAILED(source->Start(descriptor.Get(), nullptr, Position::ofType(0x0FFF).get())));
    EXPECT_TRUE(log.contains("PropVariantCopy: ("));
}

TEST_F(FlvSourceStartTest, RecordsAFaultOfAStartAndLeavesTheHostAlive) {
    const Source source = open(media());
    const MediaFoundationFault fault(MediaFoundationCall::createMediaEvent, MediaFoundationFault::accessViolation);
    ASSERT_EQ(start(*source.Get(), Position()), S_OK);
    ASSERT_EQ(start(*source.Get(), Position()), S_OK); // while started, which makes an event
    const CapturedRecord record = log.find("ACCESS_VIOLATION");
    EXPECT_EQ(record.severity, Severity::fatal);
    EXPECT_NE(record.threadId, GetCurrentThreadId());
    EXPECT_EQ(LogCapture::snapshots(), 1U);
    EXPECT_TRUE(log.contains("(*callee): (0x80004005;"));
    EXPECT_EQ(source->Pause(), S_OK); // the lock is free
}

TEST_F(FlvSourceStartTest, ChecksTheShutdownThenTheFormatThenTheSelection) {
    const Source source = open(media());
    const Descriptor nothing = select(*source.Get(), {});
    EXPECT_EQ(source->Start(nothing.Get(), &MFMediaType_Video, Position().get()), E_FAIL);
    EXPECT_FALSE(log.contains("NumOfDescriptors="));
    EXPECT_EQ(source->Shutdown(), S_OK);
    EXPECT_EQ(source->Start(nothing.Get(), &MFMediaType_Video, Position().get()), MF_E_SHUTDOWN);
}

TEST_F(FlvSourceStartTest, TakesAnySingleStreamSettingButZero) {
    settings.set(L"EnableSingleStream", 0xFFFFFFFF);
    const Source source = open(media());
    EXPECT_EQ(start(*source.Get(), *select(*source.Get(), {audioId}).Get(), Position()), S_OK);
}

TEST_F(FlvSourceStartTest, QueuesOnTheMultithreadedQueue) {
    const Source source = open(media());
    takeWorkQueues();
    ASSERT_EQ(start(*source.Get(), Position()), S_OK);
    EXPECT_EQ(takeWorkQueues(), std::vector<DWORD>{5});
}

TEST_F(FlvSourceStartTest, QueuesNothingWhenItIsRefused) {
    const Source source = open(media());
    takeWorkQueues();
    EXPECT_EQ(start(*source.Get(), *select(*source.Get(), {audioId}).Get(), Position()),
              MF_E_UNSUPPORTED_REPRESENTATION);
    EXPECT_TRUE(takeWorkQueues().empty());
}

TEST_F(FlvSourceStartTest, DeliversAgainWhatWasReadWhileAnotherStreamWasMadeReady) {
    FlvBuilder file;
    file.onMetaData().avcSequenceHeader(0).avcNalus(0, FlvBuilder::key, {{0x65, 1, 2, 3, 4, 5}});
    file.aacSequenceHeader(500).aacRaw(500, {1, 2, 3});
    file.avcNalus(1000, FlvBuilder::key, {{0x65, 1, 2, 3, 4, 5}}).aacRaw(1000, {1, 2, 3});
    const Source source = open(file); // the audio comes first, and its stream reads the picture of the video
    settings.set(L"SeekByMetaData", 0);
    ASSERT_EQ(start(*source.Get(), Position(0)), S_OK);
    const Stream video = announcedStream(*source.Get(), videoId);
    EXPECT_EQ(requestSample(*video.Get()), 0);
    EXPECT_EQ(requestSample(*video.Get()), 0);
    EXPECT_EQ(requestSample(*video.Get()), 1000);
}

} // namespace
