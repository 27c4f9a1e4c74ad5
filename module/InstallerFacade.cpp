#include "module/InstallerFacade.h"

#include "config/Registry.h"
#include "log/Core.h"
#include "log/Snapshot.h"
#include "module/AppLog.h"
#include "module/ClassId.h"
#include "util/ApiErrorException.h"
#include "util/ClassName.h"
#include "util/FatalException.h"
#include "util/JYWin32.h"
#include "util/String.h"
#include "util/StructureException.h"
#include "util/StructuredExceptionGuard.h"
#include "util/UnknownException.h"

#include <exception>
#include <string>
#include <typeinfo>

namespace JY::Pictaro {

namespace {

constexpr SourceFile here{"InstallerFacade"};

/// The view of the process itself.
constexpr REGSAM ownView = 0;

const std::wstring friendlyName = L"JY FLV ByteStreamHandler";

std::wstring bracedClassId() {
    const std::string text = guidToString(Fs::CLSID_FlvByteStreamHandler);
    return L"{" + std::wstring(text.begin(), text.end()) + L"}";
}

std::wstring classKey() {
    return L"CLSID\\" + bracedClassId();
}

std::wstring serverKey() {
    return classKey() + L"\\InprocServer32";
}

std::wstring handlersKey() {
    return L"Software\\Microsoft\\Windows Media Foundation\\ByteStreamhandlers\\.flv";
}

/// Records the exception in flight, asks for a snapshot and answers with the step's result.
HRESULT recordCurrentException() {
    const auto log = Log2::untraced();
    HRESULT result = E_FAIL;
    try {
        throw;
    } catch (const FatalException& exception) {
        log.fatal(here()) << exception;
    } catch (const ApiErrorException& exception) {
        log.error(here()) << exception;
        result = exception.code() == ERROR_ACCESS_DENIED ? E_ACCESSDENIED : E_FAIL;
    } catch (const Exception& exception) {
        log.fatal(here()) << exception;
    } catch (const std::exception& exception) {
        log.fatal(here()) << "Exception caught. " << className(typeid(exception)) << ", " << exception.what();
    } catch (...) {
        log.fatal(here()) << UnknownException(here());
    }
    Log2::requestSnapshot();
    return result;
}

/// The frame of every entry point: everything is logged, inside a trace scope, and nothing is thrown.
template <class Body>
HRESULT entryPoint(const char* function, Body body) {
    const TranslatorScope translator(translateStructuredException);
    HRESULT result = E_FAIL;
    try {
        callTranslated([&] {
            AppLog::setNormalLevel(Log2::Severity::trace);
            const auto log = Log2::traceFunction(here(), function);
            result = body();
        });
    } catch (...) {
        // Only the log itself can have failed: there is nowhere to tell of it.
    }
    return result;
}

} // namespace

HRESULT InstallerFacade::registerServer() {
    return run({&InstallerFacade::writeClassName, &InstallerFacade::writeModulePath,
                &InstallerFacade::writeThreadingModel, &InstallerFacade::writeByteStreamHandler});
}

HRESULT InstallerFacade::unregisterServer() {
    return run({&InstallerFacade::deleteClass, &InstallerFacade::deleteByteStreamHandler});
}

HRESULT InstallerFacade::run(std::initializer_list<Step> steps) {
    for (const Step step : steps) {
        try {
            (this->*step)();
        } catch (...) {
            return recordCurrentException();
        }
    }
    return S_OK;
}

void InstallerFacade::writeClassName() {
    registry_.setValue(HKEY_CLASSES_ROOT, classKey(), L"", friendlyName, ownView);
}

void InstallerFacade::writeModulePath() {
    const std::wstring path = getModulePath(getModuleHandle(static_cast<const void*>(&here)));
    registry_.setValue(HKEY_CLASSES_ROOT, serverKey(), L"", path, ownView);
}

void InstallerFacade::writeThreadingModel() {
    registry_.setValue(HKEY_CLASSES_ROOT, serverKey(), L"ThreadingModel", L"Both", ownView);
}

void InstallerFacade::writeByteStreamHandler() {
    registry_.setValue(HKEY_LOCAL_MACHINE, handlersKey(), bracedClassId(), friendlyName, ownView);
}

void InstallerFacade::deleteClass() {
    registry_.deleteKey(HKEY_CLASSES_ROOT, classKey(), ownView);
}

void InstallerFacade::deleteByteStreamHandler() {
    registry_.deleteValue(HKEY_LOCAL_MACHINE, handlersKey(), bracedClassId(), ownView);
}

std::uint32_t installerResult(HRESULT result) {
    return result == S_OK ? ERROR_SUCCESS : ERROR_INSTALL_FAILURE;
}

} // namespace JY::Pictaro

using JY::Pictaro::entryPoint;
using JY::Pictaro::InstallerFacade;
using JY::Pictaro::installerResult;

STDAPI DllRegisterServer() {
    return entryPoint("DllRegisterServer", [] { return InstallerFacade(JY::Utl::getRegistry()).registerServer(); });
}

STDAPI DllUnregisterServer() {
    return entryPoint("DllUnregisterServer", [] { return InstallerFacade(JY::Utl::getRegistry()).unregisterServer(); });
}

extern "C" UINT WINAPI RegisterServerFromMsi() {
    return installerResult(entryPoint("RegisterServerFromMsi", [] { return DllRegisterServer(); }));
}

extern "C" UINT WINAPI UnregisterServerFromMsi() {
    return installerResult(entryPoint("UnregisterServerFromMsi", [] { return DllUnregisterServer(); }));
}
