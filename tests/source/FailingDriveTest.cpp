#include "source/FlvByteStreamHandlerImpl.h"
#include "tests/source/FilmTest.h"
#include "tests/support/ImportPatch.h"

#include <mferror.h>

#include <atomic>
#include <limits>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using namespace JY::Pictaro::Fs;
using namespace JY::Test;
using Log2::Severity;
using Microsoft::WRL::ComPtr;

/// The drive of the files that this program reads. It fails while told so.
class Drive {
public:
    Drive() { current = this; }
    Drive(const Drive&) = delete;
    Drive& operator=(const Drive&) = delete;
    ~Drive() { current = nullptr; }

    // Error codes of the calls from now on; 0 for success.
    std::atomic<DWORD> readError{0};
    std::atomic<DWORD> moveError{0};
    std::atomic<DWORD> sizeError{0};
    /// Reads that touch these bytes of a file fail.
    std::atomic<std::int64_t> badFrom{std::numeric_limits<std::int64_t>::max()};
    std::atomic<std::int64_t> badTo{std::numeric_limits<std::int64_t>::max()};

private:
    static inline Drive* current = nullptr;

    static BOOL failWith(DWORD error) {
        SetLastError(error);
        return FALSE;
    }
    static std::int64_t positionOf(HANDLE file, const OVERLAPPED* place) {
        if (place != nullptr) {
            return static_cast<std::int64_t>((std::uint64_t{place->OffsetHigh} << 32) | place->Offset);
        }
        LARGE_INTEGER position{};
        current->move_.callOriginal(file, LARGE_INTEGER{}, &position, FILE_CURRENT);
        return position.QuadPart;
    }
    static BOOL WINAPI read(HANDLE file, void* buffer, DWORD count, DWORD* done, OVERLAPPED* place) {
        if (current->readError != 0) {
            return failWith(current->readError);
        }
        const std::int64_t start = positionOf(file, place);
        if (start < current->badTo && start + count > current->badFrom) {
            return failWith(ERROR_CRC);
        }
        return current->read_.callOriginal(file, buffer, count, done, place);
    }
    static BOOL WINAPI move(HANDLE file, LARGE_INTEGER distance, LARGE_INTEGER* position, DWORD method) {
        return current->moveError != 0 ? failWith(current->moveError)
                                       : current->move_.callOriginal(file, distance, position, method);
    }
    static BOOL WINAPI size(HANDLE file, LARGE_INTEGER* result) {
        return current->sizeError != 0 ? failWith(current->sizeError) : current->size_.callOriginal(file, result);
    }

    ImportPatch<decltype(&ReadFile)> read_{"ReadFile", read};
    ImportPatch<decltype(&SetFilePointerEx)> move_{"SetFilePointerEx", move};
    ImportPatch<decltype(&GetFileSizeEx)> size_{"GetFileSizeEx", size};
};

/// A film on a drive that fails while it is opened or played, and works again.
class FailingDriveTest : public FilmTest {
protected:
    void SetUp() override { settings.set(L"SeekByMetaData", 0); }

    /// Opens through the byte-stream handler, as a resolver does. The failure of EndCreateObject is the result.
    HRESULT create(const std::wstring& file) {
        const auto handler = createObject<FlvByteStreamHandlerImpl>(counter);
        ClientState bytes; // not used by the handler
        ClientCallback callback;
        EXPECT_EQ(handler->BeginCreateObject(reinterpret_cast<IMFByteStream*>(static_cast<IUnknown*>(&bytes)),
                                             (L"file://" + file).c_str(), MF_RESOLUTION_MEDIASOURCE, nullptr, nullptr,
                                             &callback, nullptr),
                  S_OK);
        EXPECT_TRUE(callback.becomesCalled());
        MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
        ComPtr<IUnknown> object;
        const HRESULT result = handler->EndCreateObject(callback.takeResult().Get(), &type, object.GetAddressOf());
        EXPECT_TRUE(callback.becomesForgotten());
        return result;
    }
    /// Requests pictures while the drive fails and afterwards: each request that fails answers `failing`, and no
    /// picture is lost, doubled or damaged.
    void expectToLoseNothing(std::atomic<DWORD>& error, HRESULT failing) {
        play(film(9).build());
        expectPictures(0, 1);
        error = ERROR_NOT_READY;
        unsigned second = 2;
        for (int request = 0; request < 3; ++request) {
            const Answer answer = nextPicture();
            if (answer != failed(failing)) {
                EXPECT_EQ(answer, (Answer{S_OK, second * 1000, picture(static_cast<std::uint8_t>(second))}));
                ++second;
            }
        }
        error = 0;
        expectPictures(second, 9);
    }

