#include "streams/SampleBuffer.h"

#include "util/ApiErrorException.h"

#include <mfapi.h>

namespace JY::Pictaro::Fs {

using Microsoft::WRL::ComPtr;

namespace {
constexpr SourceFile here{"SampleBuffer"};
}

SampleBuffer::SampleBuffer(std::uint32_t size) : size_(size) {
    throwIfFailed(MFCreateMemoryBuffer(size, buffer_.GetAddressOf()), here(), "MFCreateMemoryBuffer");
    throwIfFailed(buffer_->Lock(&data_, nullptr, nullptr), here(), "Lock");
}

SampleBuffer::~SampleBuffer() {
    if (data_ != nullptr) {
        buffer_->Unlock();
    }
}

void SampleBuffer::unlock() {
    data_ = nullptr;
    throwIfFailed(buffer_->Unlock(), here(), "Unlock");
}

ComPtr<IMFSample> SampleBuffer::toSample() {
    unlock();
    throwIfFailed(buffer_->SetCurrentLength(size_), here(), "SetCurrentLenght");
    ComPtr<IMFSample> sample;
    throwIfFailed(MFCreateSample(sample.GetAddressOf()), here(), "MFCreateSample");
    throwIfFailed(sample->AddBuffer(buffer_.Get()), here(), "AddBuffer");
    return sample;
}

} // namespace JY::Pictaro::Fs
