#pragma once

#include <mfidl.h>
#include <windows.h>
#include <wrl/client.h>

#include <string>

namespace JY::Tools {

/// A media source that Media Foundation has found for a file, by its registry entries; shut down at the end.
class OpenedSource {
public:
    /// @throws Failure when the file does not exist or nothing opens it.
    explicit OpenedSource(const std::wstring& path);
    OpenedSource(const OpenedSource&) = delete;
    OpenedSource& operator=(const OpenedSource&) = delete;
    ~OpenedSource();

    IMFMediaSource& get() const { return *source_.Get(); }

private:
    Microsoft::WRL::ComPtr<IMFMediaSource> source_;
};

} // namespace JY::Tools
