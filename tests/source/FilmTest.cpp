#include "tests/source/FilmTest.h"

#include "tests/support/TimeLimit.h"

#include <mfapi.h>

#include <algorithm>
#include <filesystem>
#include <ostream>

namespace JY::Test {

using Log2::Severity;
using Microsoft::WRL::ComPtr;
using Pictaro::Fs::SourceStateId;

namespace {

/// The parameter sets of `FlvBuilder`, as they stand in front of every picture.
const Bytes parameterSets = {0, 0, 1, 0x67, 0x42, 0xC0, 0x1E, 0xD9, 0, 0, 1, 0x68, 0xCB, 0x83, 0xCB};

Bytes bytesOf(IMFSample& sample) {
    ComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(sample.ConvertToContiguousBuffer(buffer.GetAddressOf()), S_OK);
    BYTE* data = nullptr;
    DWORD size = 0;
    EXPECT_EQ(buffer->Lock(&data, nullptr, &size), S_OK);
    const Bytes bytes(data, data + size);
    EXPECT_EQ(buffer->Unlock(), S_OK);
    return bytes;
}

/// The next object of this kind that the events carry; null when there is none.
template <class Interface>
ComPtr<Interface> nextCarried(IMFMediaEventGenerator& generator) {
    ComPtr<Interface> carried;
    ComPtr<IMFMediaEvent> event;
    while (carried == nullptr && SUCCEEDED(generator.GetEvent(MF_EVENT_FLAG_NO_WAIT, event.ReleaseAndGetAddressOf()))) {
        PROPVARIANT value{};
        event->GetValue(&value);
        if (value.vt == VT_UNKNOWN) {
            value.punkVal->QueryInterface(IID_PPV_ARGS(carried.GetAddressOf()));
        }
        PropVariantClear(&value);
    }
    return carried;
}

DWORD streamIdOf(IMFMediaStream& stream) {
    ComPtr<IMFStreamDescriptor> descriptor;
    DWORD streamId = 0;
    EXPECT_EQ(stream.GetStreamDescriptor(descriptor.GetAddressOf()), S_OK);
    EXPECT_EQ(descriptor->GetStreamIdentifier(&streamId), S_OK);
    return streamId;
}

} // namespace

void PrintTo(const Answer& answer, std::ostream* out) {
    *out << std::hex << answer.result << std::dec << ", " << answer.milliseconds << " ms, "
         << testing::PrintToString(answer.bytes);
}

Writer::Writer(const std::wstring& path, DWORD share)
    : handle_(CreateFileW(path.c_str(), GENERIC_WRITE, share, nullptr, OPEN_EXISTING, 0, nullptr)) {
    EXPECT_TRUE(static_cast<bool>(handle_)) << GetLastError();
}

void Writer::write(std::int64_t position, const Bytes& bytes) const {
    moveTo(position);
    DWORD done = 0;
    EXPECT_TRUE(WriteFile(handle_.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &done, nullptr));
}

void Writer::cutAt(std::int64_t size) const {
    moveTo(size);
    EXPECT_TRUE(SetEndOfFile(handle_.get()));
}

void Writer::moveTo(std::int64_t position) const {
    LARGE_INTEGER distance;
    distance.QuadPart = position;
    EXPECT_TRUE(SetFilePointerEx(handle_.get(), distance, nullptr, FILE_BEGIN));
}

void FilmTest::TearDown() {
    close();
    SourceTest::TearDown();
}

void FilmTest::close() {
    if (source != nullptr) {
        expectOthersGetThrough();
        audio.Reset();
        video.Reset();
        EXPECT_EQ(source->Shutdown(), S_OK);
        EXPECT_TRUE(DeleteFileW(path.c_str()));
        source.Reset();
    }
}

FlvBuilder FilmTest::film(unsigned lastSecond) {
    return media(MetaData::typical(), FlvBuilder::audioAndVideo, lastSecond);
}

std::int64_t FilmTest::lastByteOf(const FlvBuilder& layout, std::size_t tag) {
    return layout.recordPosition(tag + 1) - 1;
}

Bytes FilmTest::picture(std::uint8_t last) {
    return join({parameterSets, {0, 0, 1, 0x65, 0x88, 0x80, 0x10, 0x00, last}});
}

std::string FilmTest::narrow(const std::wstring& text) {
    TextBuffer buffer;
    buffer << text;
    return buffer.str();
}

void FilmTest::play(const Bytes& content) {
    path = write(content);
    source = openFile(path);
    restartAt(0);
}

void FilmTest::restartAt(unsigned second) {
    if (source->getStateId() != SourceStateId::stopped) {
        EXPECT_EQ(source->Stop(), S_OK);
    }
    log.clear();
    ASSERT_EQ(start(*source.Get(), Position::seconds(second)), S_OK);
    if (source->getStateId() == SourceStateId::started) {
        while (const auto stream = nextCarried<IMFMediaStream>(*source.Get())) {
            (streamIdOf(*stream.Get()) == videoId ? video : audio) = stream;
        }
    }
}

void FilmTest::expectPictures(unsigned first, unsigned last) {
    for (unsigned second = first; second <= last; ++second) {
        EXPECT_EQ(nextPicture(), (Answer{S_OK, second * 1000, picture(static_cast<std::uint8_t>(second))}));
    }
}

void FilmTest::expectSounds(unsigned first, unsigned last) {
    for (unsigned second = first; second <= last; ++second) {
        EXPECT_EQ(nextSound(), (Answer{S_OK, second * 1000, sound(static_cast<std::uint8_t>(second))}));
    }
}

void FilmTest::expectFailure(const Answer& answer, HRESULT result, const std::string& text) const {
    EXPECT_EQ(answer, failed(result));
    EXPECT_EQ(failure.file, "FlvStream");
    EXPECT_NE(failure.message.find(text), std::string::npos) << failure.message;
}

CapturedRecord FilmTest::errorRecord() const {
    const std::vector<CapturedRecord> records = log.records();
    const auto found = std::ranges::find(records, Severity::error, &CapturedRecord::severity);
    return found != records.end() ? *found : CapturedRecord{};
}

void FilmTest::grow(const Bytes& whole) const {
    const std::uintmax_t size = std::filesystem::file_size(path);
    overwrite(static_cast<std::int64_t>(size), Bytes(whole.begin() + static_cast<std::ptrdiff_t>(size), whole.end()));
}

Answer FilmTest::request(IMFMediaStream& stream) {
    log.clear();
    Answer answer = failed(stream.RequestSample(nullptr));
    failure = errorRecord();
    if (const auto sample = nextCarried<IMFSample>(stream)) {
        LONGLONG time = 0;
        EXPECT_EQ(sample->GetSampleTime(&time), S_OK);
        answer.milliseconds = time / 10'000;
        answer.bytes = bytesOf(*sample.Get());
    }
    return answer;
}

/// No lock is left held: neither the source's nor the parser's, which every request takes.
void FilmTest::expectOthersGetThrough() const {
    EXPECT_TRUE(returnsInTime([source = source, audio = audio, video = video] {
        ComPtr<IMFPresentationDescriptor> descriptor;
        source->CreatePresentationDescriptor(descriptor.GetAddressOf());
        for (const Stream& stream : {audio, video}) {
            if (stream != nullptr) {
                stream->RequestSample(nullptr);
            }
        }
    }));
}

} // namespace JY::Test
