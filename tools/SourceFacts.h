#pragma once

#include "tools/AttributeWords.h"

#include <mfidl.h>
#include <windows.h>
#include <wrl/client.h>

#include <optional>
#include <string>
#include <vector>

namespace JY::Tools {

/// What a media source says of one of its streams.
struct StreamFacts {
    DWORD identifier = 0;
    /// "audio", "video"
    std::string kind;
    std::vector<AttributeFacts> attributes;
};

/// What a media source says of itself.
struct SourceFacts {
    /// As the user gave it, in UTF-8.
    std::string file;
    /// 100 ns. Nothing when the source does not know it.
    std::optional<LONGLONG> duration;
    bool seekable = false;
    bool pausable = false;
    bool live = false;
    std::vector<StreamFacts> streams;
};

/// @throws Failure
SourceFacts describeSource(const std::wstring& file, IMFMediaSource& source, IMFPresentationDescriptor& presentation);

/// @throws Failure
Microsoft::WRL::ComPtr<IMFPresentationDescriptor> createPresentation(IMFMediaSource& source);

/// @throws Failure
Microsoft::WRL::ComPtr<IMFStreamDescriptor> streamAt(IMFPresentationDescriptor& presentation, DWORD index);

/// @throws Failure
DWORD streamCount(IMFPresentationDescriptor& presentation);

/// @throws Failure
Microsoft::WRL::ComPtr<IMFMediaTypeHandler> typeHandlerOf(IMFStreamDescriptor& stream);

} // namespace JY::Tools
