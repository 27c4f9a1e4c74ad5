#include "tests/source/FilmTest.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"

#include <mferror.h>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using namespace JY::Pictaro::Fs;
using namespace JY::Test;
using Log2::Severity;
using Microsoft::WRL::ComPtr;

/// A film that other programs change while it is played.
class ChangingFilesTest : public FilmTest {};

// A file that grows.

TEST_F(ChangingFilesTest, AFileThatGrowsGivesItsNewTags) {
    play(film(2).build());
    expectPictures(0, 2);
    EXPECT_EQ(nextPicture(), failed(MF_E_END_OF_STREAM)); // behind the last tag, a sound
    EXPECT_EQ(nextPicture(), failed(MF_E_END_OF_STREAM));
    grow(film(5).build());
    expectPictures(3, 5);
    EXPECT_EQ(nextPicture(), failed(MF_E_END_OF_STREAM));
}

TEST_F(ChangingFilesTest, AFileThatGrowsGivesTheRecordItEndedWithOnceMore) {
    play(film(2).build());
    expectSounds(0, 1);
    EXPECT_EQ(nextSound(), failed(MF_E_END_OF_STREAM)); // its last tag made a sound, which waits
    expectSounds(2, 2);
    grow(film(4).build());
    expectSounds(2, 3); // the record at which the file ended is read again
    EXPECT_EQ(nextSound(), failed(MF_E_END_OF_STREAM));
    expectSounds(4, 4);
}

TEST_F(ChangingFilesTest, AFileThatGrowsTagByTagLosesNone) {
    const Bytes whole = film(20).build();
    const FlvBuilder layout = film(20);
    play(film(0).build());
    expectPictures(0, 0);
    for (unsigned second = 1; second <= 20; ++second) {
        EXPECT_EQ(nextPicture(), failed(MF_E_END_OF_STREAM)) << second;
        grow(firstBytes(whole, static_cast<std::size_t>(layout.tagPosition(audioTagOf(second) + 1))));
        expectPictures(second, second);
    }
}

TEST_F(ChangingFilesTest, AFileThatGrowsUnderAnOpenWriterGivesItsNewTags) {
    play(film(1).build());
    const Writer recorder(path);
    expectPictures(0, 1);
    EXPECT_EQ(nextPicture(), failed(MF_E_END_OF_STREAM));
    const Bytes whole = film(3).build();
    recorder.write(0, whole);
    expectPictures(2, 3);
}

TEST_F(ChangingFilesTest, ASoundThatIsNotWholeYetIsReadAgainWhenItIs) {
    const FlvBuilder layout = film(2);
    const Bytes whole = layout.build();
    play(firstBytes(whole, static_cast<std::size_t>(lastByteOf(layout, audioTagOf(2)))));
    expectSounds(0, 1);
    EXPECT_EQ(nextSound(), failed(MF_E_END_OF_STREAM));
    EXPECT_EQ(nextSound(), (Answer{S_OK, 2000, sound(0)})); // what is not there is zero
    grow(whole);
    EXPECT_EQ(nextSound(), failed(MF_E_END_OF_STREAM));
    expectSounds(2, 2);
}

TEST_F(ChangingFilesTest, APictureThatIsNotWholeYetFailsItsRequest) {
    const FlvBuilder layout = film(4);
    const Bytes whole = layout.build();
    settings.set(L"SeekByMetaData", 0);
    play(firstBytes(whole, static_cast<std::size_t>(lastByteOf(layout, videoTagOf(2)))));
    expectPictures(0, 1);
    expectFailure(nextPicture(), E_FAIL, "class JY::ErrorException, Parse error. @AvcVideoDataHandler:");
    expectFailure(nextPicture(), E_FAIL, "class JY::ErrorException, Too short FlvTag. @FlvTag:21");
    expectSounds(0, 1); // the sounds read on the way
}

TEST_F(ChangingFilesTest, ARecordThatIsNotWholeYetIsReadWhenItIs) {
    const FlvBuilder layout = film(4);
    const Bytes whole = layout.build();
    const auto start = static_cast<std::size_t>(layout.recordPosition(videoTagOf(2)));
    play(firstBytes(whole, start + 5)); // the size of the last tag and one byte more
    expectPictures(0, 1);
    for (std::size_t there = 5; there < 15; ++there) {
        grow(firstBytes(whole, start + there));
        expectFailure(nextPicture(), E_FAIL, "class JY::ErrorException, Too short FlvTag. @FlvTag:21");
    }
    grow(whole);
    expectPictures(2, 4);
}

TEST_F(ChangingFilesTest, AFileThatGrowsCanBeSoughtInItsNewPart) {
    settings.set(L"SeekByMetaData", 0);
    play(film(2).build());
    expectPictures(0, 2);
    grow(film(9).build());
    restartAt(8);
    expectPictures(8, 9);
    restartAt(1);
    expectPictures(1, 2);
}

TEST_F(ChangingFilesTest, AFileThatGrowsIsWalkedToItsNewEnd) {
    settings.set(L"SeekByMetaData", 0);
    play(film(2).build());
    EXPECT_EQ(source->Stop(), S_OK);
    grow(film(9).build());
    restartAt(30);
    EXPECT_EQ(source->getStateId(), SourceStateId::started);
    expectPictures(9, 9); // the last place to start from
}

