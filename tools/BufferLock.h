#pragma once

#include "tools/Failure.h"

#include <mfobjects.h>

#include <span>

namespace JY::Tools {

/// A media buffer's bytes, at hand for as long as it lives.
class BufferLock {
public:
    explicit BufferLock(IMFMediaBuffer& buffer) : buffer_(buffer) {
        BYTE* data = nullptr;
        DWORD length = 0;
        check(buffer.Lock(&data, nullptr, &length), "IMFMediaBuffer::Lock");
        bytes_ = {data, length};
    }
    BufferLock(const BufferLock&) = delete;
    BufferLock& operator=(const BufferLock&) = delete;
    ~BufferLock() { buffer_.Unlock(); }

    std::span<const BYTE> bytes() const { return bytes_; }

private:
    IMFMediaBuffer& buffer_;
    std::span<const BYTE> bytes_;
};

} // namespace JY::Tools
