#pragma once

#include <windows.h>

namespace JY::Pictaro::Fs {

/// The one class that the module serves: the byte-stream handler for FLV files.
inline constexpr CLSID CLSID_FlvByteStreamHandler = {
    0x0D96AD9A, 0x8E7B, 0x4898, {0x95, 0x02, 0xE5, 0xBE, 0x5A, 0x5D, 0x48, 0x90}};

} // namespace JY::Pictaro::Fs
