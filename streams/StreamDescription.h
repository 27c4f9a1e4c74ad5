#pragma once

#include <mfidl.h>
#include <wrl/client.h>

namespace JY::Pictaro::Fs {

class FlvStream;

/// Gives a stream the descriptor for this media type, in place of the one before. Throws ApiErrorException.
void describeStream(FlvStream& stream, const Microsoft::WRL::ComPtr<IMFMediaType>& mediaType);

} // namespace JY::Pictaro::Fs
