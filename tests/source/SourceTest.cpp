#include "tests/source/SourceTest.h"

#include <mfapi.h>

#include <algorithm>

namespace JY::Test {

using Microsoft::WRL::ComPtr;

namespace {

Bytes picture(unsigned second) {
    return {0x65, 0x88, 0x80, 0x10, 0x00, static_cast<std::uint8_t>(second)};
}

/// The record with which the work queue's part of a start ends.
bool isEndOfStart(const CapturedRecord& record) {
    return record.message.starts_with("EXIT: ") && record.message.ends_with("::Invoke");
}

ComPtr<IMFStreamDescriptor> makeStreamDescriptor(DWORD streamId) {
    ComPtr<IMFMediaType> type;
    MFCreateMediaType(type.GetAddressOf());
    IMFMediaType* types[] = {type.Get()};
    ComPtr<IMFStreamDescriptor> descriptor;
    EXPECT_EQ(MFCreateStreamDescriptor(streamId, 1, types, descriptor.GetAddressOf()), S_OK);
    return descriptor;
}

} // namespace

void SourceTest::TearDown() {
    EXPECT_TRUE(becomesTrue([this] { return counter.count() == 0; })) << counter.count();
}

FlvBuilder SourceTest::media(const MetaData& metaData, std::uint8_t flags, unsigned lastSecond) {
    FlvBuilder file(flags);
    file.onMetaData(metaData).avcSequenceHeader(0).aacSequenceHeader(0);
    for (unsigned second = 0; second <= lastSecond; ++second) {
        file.avcNalus(second * 1000, FlvBuilder::key, {picture(second)});
        file.aacRaw(second * 1000, {0x21, 0x10, static_cast<std::uint8_t>(second)});
    }
    return file;
}

FlvBuilder SourceTest::indexedMedia(const std::vector<unsigned>& seconds) {
    const std::vector<double> times(seconds.begin(), seconds.end());
    const auto withPositions = [&](const std::vector<double>& positions) {
        return media(MetaData::typical().keyframes(times, positions));
    };
    const FlvBuilder draft = withPositions(std::vector<double>(seconds.size())); // laid out as the final file
    std::vector<double> positions;
    positions.reserve(seconds.size());
    for (const unsigned second : seconds) {
        positions.push_back(static_cast<double>(draft.tagPosition(videoTagOf(second))));
    }
    return withPositions(positions);
}

std::wstring SourceTest::write(const Bytes& file) {
    return files_.emplace_back(file).path();
}

SourceTest::Source SourceTest::openFile(const std::wstring& path) {
    return Pictaro::createObject<Pictaro::Fs::FlvSourceImpl>(counter, path);
}

SourceTest::Descriptor SourceTest::describe(IMFMediaSource& source) {
    Descriptor descriptor;
    EXPECT_EQ(source.CreatePresentationDescriptor(descriptor.GetAddressOf()), S_OK);
    return descriptor;
}

SourceTest::Descriptor SourceTest::select(IMFMediaSource& source, const std::vector<DWORD>& streamIds) {
    Descriptor descriptor = describe(source);
    DWORD count = 0;
    descriptor->GetStreamDescriptorCount(&count);
    for (DWORD index = 0; index < count; ++index) {
        BOOL selected = FALSE;
        ComPtr<IMFStreamDescriptor> stream;
        descriptor->GetStreamDescriptorByIndex(index, &selected, stream.GetAddressOf());
        DWORD streamId = 0;
        stream->GetStreamIdentifier(&streamId);
        if (std::ranges::find(streamIds, streamId) == streamIds.end()) {
            descriptor->DeselectStream(index);
        }
    }
    return descriptor;
}

SourceTest::Descriptor SourceTest::makeDescriptor(const std::vector<DWORD>& streamIds) {
    std::vector<ComPtr<IMFStreamDescriptor>> streams;
    std::vector<IMFStreamDescriptor*> pointers;
    pointers.reserve(streamIds.size());
    for (const DWORD streamId : streamIds) {
        pointers.push_back(streams.emplace_back(makeStreamDescriptor(streamId)).Get());
    }
    Descriptor descriptor;
    EXPECT_EQ(
        MFCreatePresentationDescriptor(static_cast<DWORD>(pointers.size()), pointers.data(), descriptor.GetAddressOf()),
        S_OK);
    for (DWORD index = 0; index < pointers.size(); ++index) {
        descriptor->SelectStream(index);
    }
    return descriptor;
}

std::vector<DWORD> SourceTest::streamIdsOf(IMFMediaSource& source) {
    const Descriptor descriptor = describe(source);
    DWORD count = 0;
    descriptor->GetStreamDescriptorCount(&count);
    std::vector<DWORD> result;
    for (DWORD index = 0; index < count; ++index) {
        BOOL selected = FALSE;
        ComPtr<IMFStreamDescriptor> stream;
        descriptor->GetStreamDescriptorByIndex(index, &selected, stream.GetAddressOf());
        EXPECT_TRUE(selected);
        stream->GetStreamIdentifier(&result.emplace_back());
    }
    return result;
}

std::string SourceTest::narrow(const std::wstring& path) {
    TextBuffer text;
    text << path;
    return text.str();
}

HRESULT SourceTest::start(Pictaro::Fs::FlvSourceImpl& source, IMFPresentationDescriptor& descriptor,
                          const Position& position) {
    const auto endedStarts = [this] {
        const auto records = log.records();
        return std::ranges::count_if(records, isEndOfStart);
    };
    const auto before = endedStarts();
    const HRESULT result = source.Start(&descriptor, nullptr, position.get());
    if (SUCCEEDED(result)) {
        EXPECT_TRUE(becomesTrue([&] { return endedStarts() == before + 1; }));
    }
    return result;
}

ComPtr<IMFMediaEvent> SourceTest::nextEvent(IMFMediaEventGenerator& generator) {
    ComPtr<IMFMediaEvent> event;
    EXPECT_EQ(generator.GetEvent(MF_EVENT_FLAG_NO_WAIT, event.GetAddressOf()), S_OK);
    return event;
}

SourceTest::Stream SourceTest::announcedStream(IMFMediaSource& source, DWORD streamId) {
    for (;;) {
        const auto event = nextEvent(source);
        if (event == nullptr) {
            return {};
        }
        PROPVARIANT value{};
        event->GetValue(&value);
        Stream stream;
        if (value.vt == VT_UNKNOWN) {
            value.punkVal->QueryInterface(IID_PPV_ARGS(stream.GetAddressOf()));
        }
        PropVariantClear(&value);
        ComPtr<IMFStreamDescriptor> descriptor;
        DWORD found = 0;
        if (stream != nullptr && SUCCEEDED(stream->GetStreamDescriptor(descriptor.GetAddressOf())) &&
            SUCCEEDED(descriptor->GetStreamIdentifier(&found)) && found == streamId) {
            return stream;
        }
    }
}

std::optional<LONGLONG> SourceTest::requestSample(IMFMediaStream& stream) {
    if (FAILED(stream.RequestSample(nullptr))) {
        return std::nullopt;
    }
    MediaEventType type = MEUnknown;
    ComPtr<IMFMediaEvent> event;
    while (type != MEMediaSample) {
        if (FAILED(stream.GetEvent(MF_EVENT_FLAG_NO_WAIT, event.ReleaseAndGetAddressOf()))) {
            return std::nullopt;
        }
        event->GetType(&type);
    }
    PROPVARIANT value{};
    event->GetValue(&value);
    ComPtr<IMFSample> sample;
    value.punkVal->QueryInterface(IID_PPV_ARGS(sample.GetAddressOf()));
    PropVariantClear(&value);
    LONGLONG time = 0;
    EXPECT_EQ(sample->GetSampleTime(&time), S_OK);
    return time / 10'000;
}

} // namespace JY::Test
