#pragma once

#include "config/RegInterface.h"

#include <windows.h>

#include <cstdint>
#include <initializer_list>

namespace JY::Pictaro {

/// Writes and removes the registry entries through which COM and Media Foundation find the module. Nothing is thrown:
/// the first step that fails is recorded, followed by a snapshot, and ends the call with E_ACCESSDENIED when a right is
/// missing and E_FAIL otherwise; what was done before it stays.
class InstallerFacade {
public:
    /// The registry must outlive the object.
    explicit InstallerFacade(Utl::RegInterface& registry) : registry_(registry) {}

    /// Registers the COM class and the handler for ".flv".
    HRESULT registerServer();
    /// Removes both; what is not there counts as removed.
    HRESULT unregisterServer();

private:
    using Step = void (InstallerFacade::*)();
    HRESULT run(std::initializer_list<Step> steps);

    void writeClassName();
    void writeModulePath();
    void writeThreadingModel();
    void writeByteStreamHandler();
    void deleteClass();
    void deleteByteStreamHandler();

    Utl::RegInterface& registry_;
};

/// What an installer is told: ERROR_SUCCESS for S_OK, ERROR_INSTALL_FAILURE for everything else, other success codes
/// included.
std::uint32_t installerResult(HRESULT result);

} // namespace JY::Pictaro

STDAPI DllRegisterServer();
STDAPI DllUnregisterServer();
/// The same as actions of an installer package. The installer's session, which it passes, is not needed.
extern "C" UINT WINAPI RegisterServerFromMsi();
extern "C" UINT WINAPI UnregisterServerFromMsi();
