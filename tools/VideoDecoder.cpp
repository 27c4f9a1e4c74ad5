#include "tools/VideoDecoder.h"

#include "tools/BufferLock.h"
#include "tools/Failure.h"
#include "tools/HostSystem.h"
#include "tools/Nv12.h"

#include <mfapi.h>
#include <mferror.h>

#include <algorithm>
#include <span>

using Microsoft::WRL::ComPtr;

namespace JY::Tools {

namespace {

/// What MFTEnumEx gives: an array of references in one block of memory.
class Activations {
public:
    explicit Activations(const MFT_REGISTER_TYPE_INFO& input) {
        check(MFTEnumEx(MFT_CATEGORY_VIDEO_DECODER, MFT_ENUM_FLAG_SYNCMFT | MFT_ENUM_FLAG_SORTANDFILTER, &input,
                        nullptr, &items_, &count_),
              "MFTEnumEx");
    }
    Activations(const Activations&) = delete;
    Activations& operator=(const Activations&) = delete;
    ~Activations() {
        for (IMFActivate* item : items()) {
            item->Release();
        }
        CoTaskMemFree(static_cast<void*>(items_));
    }

    std::span<IMFActivate* const> items() const { return {items_, count_}; }

private:
    IMFActivate** items_ = nullptr;
    UINT32 count_ = 0;
};

/// The first decoder that takes the type.
ComPtr<IMFTransform> findDecoder(IMFMediaType& encoded) {
    MFT_REGISTER_TYPE_INFO input{MFMediaType_Video, {}};
    check(encoded.GetGUID(MF_MT_SUBTYPE, &input.guidSubtype), "GetGUID(MF_MT_SUBTYPE)");
    const Activations found(input);
    for (IMFActivate* activation : found.items()) {
        ComPtr<IMFTransform> transform;
        if (SUCCEEDED(activation->ActivateObject(IID_PPV_ARGS(transform.GetAddressOf()))) &&
            SUCCEEDED(transform->SetInputType(0, &encoded, 0))) {
            return transform;
        }
    }
    throw Failure(MF_E_TOPO_CODEC_NOT_FOUND, "decoding the video");
}

LONGLONG timeOf(IMFSample& sample) {
    LONGLONG time = 0;
    check(sample.GetSampleTime(&time), "IMFSample::GetSampleTime");
    return time;
}

} // namespace

bool isNv12(IMFMediaType& type) {
    GUID subtype{};
    return SUCCEEDED(type.GetGUID(MF_MT_SUBTYPE, &subtype)) && subtype == MFVideoFormat_NV12;
}

VideoDecoder::VideoDecoder(IMFMediaType& encoded) : announced_(frameSizeOf(encoded)) {
    if (isNv12(encoded)) {
        format_ = VideoFormat::of(encoded, announced_);
        return;
    }
    transform_ = findDecoder(encoded);
    chooseOutput();
    check(transform_->ProcessMessage(MFT_MESSAGE_NOTIFY_BEGIN_STREAMING, 0), "MFT_MESSAGE_NOTIFY_BEGIN_STREAMING");
}

std::vector<DecodedFrame> VideoDecoder::decode(IMFSample& sample) {
    std::vector<DecodedFrame> frames;
    earliestSample_ = std::min(earliestSample_, timeOf(sample));
    latestSample_ = std::max(latestSample_, timeOf(sample));
    if (!transform_) {
        addFrame(frames, &sample);
        return frames;
    }
    HRESULT result = transform_->ProcessInput(0, &sample, 0);
    if (result == MF_E_NOTACCEPTING) {
        takeOutput(frames);
        result = transform_->ProcessInput(0, &sample, 0);
    }
    check(result, "IMFTransform::ProcessInput");
    takeOutput(frames);
    return frames;
}

std::vector<DecodedFrame> VideoDecoder::drain() {
    std::vector<DecodedFrame> frames;
    if (transform_) {
        check(transform_->ProcessMessage(MFT_MESSAGE_COMMAND_DRAIN, 0), "MFT_MESSAGE_COMMAND_DRAIN");
        takeOutput(frames);
    }
    return frames;
}

void VideoDecoder::chooseOutput() {
    for (DWORD index = 0;; ++index) {
        ComPtr<IMFMediaType> type;
        check(transform_->GetOutputAvailableType(0, index, type.GetAddressOf()), "a decoder with pictures in NV12");
        if (isNv12(*type.Get())) {
            check(transform_->SetOutputType(0, type.Get(), 0), "IMFTransform::SetOutputType");
            format_ = VideoFormat::of(*type.Get(), announced_);
            if (runsUnderWine()) {
                // Its decoders turn every stream's colours into these.
                format_.matrix = YuvMatrix::bt601;
            }
            check(transform_->GetOutputStreamInfo(0, &output_), "IMFTransform::GetOutputStreamInfo");
            return;
        }
    }
}

void VideoDecoder::takeOutput(std::vector<DecodedFrame>& frames) {
    for (;;) {
        ComPtr<IMFSample> sample;
        const HRESULT result = processOutput(0, sample);
        if (result == MF_E_TRANSFORM_NEED_MORE_INPUT) {
            return;
        }
        if (result == MF_E_TRANSFORM_STREAM_CHANGE) {
            chooseOutput();
            continue;
        }
        check(result, "IMFTransform::ProcessOutput");
        if (sample) {
            addFrame(frames, sample);
        }
    }
}

void VideoDecoder::addFrame(std::vector<DecodedFrame>& frames, const ComPtr<IMFSample>& sample) {
    const LONGLONG time = std::max(earliestSample_, timeOf(*sample.Get()));
    latestPicture_ = std::max(latestPicture_, time);
    frames.push_back({sample, format_, time});
}

HRESULT VideoDecoder::processOutput(DWORD flags, ComPtr<IMFSample>& sample) {
    const bool providesSamples =
        (output_.dwFlags & (MFT_OUTPUT_STREAM_PROVIDES_SAMPLES | MFT_OUTPUT_STREAM_CAN_PROVIDE_SAMPLES)) != 0;
    sample = providesSamples ? ComPtr<IMFSample>() : makeOutputSample();
    MFT_OUTPUT_DATA_BUFFER data{};
    data.pSample = sample.Get();
    DWORD status = 0;
    const HRESULT result = transform_->ProcessOutput(flags, 1, &data, &status);
    // The references are this code's own now. Not Attach: MinGW-w64's adds one.
    ComPtr<IMFCollection> events;
    *events.GetAddressOf() = data.pEvents;
    if (providesSamples) {
        *sample.GetAddressOf() = data.pSample;
    }
    return result;
}

ComPtr<IMFSample> VideoDecoder::makeOutputSample() const {
    ComPtr<IMFMediaBuffer> buffer;
    check(MFCreateMemoryBuffer(output_.cbSize, buffer.GetAddressOf()), "MFCreateMemoryBuffer");
    ComPtr<IMFSample> sample;
    check(MFCreateSample(sample.GetAddressOf()), "MFCreateSample");
    check(sample->AddBuffer(buffer.Get()), "IMFSample::AddBuffer");
    return sample;
}

Picture pictureOf(const DecodedFrame& frame) {
    ComPtr<IMFMediaBuffer> buffer;
    check(frame.sample->ConvertToContiguousBuffer(buffer.GetAddressOf()), "IMFSample::ConvertToContiguousBuffer");
    const BufferLock locked(*buffer.Get());
    return pictureFromNv12(locked.bytes(), frame.format);
}

} // namespace JY::Tools
