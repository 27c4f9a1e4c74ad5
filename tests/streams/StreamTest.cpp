#include "tests/streams/StreamTest.h"

#include <ostream>
#include <stdexcept>

namespace JY::Test {

namespace {

class MediaFoundation final : public testing::Environment {
public:
    void SetUp() override { ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_FULL), S_OK); }
    void TearDown() override { ASSERT_EQ(MFShutdown(), S_OK); }
};

const testing::Environment* const mediaFoundation = testing::AddGlobalTestEnvironment(new MediaFoundation);

void require(HRESULT result, const char* call) {
    if (FAILED(result)) {
        throw std::runtime_error(call);
    }
}

Bytes bytesOf(IMFSample& sample) {
    ComPtr<IMFMediaBuffer> buffer;
    require(sample.GetBufferByIndex(0, buffer.GetAddressOf()), "GetBufferByIndex");
    BYTE* data = nullptr;
    DWORD length = 0;
    require(buffer->Lock(&data, nullptr, &length), "Lock");
    const Bytes bytes(data, data + length);
    require(buffer->Unlock(), "Unlock");
    return bytes;
}

} // namespace

void PrintTo(const SampleContent& sample, std::ostream* out) {
    *out << "{" << testing::PrintToString(sample.bytes) << ", time " << sample.time << ", duration " << sample.duration
         << (sample.cleanPoint ? ", clean point}" : "}");
}

SampleContent contentOf(IMFSample& sample) {
    SampleContent content{bytesOf(sample), 0, 0, false};
    require(sample.GetSampleTime(&content.time), "GetSampleTime");
    require(sample.GetSampleDuration(&content.duration), "GetSampleDuration");
    UINT32 cleanPoint = 0;
    content.cleanPoint = sample.GetUINT32(MFSampleExtension_CleanPoint, &cleanPoint) == S_OK && cleanPoint == 1;
    return content;
}

ComPtr<IMFMediaEvent> nextEvent(IMFMediaEventGenerator& generator) {
    ComPtr<IMFMediaEvent> event;
    const HRESULT result = generator.GetEvent(MF_EVENT_FLAG_NO_WAIT, event.GetAddressOf());
    if (result != MF_E_NO_EVENTS_AVAILABLE) {
        require(result, "GetEvent");
    }
    return event;
}

MediaEventType typeOf(IMFMediaEvent& event) {
    MediaEventType type = MEUnknown;
    require(event.GetType(&type), "GetType");
    return type;
}

std::vector<MediaEventType> eventTypes(IMFMediaEventGenerator& generator) {
    std::vector<MediaEventType> types;
    while (const ComPtr<IMFMediaEvent> event = nextEvent(generator)) {
        types.push_back(typeOf(*event.Get()));
    }
    return types;
}

ComPtr<IUnknown> objectOf(IMFMediaEvent& event) {
    PROPVARIANT value{};
    require(event.GetValue(&value), "GetValue");
    const ComPtr<IUnknown> object = value.vt == VT_UNKNOWN ? value.punkVal : nullptr;
    PropVariantClear(&value);
    return object;
}

ComPtr<IMFSample> sampleOf(IMFMediaEvent& event) {
    EXPECT_EQ(typeOf(event), MEMediaSample);
    ComPtr<IMFSample> sample;
    require(objectOf(event)->QueryInterface(IID_IMFSample, reinterpret_cast<void**>(sample.GetAddressOf())),
            "QueryInterface");
    return sample;
}

ComPtr<IMFMediaType> currentMediaType(IMFStreamDescriptor& descriptor) {
    ComPtr<IMFMediaTypeHandler> handler;
    require(descriptor.GetMediaTypeHandler(handler.GetAddressOf()), "GetMediaTypeHandler");
    ComPtr<IMFMediaType> type;
    require(handler->GetCurrentMediaType(type.GetAddressOf()), "GetCurrentMediaType");
    return type;
}

GUID guidOf(IMFAttributes& attributes, const GUID& key) {
    GUID value{};
    require(attributes.GetGUID(key, &value), "GetGUID");
    return value;
}

UINT32 uint32Of(IMFAttributes& attributes, const GUID& key) {
    UINT32 value = 0;
    require(attributes.GetUINT32(key, &value), "GetUINT32");
    return value;
}

Bytes blobOf(IMFAttributes& attributes, const GUID& key) {
    UINT32 size = 0;
    require(attributes.GetBlobSize(key, &size), "GetBlobSize");
    Bytes blob(size);
    require(attributes.GetBlob(key, blob.data(), size, &size), "GetBlob");
    return blob;
}

UINT32 attributeCount(IMFAttributes& attributes) {
    UINT32 count = 0;
    require(attributes.GetCount(&count), "GetCount");
    return count;
}

std::vector<SampleContent> RecordingStream::contents() const {
    std::vector<SampleContent> result;
    for (const ComPtr<IMFSample>& sample : samples) {
        result.push_back(contentOf(*sample.Get()));
    }
    return result;
}

} // namespace JY::Test
