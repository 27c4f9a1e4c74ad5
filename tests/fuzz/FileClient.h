#pragma once

#include "tests/fuzz/Patience.h"
#include "tests/fuzz/Progress.h"
#include "tests/fuzz/Random.h"
#include "tests/module/LoadedModule.h"
#include "tests/support/Bytes.h"

#include <mfidl.h>
#include <wrl/client.h>

#include <string>

namespace JY::Fuzz {

using Test::Bytes;

/// Opens files through the module as Media Foundation's clients do, plays them, and checks what a client relies on.
class FileClient {
public:
    FileClient(const Test::LoadedModule& module, Progress& progress) : module_(module), progress_(progress) {}

    /// Uses the file in ways that follow from `random`. Everything is released at the end.
    /// @throws Finding, Hang
    void use(const Bytes& file, Random random);

    /// @throws Finding when anything of the module stays in use.
    void requireUnused(const Patience& patience = Patience()) const;

private:
    Microsoft::WRL::ComPtr<IMFByteStreamHandler> makeHandler() const;
    Microsoft::WRL::ComPtr<IMFMediaSource> open(const Bytes& file, const std::wstring& path);

    const Test::LoadedModule& module_;
    Progress& progress_;
};

} // namespace JY::Fuzz
