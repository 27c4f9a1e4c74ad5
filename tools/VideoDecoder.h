#pragma once

#include "tools/Picture.h"
#include "tools/VideoFormat.h"

#include <mfidl.h>
#include <mftransform.h>
#include <windows.h>
#include <wrl/client.h>

#include <limits>
#include <vector>

namespace JY::Tools {

/// A decoded picture, still in its buffer.
struct DecodedFrame {
    Microsoft::WRL::ComPtr<IMFSample> sample;
    VideoFormat format;
    /// 100 ns.
    LONGLONG time = 0;
};

/// The decoder that Media Foundation has for a type of video, giving pictures in NV12. One thread. For samples from
/// another place of the stream a new decoder is made: not every system's decoders can forget what they hold.
class VideoDecoder {
public:
    /// @throws Failure when there is no decoder for the type.
    explicit VideoDecoder(IMFMediaType& encoded);

    /// Gives the decoder a sample and takes the pictures that are ready.
    std::vector<DecodedFrame> decode(IMFSample& sample);
    /// The pictures that it still holds at the end of the stream.
    std::vector<DecodedFrame> drain();

    /// The latest times (100 ns) of the samples given and of the pictures taken so far; the least number before the
    /// first.
    LONGLONG latestSample() const { return latestSample_; }
    LONGLONG latestPicture() const { return latestPicture_; }

private:
    void chooseOutput();
    void takeOutput(std::vector<DecodedFrame>& frames);
    void addFrame(std::vector<DecodedFrame>& frames, const Microsoft::WRL::ComPtr<IMFSample>& sample);
    HRESULT processOutput(DWORD flags, Microsoft::WRL::ComPtr<IMFSample>& sample);
    Microsoft::WRL::ComPtr<IMFSample> makeOutputSample() const;

    /// Null when the stream's samples are pictures in NV12 already.
    Microsoft::WRL::ComPtr<IMFTransform> transform_;
    FrameSize announced_;
    VideoFormat format_;
    MFT_OUTPUT_STREAM_INFO output_{};
    /// Of the samples given so far. Some decoders leave the first picture without its time.
    LONGLONG earliestSample_ = std::numeric_limits<LONGLONG>::max();
    LONGLONG latestSample_ = std::numeric_limits<LONGLONG>::min();
    LONGLONG latestPicture_ = std::numeric_limits<LONGLONG>::min();
};

/// The picture of a frame, as it is to be seen.
Picture pictureOf(const DecodedFrame& frame);

/// Whether a type is of pictures in NV12, not encoded.
bool isNv12(IMFMediaType& type);

} // namespace JY::Tools