    Drive drive;
};

// While a film is played.

TEST_F(FailingDriveTest, ReadsThatFailFailTheirRequestsAndLoseNothing) {
    play(film(9).build());
    expectPictures(0, 1);
    expectSounds(0, 0);
    drive.readError = ERROR_NOT_READY;
    for (int request = 0; request < 3; ++request) {
        expectFailure(nextPicture(), E_FAIL, "class JY::ErrorException, Too short FlvTag. @FlvTag:21");
    }
    drive.readError = 0;
    expectPictures(2, 9);
    expectSounds(1, 8);
}

TEST_F(FailingDriveTest, MovesThatFailFailTheirRequestsAndLoseNothing) {
    expectToLoseNothing(drive.moveError, E_FAIL);
}

TEST_F(FailingDriveTest, AskingForTheSizeInVainFailsTheRequestAndLosesNothing) {
    expectToLoseNothing(drive.sizeError, ERROR_NOT_READY); // the call's own code, unchanged
}

TEST_F(FailingDriveTest, ADriveThatFailsAltogetherFailsRequestsAndLosesNothing) {
    play(film(9).build());
    expectPictures(0, 1);
    drive.readError = drive.moveError = drive.sizeError = ERROR_DEVICE_NOT_CONNECTED;
    for (int request = 0; request < 3; ++request) {
        EXPECT_NE(nextPicture().result, S_OK);
        EXPECT_EQ(failure.file, "FlvStream");
    }
    drive.readError = drive.moveError = drive.sizeError = 0;
    expectPictures(2, 9);
}

TEST_F(FailingDriveTest, AFailureAtTheEndOfTheFileIsNoEndOfStream) {
    play(film(2).build());
    expectPictures(0, 2);
    EXPECT_EQ(nextPicture(), failed(MF_E_END_OF_STREAM));
    drive.readError = ERROR_NOT_READY;
    expectFailure(nextPicture(), E_FAIL, "class JY::ErrorException, Too short FlvTag. @FlvTag:21");
    drive.readError = 0;
    EXPECT_EQ(nextPicture(), failed(MF_E_END_OF_STREAM));
}

TEST_F(FailingDriveTest, TagsBeforeBadBytesAreDelivered) {
    const FlvBuilder layout = film(9);
    drive.badFrom = layout.recordPosition(videoTagOf(5));
    drive.badTo = layout.recordPosition(videoTagOf(6));
    play(layout.build());
    expectPictures(0, 4);
    for (int request = 0; request < 3; ++request) {
        expectFailure(nextPicture(), E_FAIL, "class JY::ErrorException, Too short FlvTag. @FlvTag:21");
    }
    expectSounds(0, 4);
}

TEST_F(FailingDriveTest, ThePictureThatHoldsBadBytesFails) {
    const FlvBuilder layout = film(9);
    drive.badFrom = lastByteOf(layout, videoTagOf(5));
    drive.badTo = drive.badFrom + 1;
    play(layout.build());
    expectPictures(0, 4);
    expectFailure(nextPicture(), E_FAIL, "class JY::ErrorException, Parse error. @AvcVideoDataHandler:");
}

TEST_F(FailingDriveTest, TheSoundThatHoldsBadBytesIsSilentAndTheNextFollows) {
    const FlvBuilder layout = film(9);
    drive.badFrom = lastByteOf(layout, audioTagOf(5));
    drive.badTo = drive.badFrom + 1;
    play(layout.build());
    expectSounds(0, 4);
    EXPECT_EQ(nextSound(), (Answer{S_OK, 5000, {0, 0, 0}})); // what could not be read is zero
    expectSounds(6, 8);
    expectPictures(0, 8);
}

