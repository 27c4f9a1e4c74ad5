#pragma once

#include "source/MfDeclarations.h"

#include <mfidl.h>
#include <windows.h>
#include <wrl/client.h>

#include <string>

namespace JY::Bench {

/// The library beside this program, without the registry's help and with no setting but the defaults.
class ModuleClient {
public:
    /// @throws Failure, and std::runtime_error when the module is set otherwise than by default
    ModuleClient();

    /// A media source for the film, made as a source resolver would have it made, and waited for.
    /// @throws Failure
    Microsoft::WRL::ComPtr<IMFMediaSource> open(const std::wstring& path) const;

private:
    Microsoft::WRL::ComPtr<IMFByteStreamHandler> handler_;
    /// The handler wants one, which it does not read.
    Microsoft::WRL::ComPtr<IMFByteStream> byteStream_;
};

} // namespace JY::Bench
