#pragma once

#include <mfobjects.h>
#include <windows.h>
#include <wrl/client.h>

#include <cstdint>
#include <span>

namespace JY::Pictaro::Fs {

/// The memory of one sample while it is filled: a media buffer, locked until it becomes a sample or is given up.
class SampleBuffer {
public:
    /// `size` in bytes. Throws ApiErrorException "MFCreateMemoryBuffer" or "Lock".
    explicit SampleBuffer(std::uint32_t size);
    SampleBuffer(const SampleBuffer&) = delete;
    SampleBuffer& operator=(const SampleBuffer&) = delete;
    ~SampleBuffer();

    /// The memory, not initialised; until `toSample`.
    std::span<std::uint8_t> bytes() const { return {data_, size_}; }

    /// A sample of the whole buffer, once. Throws ApiErrorException "Unlock", "SetCurrentLenght", "MFCreateSample" or
    /// "AddBuffer".
    Microsoft::WRL::ComPtr<IMFSample> toSample();

private:
    void unlock();

    Microsoft::WRL::ComPtr<IMFMediaBuffer> buffer_;
    std::uint32_t size_;
    BYTE* data_ = nullptr; ///< null while the buffer is not locked
};

} // namespace JY::Pictaro::Fs