TEST_F(ChangingFilesTest, AFileThatIsBeingWrittenHasNoMetaDataAndSoNoVideoStream) {
    path = write(FlvBuilder().onMetaData().aacSequenceHeader(0).avcSequenceHeader(0).aacRaw(2000, {1}).build());
    const Writer recorder(path);
    source = openFile(path);
    CapturedRecord record = log.find("class JY::ApiErrorException, CreateFile file=");
    EXPECT_EQ(record.severity, Severity::warn);
    EXPECT_EQ(record.file, "FlvSource");
    EXPECT_NE(record.message.find(": (0x20;"), std::string::npos); // ERROR_SHARING_VIOLATION
    record = log.find("MetaDataNotFoundException, No onMetaData. @FlvMetaData:97");
    EXPECT_EQ(record.severity, Severity::warn);
    EXPECT_EQ(counter.count(), 2U);
    ComPtr<IMFPresentationDescriptor> descriptor;
    EXPECT_EQ(source->CreatePresentationDescriptor(descriptor.GetAddressOf()), E_FAIL); // the duration is not known
    EXPECT_TRUE(log.contains("MetaDataNotFoundException, No onMetaData. @FlvMetaData:97"));
}

// The video's parameters come first and fail the audio stream, which reads them on its way.
TEST_F(ChangingFilesTest, AFileThatIsBeingWrittenAndStartsWithItsVideoHasNoStream) {
    path = write(film(2).build());
    const Writer recorder(path);
    EXPECT_EQ(thrownIn<ErrorException>([this] { openFile(path); }), "No stream. @FlvSource");
}

TEST_F(ChangingFilesTest, AFileThatIsKeptForAnotherProgramAloneIsRefused) {
    path = write(film(2).build());
    const Writer owner(path, 0);
    EXPECT_EQ(thrown<ApiErrorException>([this] { openFile(path); }),
              "CreateFile file=" + narrow(path) + ": (0x20) @File:44"); // ERROR_SHARING_VIOLATION
}

// A file that shrinks.

TEST_F(ChangingFilesTest, AFileThatShrinksBehindTheReaderFailsRequestsUntilItGrows) {
    const FlvBuilder layout = film(4);
    const Bytes whole = layout.build();
    play(whole);
    expectPictures(0, 1);
    cutAt(layout.recordPosition(videoTagOf(1)));
    for (int time = 0; time < 3; ++time) {
        expectFailure(nextPicture(), E_FAIL, "class JY::ErrorException, Too short FlvTag. @FlvTag:21");
    }
    grow(whole);
    expectPictures(2, 4);
}

TEST_F(ChangingFilesTest, AFileThatShrinksAheadOfTheReaderEndsEarlier) {
    const FlvBuilder layout = film(9);
    play(layout.build());
    expectPictures(0, 0);
    cutAt(layout.tagPosition(videoTagOf(2)));
    expectPictures(1, 1);
    EXPECT_EQ(nextPicture(), failed(MF_E_END_OF_STREAM));
    expectSounds(0, 1);
    restartAt(0);
    expectPictures(0, 1);
}

TEST_F(ChangingFilesTest, AFileThatShrinksWithinTheNextPictureFailsItsRequest) {
    const FlvBuilder layout = film(9);
    play(layout.build());
    expectPictures(0, 0);
    cutAt(lastByteOf(layout, videoTagOf(1)));
    expectFailure(nextPicture(), E_FAIL, "class JY::ErrorException, Parse error. @AvcVideoDataHandler:");
}

TEST_F(ChangingFilesTest, AFileThatShrinksAfterItsEndWasMetHasNoLastRecord) {
    const FlvBuilder layout = film(3);
    play(layout.build());
    expectPictures(0, 3);
    EXPECT_EQ(nextPicture(), failed(MF_E_END_OF_STREAM));
    cutAt(layout.recordPosition(audioTagOf(3)));
    expectFailure(nextPicture(), E_FAIL, "class JY::ErrorException, Too short FlvTag. @FlvTag:21");
    expectSounds(0, 3); // which were there
}

TEST_F(ChangingFilesTest, AFileThatShrinksToNothingCannotBeStarted) {
    settings.set(L"SeekByMetaData", 0);
    const Bytes whole = film(3).build();
    play(whole);
    expectPictures(0, 2);
    cutAt(0);
    restartAt(1);
    EXPECT_EQ(source->getStateId(), SourceStateId::stopped);
    const CapturedRecord record = log.find("class JY::ErrorException, Too short FlvTag. @FlvTag:21");
    EXPECT_EQ(record.severity, Severity::error);
    EXPECT_EQ(record.file, "FlvSource");
    grow(whole);
    restartAt(1);
    expectPictures(1, 3);
}

