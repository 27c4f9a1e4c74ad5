#pragma once

#include "tests/support/Bytes.h"
#include "tools/BufferLock.h"
#include "tools/Failure.h"

#include <mfobjects.h>
#include <wrl/client.h>

namespace JY::Tools {

/// A sample's content.
/// @throws Failure
inline Test::Bytes bytesOf(IMFSample& sample) {
    Microsoft::WRL::ComPtr<IMFMediaBuffer> buffer;
    check(sample.ConvertToContiguousBuffer(buffer.GetAddressOf()), "IMFSample::ConvertToContiguousBuffer");
    const BufferLock locked(*buffer.Get());
    return {locked.bytes().begin(), locked.bytes().end()};
}

} // namespace JY::Tools
