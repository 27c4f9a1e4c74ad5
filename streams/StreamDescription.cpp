#include "streams/StreamDescription.h"

#include "streams/FlvStream.h"
#include "util/ApiErrorException.h"

#include <mfapi.h>

namespace JY::Pictaro::Fs {

using Microsoft::WRL::ComPtr;

namespace {
constexpr SourceFile here{"StreamDescription"};
}

void describeStream(FlvStream& stream, const ComPtr<IMFMediaType>& mediaType) {
    IMFMediaType* mediaTypes[] = {mediaType.Get()};
    ComPtr<IMFStreamDescriptor> descriptor;
    throwIfFailed(MFCreateStreamDescriptor(stream.getStreamId(), 1, mediaTypes, descriptor.GetAddressOf()), here(),
                  "MFCreateStreamDescriptor");
    ComPtr<IMFMediaTypeHandler> handler;
    throwIfFailed(descriptor->GetMediaTypeHandler(handler.GetAddressOf()), here(), "GetMediaTypeHandler");
    throwIfFailed(handler->SetCurrentMediaType(mediaType.Get()), here(), "SetCurrentMediaType");
    stream.setStreamDescriptor(descriptor);
}

} // namespace JY::Pictaro::Fs