TEST_F(ChangingFilesTest, AnIndexThatPointsBehindTheEndOfAShrunkFileFailsRequestsOnly) {
    const FlvBuilder layout = indexedMedia({0, 5, 9});
    const Bytes whole = layout.build();
    play(whole);
    expectPictures(0, 0);
    cutAt(layout.recordPosition(videoTagOf(2)) + 4);
    restartAt(9);
    EXPECT_EQ(source->getStateId(), SourceStateId::started); // moving there is no reading
    expectFailure(nextPicture(), E_FAIL, "class JY::ErrorException, Too short FlvTag. @FlvTag:21");
    restartAt(0);
    expectPictures(0, 1);
}

// A file that is replaced or deleted.

TEST_F(ChangingFilesTest, APlayedFileCannotBeDeleted) {
    play(film(3).build());
    expectPictures(0, 0);
    EXPECT_FALSE(DeleteFileW(path.c_str()));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    expectPictures(1, 3);
}

TEST_F(ChangingFilesTest, APlayedFileCannotBeRenamedOver) {
    play(film(3).build());
    expectPictures(0, 0);
    const std::wstring other = write(film(9).build());
    EXPECT_FALSE(MoveFileExW(other.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING));
    EXPECT_FALSE(MoveFileW(path.c_str(), (path + L".old").c_str()));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    expectPictures(1, 3);
    EXPECT_EQ(nextPicture(), failed(MF_E_END_OF_STREAM)); // of its own end
}

TEST_F(ChangingFilesTest, ASourceThatIsShutDownLetsItsFileBeReplaced) {
    play(film(3).build());
    expectPictures(0, 0);
    EXPECT_EQ(source->Shutdown(), S_OK);
    const std::wstring other = write(film(9).build());
    EXPECT_TRUE(MoveFileExW(other.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING));
    audio.Reset();
    video.Reset();
    source = openFile(path);
    restartAt(0);
    expectPictures(0, 9);
}

TEST_F(ChangingFilesTest, BytesThatAreOverwrittenAreDeliveredAsTheyAreThen) {
    const FlvBuilder layout = film(9);
    play(layout.build());
    expectPictures(0, 0);
    expectSounds(0, 0);
    for (std::uint8_t second = 1; second <= 8; ++second) {
        const auto other = static_cast<std::uint8_t>(0x80 + second);
        overwrite(lastByteOf(layout, videoTagOf(second)), {other});
        EXPECT_EQ(nextPicture(), (Answer{S_OK, second * 1000, picture(other)}));
        overwrite(lastByteOf(layout, audioTagOf(second)), {other});
        EXPECT_EQ(nextSound(), (Answer{S_OK, second * 1000, sound(other)}));
    }
}

TEST_F(ChangingFilesTest, RecordsThatAreOverwrittenAreReadAsTheyAreThen) {
    const FlvBuilder layout = film(9);
    play(layout.build());
    expectPictures(0, 0);
    overwrite(layout.tagPosition(audioTagOf(0)), {TagType::scriptData}); // passed over, as is the next picture
    overwrite(layout.tagPosition(videoTagOf(1)), {TagType::scriptData});
    expectPictures(2, 2);
    overwrite(layout.tagPosition(videoTagOf(3)), {TagType::video | TagType::filterBit});
    expectFailure(nextPicture(), E_FAIL, "Encrypted tag is not supported. @FlvFileParser:43");
    expectSounds(1, 2);
}

TEST_F(ChangingFilesTest, ATagThatIsOverwrittenBehindTheReaderIsReadAnewAfterASeek) {
    settings.set(L"SeekByMetaData", 0);
    const FlvBuilder layout = film(9);
    play(layout.build());
    expectPictures(0, 4);
    overwrite(lastByteOf(layout, videoTagOf(2)), {0x82});
    restartAt(2);
    EXPECT_EQ(nextPicture(), (Answer{S_OK, 2000, picture(0x82)}));
}

TEST_F(ChangingFilesTest, AFileThatIsWrittenAnewInPlaceIsReadAsItIsThen) {
    const FlvBuilder layout = film(9);
    play(layout.build());
    expectPictures(0, 1);
    Bytes other = layout.build();
    for (unsigned second = 0; second <= 9; ++second) {
        other[static_cast<std::size_t>(lastByteOf(layout, videoTagOf(second)))] += 0x80;
    }
    cutAt(0);
    grow(other);
    EXPECT_EQ(nextPicture(), (Answer{S_OK, 2000, picture(0x82)}));
    EXPECT_EQ(nextPicture(), (Answer{S_OK, 3000, picture(0x83)}));
}

TEST_F(ChangingFilesTest, AFileThatIsOverwrittenWithNoiseEndsInFailures) {
    const Bytes whole = film(9).build();
    play(whole);
    expectPictures(0, 1);
    overwrite(0, Bytes(whole.size(), 0xFF));
    expectFailure(nextPicture(), E_FAIL, "Encrypted tag is not supported. @FlvFileParser:43");
    overwrite(0, Bytes(whole.size(), 0));
    EXPECT_EQ(nextPicture().result, MF_E_END_OF_STREAM); // tags of no kind, without a body, up to the end
    overwrite(0, whole);
    settings.set(L"SeekByMetaData", 0);
    restartAt(0);
    EXPECT_EQ(source->getStateId(), SourceStateId::started);
}

} // namespace