TEST_F(FailingDriveTest, AnIndexLeadsPastBadBytes) {
    settings.set(L"SeekByMetaData", 1);
    const FlvBuilder layout = indexedMedia({0, 8});
    drive.badFrom = layout.recordPosition(videoTagOf(5));
    drive.badTo = layout.recordPosition(videoTagOf(6));
    play(layout.build());
    expectPictures(0, 4);
    expectFailure(nextPicture(), E_FAIL, "class JY::ErrorException, Too short FlvTag. @FlvTag:21");
    restartAt(8);
    expectPictures(8, 12);
}

TEST_F(FailingDriveTest, AWalkThatMeetsBadBytesEndsItsStartWithoutATransition) {
    const FlvBuilder layout = film(9);
    drive.badFrom = layout.recordPosition(videoTagOf(5));
    drive.badTo = layout.recordPosition(videoTagOf(6));
    play(layout.build());
    expectPictures(0, 1);
    restartAt(7);
    EXPECT_EQ(source->getStateId(), SourceStateId::stopped);
    EXPECT_EQ(errorRecord().file, "FlvSource");
    EXPECT_TRUE(log.contains("class JY::ErrorException, Too short FlvTag. @FlvTag:21"));
    drive.badFrom = drive.badTo.load();
    restartAt(0);
    EXPECT_EQ(source->getStateId(), SourceStateId::started);
    expectPictures(0, 9);
}

TEST_F(FailingDriveTest, AStartWhoseReadsFailChangesNothing) {
    play(film(9).build());
    expectPictures(0, 4);
    drive.readError = ERROR_NOT_READY;
    restartAt(1);
    EXPECT_EQ(source->getStateId(), SourceStateId::stopped);
    const CapturedRecord record = errorRecord();
    EXPECT_EQ(record.file, "FlvSource");
    EXPECT_NE(record.message.find("class JY::ErrorException, Too short FlvTag. @FlvTag:21"), std::string::npos);
    drive.readError = 0;
    restartAt(1);
    expectPictures(1, 9);
}

TEST_F(FailingDriveTest, AStartByTheIndexWhoseMoveFailsChangesNothing) {
    settings.set(L"SeekByMetaData", 1);
    play(indexedMedia({0, 5, 9}).build());
    expectPictures(0, 2);
    drive.moveError = ERROR_NOT_READY;
    restartAt(5);
    EXPECT_EQ(source->getStateId(), SourceStateId::stopped);
    const CapturedRecord record = errorRecord();
    EXPECT_EQ(record.file, "FlvSource");
    EXPECT_NE(record.message.find("ApiErrorException, SetFilePointerEx file=" + narrow(path) + ": (0x15;"),
              std::string::npos)
        << record.message;
    EXPECT_NE(record.message.find("@File:91"), std::string::npos);
    drive.moveError = 0;
    restartAt(5);
    expectPictures(5, 9);
}

TEST_F(FailingDriveTest, AStartWithinTheFileNeedsNoSize) {
    play(film(9).build());
    expectPictures(0, 4);
    drive.sizeError = ERROR_NOT_READY;
    restartAt(1);
    EXPECT_EQ(source->getStateId(), SourceStateId::started);
    drive.sizeError = 0;
    expectPictures(1, 9);
}

TEST_F(FailingDriveTest, AStartThatCannotAskForTheSizeChangesNothing) {
    play(film(9).build());
    expectPictures(0, 4);
    drive.sizeError = ERROR_NOT_READY;
    restartAt(60); // the walk comes to the end of the file
    EXPECT_EQ(source->getStateId(), SourceStateId::stopped);
    const CapturedRecord record = errorRecord();
    EXPECT_EQ(record.file, "FlvSource");
    EXPECT_NE(record.message.find("ApiErrorException, GetFileSizeEx: (0x15;"), std::string::npos) << record.message;
    EXPECT_NE(record.message.find("@JYFileStream:14"), std::string::npos);
    drive.sizeError = 0;
    restartAt(1);
    expectPictures(1, 9);
}

