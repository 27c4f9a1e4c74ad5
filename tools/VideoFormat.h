#pragma once

#include <mfobjects.h>
#include <windows.h>

namespace JY::Tools {

/// A width and a height in pixels.
struct FrameSize {
    unsigned width = 0;
    unsigned height = 0;

    bool operator==(const FrameSize&) const = default;
};

/// How luma and colour difference were made of red, green and blue.
enum class YuvMatrix { bt601, bt709 };

/// How decoded pictures lie in their buffers, and which part of them is to be seen. Decoders work in whole blocks, so
/// that a buffer can have more rows and columns than the picture.
struct VideoFormat {
    /// The picture in the buffer.
    FrameSize coded;
    /// Bytes from one row of luma to the next.
    unsigned stride = 0;
    /// The part to be seen; it lies inside `coded`.
    unsigned left = 0;
    unsigned top = 0;
    FrameSize visible;
    YuvMatrix matrix = YuvMatrix::bt601;
    /// Luma runs from 0 to 255 rather than from 16 to 235.
    bool fullRange = false;

    /// @param type a decoded type in NV12.
    /// @param announced the size that the encoded stream announces; it is what is to be seen when the decoder rounds
    ///        it up and does not say so. Zero when it announces none.
    /// @throws Failure when the type's sizes make no sense.
    static VideoFormat of(IMFMediaType& type, FrameSize announced);
};

/// {0, 0} when the type has none.
FrameSize frameSizeOf(IMFAttributes& type);

} // namespace JY::Tools
