#include "util/OsVersionImpl.h"

#include "util/ApiErrorException.h"
#include "util/JYRegistryUtl.h"
#include "util/JYWin32.h"

#include <windows.h>

#include <boost/make_shared.hpp>

namespace JY {

namespace {

constexpr SourceFile here{"OsVersionImpl"};

/// GetVersionEx tells the version that the host's manifest asks for; this function tells the truth, but no import
/// library promises it.
RTL_OSVERSIONINFOEXW queryVersion() {
    using RtlGetVersion = LONG(WINAPI*)(RTL_OSVERSIONINFOEXW*);
    const FARPROC address = GetProcAddress(getModuleHandle(L"ntdll.dll"), "RtlGetVersion");
    throwIfFalse(address != nullptr, here(), "GetProcAddress");
    RTL_OSVERSIONINFOEXW info{};
    info.dwOSVersionInfoSize = sizeof info;
    const LONG status = reinterpret_cast<RtlGetVersion>(reinterpret_cast<void*>(address))(&info);
    throwIfFailed(status, here(), "RtlGetVersion");
    return info;
}

std::wstring readReleaseId() {
    try {
        return readRegistryString(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", L"ReleaseId");
    } catch (const ApiErrorException&) {
        return {}; // older systems have none
    }
}

} // namespace

OsVersionImpl::OsVersionImpl() : releaseId_(readReleaseId()) {
    const RTL_OSVERSIONINFOEXW info = queryVersion();
    majorVersion_ = info.dwMajorVersion;
    minorVersion_ = info.dwMinorVersion;
    buildNumber_ = info.dwBuildNumber;
    platformId_ = info.dwPlatformId;
    servicePackMajor_ = info.wServicePackMajor;
    servicePackMinor_ = info.wServicePackMinor;
    productType_ = info.wProductType;
}

boost::shared_ptr<const OsVersion> readOsVersion() {
    return boost::make_shared<const OsVersionImpl>();
}

} // namespace JY