// The walk may be left within a tag, out of which an index leads.
TEST_F(FailingDriveTest, AWalkWhoseMovesFailEndsItsStartWithoutATransition) {
    play(indexedMedia({0, 5, 9}).build());
    expectPictures(0, 4);
    drive.moveError = ERROR_NOT_READY;
    restartAt(1);
    EXPECT_EQ(source->getStateId(), SourceStateId::stopped);
    const CapturedRecord record = errorRecord();
    EXPECT_EQ(record.file, "FlvSource");
    EXPECT_NE(record.message.find("class JY::ErrorException, Too short FlvTag. @FlvTag:21"), std::string::npos)
        << record.message;
    drive.moveError = 0;
    settings.set(L"SeekByMetaData", 1);
    restartAt(0);
    expectPictures(0, 9);
}

// While it is opened.

TEST_F(FailingDriveTest, AHeaderThatCannotBeReadFailsTheCreation) {
    path = write(film(2).build());
    drive.readError = ERROR_NOT_READY;
    EXPECT_TRUE(FAILED(create(path)));
    drive.readError = 0;
    const CapturedRecord record = errorRecord();
    EXPECT_EQ(record.file, "FlvByteStreamHandler");
    EXPECT_NE(record.message.find("ApiErrorException, ReadFile file=" + narrow(path) + ": (0x15;"), std::string::npos)
        << record.message;
    EXPECT_NE(record.message.find("@File:56"), std::string::npos);
    EXPECT_EQ(log.count(Severity::notice, "File=" + narrow(path)), 1U);
    EXPECT_EQ(create(path), S_OK);
}

TEST_F(FailingDriveTest, AFileWhoseSizeCannotBeHadFailsTheCreation) {
    path = write(film(2).build());
    drive.sizeError = ERROR_NOT_READY;
    EXPECT_TRUE(FAILED(create(path)));
    drive.sizeError = 0;
    const CapturedRecord first = log.find("GetFileSizeEx: (0x15;");
    EXPECT_EQ(first.severity, Severity::warn); // for want of the metadata alone
    EXPECT_EQ(first.file, "FlvSource");
    EXPECT_NE(errorRecord().message.find("class JY::ErrorException, No stream. @FlvSource:"), std::string::npos);
    EXPECT_EQ(log.count(Severity::notice, "File=" + narrow(path)), 1U);
    EXPECT_EQ(create(path), S_OK);
}

TEST_F(FailingDriveTest, BadBytesInTheMetaDataCostTheMetaDataAlone) {
    const FlvBuilder layout = FlvBuilder().onMetaData().aacSequenceHeader(0).aacRaw(0, {1}).aacRaw(2000, {2});
    path = write(layout.build());
    drive.badFrom = layout.recordPosition(0) + 20;
    drive.badTo = drive.badFrom + 1;
    source = openFile(path);
    EXPECT_EQ(counter.count(), 2U); // the audio stream is there
    const CapturedRecord record = log.find("class JY::ErrorException, Script parse error. @FlvMetaData");
    EXPECT_EQ(record.severity, Severity::warn);
    EXPECT_EQ(record.file, "FlvSource");
}

TEST_F(FailingDriveTest, BadBytesInTheFirstTagsFailTheCreation) {
    const FlvBuilder layout = film(2);
    path = write(layout.build());
    drive.badFrom = layout.recordPosition(1);
    drive.badTo = layout.recordPosition(2);
    EXPECT_TRUE(FAILED(create(path)));
    EXPECT_EQ(log.find("class JY::ErrorException, Too short FlvTag. @FlvTag:21").severity, Severity::warn);
    EXPECT_NE(errorRecord().message.find("class JY::ErrorException, No stream. @FlvSource:"), std::string::npos);
    drive.badFrom = drive.badTo.load();
    EXPECT_EQ(create(path), S_OK);
}

} // namespace
