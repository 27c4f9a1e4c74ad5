#include "com/ComCall.h"
#include "com/ModuleUsageCounter.h"
#include "config/FlvSourceConfig.h"
#include "log/Snapshot.h"
#include "module/AppLog.h"
#include "module/ClassFactory.h"
#include "module/EarlyFailures.h"
#include "module/ModuleInitializer.h"
#include "util/JYWin32.h"
#include "util/UnknownException.h"

#include <windows.h>

#include <string>

namespace {

using namespace JY;
using namespace JY::Pictaro;

constexpr SourceFile here{"dllmain"};
constexpr int unknownReasonLine = 30;

constexpr const wchar_t* logName = L"JyFlvSource";
constexpr std::uint32_t maxLogFileSize = 0x100000; // bytes
constexpr std::uint32_t logFilesInRing = 8;
constexpr std::uint32_t recordsForSnapshot = 1000;

// A setting that cannot be read must keep the library neither from loading nor from logging.

std::wstring chooseLogDirectory(EarlyFailures& failures) {
    std::wstring directory = getDefaultLogDir(WinMediumLabelSid);
    if (!failures.attempt([&] { directory = getDefaultLogDir(); })) {
        failures.attempt([&] { directory = getDefaultLogDir(getIntegrityLevel()); });
    }
    return directory;
}

std::uint32_t readLogLevel() {
    constexpr auto defaultLevel = static_cast<std::uint32_t>(Log2::Severity::warn);
    try {
        return getFlvSourceUInt(L"LogLevel", defaultLevel);
    } catch (const Exception& exception) {
        Log2::untraced().error(here()) << exception;
        return defaultLevel;
    }
}

void startLog() {
    EarlyFailures failures;
    AppLog::initialize(logName, chooseLogDirectory(failures), maxLogFileSize, logFilesInRing, recordsForSnapshot);
    AppLog::setNormalLevel(static_cast<Log2::Severity>(readLogLevel()));
    AppLog::setSnapshotLevel(Log2::Severity::trace);
    failures.record();
}

void onProcessAttach(HMODULE module) {
    DisableThreadLibraryCalls(module);
    ModuleUsageCounter::instance().setActions(&ModuleInitializer::initializeOnFirstObtain,
                                              &ModuleInitializer::finalizeOnLastRelease);
    startLog();
    Log2::untraced().info(here()) << "onProcessAttach.";
}

void onProcessDetach(bool processEnds) noexcept {
    try {
        if (processEnds) {
            AppLog::leaveOutBusySinks();
        }
        Log2::untraced().info(here()) << "onProcessDetach.";
        if (processEnds) {
            AppLog::finalizeAtProcessEnd();
        } else {
            AppLog::finalize();
        }
    } catch (...) {
        // The library goes whatever happens, and there is no log any more to tell of it.
    }
}

/// Records the exception in flight. Nothing may reach the loader.
void recordFailure() noexcept {
    try {
        throw;
    } catch (const Exception& exception) {
        Log2::untraced().error(here()) << exception;
    } catch (...) {
        Log2::untraced().fatal(here()) << "Unknown exception.";
    }
    Log2::requestSnapshot();
}

void dispatch(HMODULE module, DWORD reason, bool processEnds) {
    switch (reason) {
    case DLL_PROCESS_DETACH:
        onProcessDetach(processEnds);
        break;
    case DLL_PROCESS_ATTACH:
        onProcessAttach(module);
        break;
    case DLL_THREAD_ATTACH:
    case DLL_THREAD_DETACH:
        break;
    default:
        throw UnknownException(here.at(unknownReasonLine));
    }
}

} // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved) {
    try {
        dispatch(module, reason, reserved != nullptr);
    } catch (...) {
        recordFailure();
    }
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppObject) {
    return comCall({here(), nullptr, "DllGetClassObject"}, {{"ppObject", ppObject}}, [&](const ComCall& call) {
        *ppObject = nullptr;
        call.log().info(here()) << "CLSID=" << rclsid;
        const auto factory = createObject<Fs::ClassFactory>(ModuleUsageCounter::instance(), rclsid);
        if (factory == nullptr) {
            return call.outOfMemory("pFactory");
        }
        return factory->QueryInterface(riid, ppObject);
    });
}

STDAPI DllCanUnloadNow() {
    return comCall({here(), nullptr, "DllCanUnloadNow"}, [](const ComCall& call) {
        const bool unused = ModuleUsageCounter::instance().count() == 0;
        call.log().info(here()) << "DllCanUnloadNow=" << (unused ? "OK" : "NG");
        return unused ? S_OK : S_FALSE;
    });
}
