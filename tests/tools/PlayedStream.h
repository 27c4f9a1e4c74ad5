#pragma once

#include "tools/OpenedSource.h"
#include "tools/Playback.h"
#include "tools/StreamReader.h"

#include <mfidl.h>
#include <windows.h>
#include <wrl/client.h>

#include <optional>
#include <string>

namespace JY::Tools {

constexpr DWORD audioStream = 1001;
constexpr DWORD videoStream = 1002;

/// One stream of a file that Media Foundation plays from its start.
class PlayedStream {
public:
    /// @throws Failure, std::out_of_range when the file has no stream of this identifier.
    PlayedStream(const std::wstring& path, DWORD identifier);

    Microsoft::WRL::ComPtr<IMFMediaType> type() const;
    /// Nothing after the last sample.
    std::optional<DeliveredSample> next() { return reader_.next(); }

private:
    OpenedSource source_;
    Playback playback_;
    IMFMediaStream& stream_;
    PlaybackEnd end_;
    StreamReader reader_;
};

} // namespace JY::Tools
