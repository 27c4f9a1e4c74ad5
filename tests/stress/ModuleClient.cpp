#include "tests/stress/ModuleClient.h"

#include "tests/stress/Creation.h"
#include "tests/support/FlvBuilder.h"

#include <mfapi.h>
#include <mferror.h>

#include <stdexcept>

namespace JY::Test {

using Microsoft::WRL::ComPtr;

namespace {

void requireObject(const IUnknown* object, const char* otherwise) {
    if (object == nullptr) {
        throw std::runtime_error(otherwise);
    }
}

ComPtr<IMFMediaEvent> eventAtHand(IMFMediaEventGenerator& generator) {
    ComPtr<IMFMediaEvent> event;
    generator.GetEvent(MF_EVENT_FLAG_NO_WAIT, event.GetAddressOf());
    return event;
}

MediaEventType typeOf(IMFMediaEvent& event) {
    MediaEventType type = MEUnknown;
    EXPECT_EQ(event.GetType(&type), S_OK);
    return type;
}

template <class Interface>
ComPtr<Interface> valueOf(IMFMediaEvent& event) {
    PROPVARIANT value{};
    event.GetValue(&value);
    ComPtr<Interface> object;
    if (value.vt == VT_UNKNOWN) {
        value.punkVal->QueryInterface(IID_PPV_ARGS(object.GetAddressOf()));
    }
    PropVariantClear(&value);
    return object;
}

TakenSample read(IMFSample& sample) {
    TakenSample taken;
    EXPECT_EQ(sample.GetSampleTime(&taken.milliseconds), S_OK);
    taken.milliseconds /= 10'000;
    ComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(sample.GetBufferByIndex(0, buffer.GetAddressOf()), S_OK);
    requireObject(buffer.Get(), "The sample has no buffer.");
    BYTE* bytes = nullptr;
    DWORD size = 0;
    EXPECT_EQ(buffer->Lock(&bytes, nullptr, &size), S_OK);
    taken.bytes.assign(bytes, bytes + size);
    buffer->Unlock();
    return taken;
}

void keep(PlayedSource& played, ComPtr<IMFMediaStream> stream) {
    ComPtr<IMFStreamDescriptor> descriptor;
    DWORD id = 0;
    if (stream != nullptr && SUCCEEDED(stream->GetStreamDescriptor(descriptor.GetAddressOf()))) {
        descriptor->GetStreamIdentifier(&id);
        (id == 1001 ? played.audio : played.video) = stream;
    }
}

} // namespace

EventTypes takeEvents(IMFMediaEventGenerator& generator) {
    EventTypes types;
    while (const auto event = eventAtHand(generator)) {
        types.push_back(typeOf(*event.Get()));
    }
    return types;
}

std::optional<TakenSample> takeSample(IMFMediaStream& stream) {
    if (FAILED(stream.RequestSample(nullptr))) {
        return std::nullopt;
    }
    while (const auto event = eventAtHand(stream)) {
        if (typeOf(*event.Get()) == MEMediaSample) {
            const auto sample = valueOf<IMFSample>(*event.Get());
            requireObject(sample.Get(), "The event has no sample.");
            return read(*sample.Get());
        }
    }
    return std::nullopt;
}

std::optional<LONGLONG> takeSampleTime(IMFMediaStream& stream) {
    const auto sample = takeSample(stream);
    return sample ? std::optional(sample->milliseconds) : std::nullopt;
}

ComPtr<IMFPresentationDescriptor> describe(IMFMediaSource& source) {
    ComPtr<IMFPresentationDescriptor> descriptor;
    EXPECT_EQ(source.CreatePresentationDescriptor(descriptor.GetAddressOf()), S_OK);
    return descriptor;
}

HRESULT startSource(IMFMediaSource& source, const Position& position) {
    return source.Start(describe(source).Get(), nullptr, position.get());
}

void PlayedSource::await(DWORD type) {
    const bool hasCome = becomesTrue([&] {
        const auto event = eventAtHand(*source.Get());
        if (event != nullptr) {
            keep(*this, valueOf<IMFMediaStream>(*event.Get()));
        }
        return event != nullptr && typeOf(*event.Get()) == type;
    });
    EXPECT_TRUE(hasCome) << "event " << type;
}

ComPtr<IMFMediaSource> ModuleClient::open(const std::wstring& path) const {
    const auto creation = makeHeapObject<Creation>(module_.makeHandler(), Creation::Answer::handOver, true);
    creation->begin(L"file://" + path);
    ComPtr<IMFMediaSource> source = creation->end();
    requireObject(source.Get(), "The file has not become a source.");
    return source;
}

PlayedSource ModuleClient::play(const std::wstring& path) const {
    PlayedSource played{open(path), {}, {}};
    EXPECT_EQ(startSource(*played.source.Get(), Position(0)), S_OK);
    played.await(MESourceStarted);
    return played;
}

std::vector<std::uint8_t> secondsFilm(unsigned lastSecond) {
    FlvBuilder film;
    film.onMetaData().avcSequenceHeader(0).aacSequenceHeader(0);
    for (unsigned second = 0; second <= lastSecond; ++second) {
        film.avcNalus(second * 1000, FlvBuilder::key,
                      {{0x65, 0x88, 0x80, 0x10, 0x00, static_cast<std::uint8_t>(second)}});
        film.aacRaw(second * 1000, {0x21, 0x10, static_cast<std::uint8_t>(second)});
    }
    return film.build();
}

} // namespace JY::Test
