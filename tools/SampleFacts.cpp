#include "tools/SampleFacts.h"

#include "tools/BufferLock.h"
#include "tools/Crc32.h"
#include "tools/Failure.h"

#include <mfapi.h>
#include <wrl/client.h>

using Microsoft::WRL::ComPtr;

namespace JY::Tools {

SampleFacts factsOf(IMFSample& sample) {
    SampleFacts facts;
    if (FAILED(sample.GetSampleTime(&facts.time))) {
        facts.time = 0;
    }
    if (FAILED(sample.GetSampleDuration(&facts.duration))) {
        facts.duration = 0;
    }
    UINT32 cleanPoint = FALSE;
    facts.cleanPoint = SUCCEEDED(sample.GetUINT32(MFSampleExtension_CleanPoint, &cleanPoint)) && cleanPoint != FALSE;

    ComPtr<IMFMediaBuffer> buffer;
    check(sample.ConvertToContiguousBuffer(buffer.GetAddressOf()), "IMFSample::ConvertToContiguousBuffer");
    const BufferLock locked(*buffer.Get());
    facts.bytes = static_cast<DWORD>(locked.bytes().size());
    facts.crc = crc32(locked.bytes());
    return facts;
}

} // namespace JY::Tools
