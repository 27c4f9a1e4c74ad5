#pragma once

#include <windows.h>

#include <vector>

/// Stands between the streams and Media Foundation: the calls go on to Media Foundation, unless a test lets one fail.
/// For one thread.
namespace JY::Test {

enum class MediaFoundationCall {
    createMediaType,
    createStreamDescriptor,
    createMemoryBuffer,
    createSample,
    createEventQueue,
    // Methods of the objects that the calls above give while the fault lives.
    setAttribute,        ///< SetGUID, SetUINT32, SetUINT64 and SetBlob of IMFMediaType
    getMediaTypeHandler, ///< IMFStreamDescriptor
    setCurrentMediaType, ///< IMFMediaTypeHandler
    lockBuffer,          ///< IMFMediaBuffer
    unlockBuffer,        ///< IMFMediaBuffer
    setCurrentLength,    ///< IMFMediaBuffer
    addBuffer,           ///< IMFSample
    setSampleTime,       ///< IMFSample
    setSampleDuration,   ///< IMFSample
    setUnknown,          ///< IMFSample
    queueEventParamVar,  ///< IMFMediaEventQueue
    queueEventParamUnk   ///< IMFMediaEventQueue
};

/// Lets a call fail for as long as the object lives, the first `after` times excepted; these count for `setAttribute`
/// alone. Several, each for another call, end together or in the opposite order.
class MediaFoundationFault {
public:
    MediaFoundationFault(MediaFoundationCall call, HRESULT result, unsigned after = 0);
    MediaFoundationFault(const MediaFoundationFault&) = delete;
    MediaFoundationFault& operator=(const MediaFoundationFault&) = delete;
    ~MediaFoundationFault();
};

/// The sizes in bytes of the memory buffers that have been asked for since the last call, in order.
std::vector<DWORD> takeBufferSizes();

} // namespace JY::Test
