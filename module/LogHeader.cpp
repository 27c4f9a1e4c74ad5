#include "module/LogHeader.h"

#include "module/FailureRecord.h"
#include "util/JYWin32.h"
#include "util/OsVersion.h"
#include "util/VersionResource.h"

namespace JY::Pictaro {

namespace {

constexpr SourceFile here{"LogHeader"};

/// Gathers header values; what cannot be had keeps none of them back but its own.
template <class Gather>
void attempt(const Log2::Logger& log, const Gather& gather) {
    try {
        gather();
    } catch (...) {
        recordCurrentException(log, here(), Log2::Severity::warn);
    }
}

HMODULE ownModule() {
    return getModuleHandle(static_cast<const void*>(&here));
}

void recordPaths(const Log2::Logger& log) {
    std::wstring module;
    std::wstring executable;
    attempt(log, [&] { module = getModulePath(ownModule()); });
    attempt(log, [&] { executable = getModulePath(nullptr); });
    log.notice(here()) << "Module=" << module;
    log.notice(here()) << "Exe=" << executable;
}

void recordUser(const Log2::Logger& log) {
    std::wstring user;
    const char* level = "";
    attempt(log, [&] { user = getUserName(); });
    attempt(log, [&] { level = integrityLevelName(getIntegrityLevel()); });
    log.notice(here()) << "UserName=" << user << ", IntegrityLevel=" << level;
}

void recordVersion(const Log2::Logger& log) {
    std::wstring fileName;
    std::wstring productVersion;
    std::wstring fileVersion;
    attempt(log, [&] {
        const VersionResource version(ownModule());
        fileName = version.getString(L"OriginalFilename");
        productVersion = version.getString(L"ProductVersion");
        fileVersion = version.getString(L"FileVersion");
    });
    log.notice(here()) << "OriginalFilename=" << fileName << ", ProductVersion=" << productVersion
                       << ", FileVersion=" << fileVersion;
}

void recordSystem(const Log2::Logger& log) {
    TextBuffer version;
    TextBuffer servicePack;
    TextBuffer buildNumber;
    TextBuffer productType;
    std::wstring releaseId;
    attempt(log, [&] {
        const auto system = readOsVersion();
        version << system->majorVersion() << '.' << system->minorVersion();
        releaseId = system->releaseId();
        servicePack << system->servicePackMajor() << '.' << system->servicePackMinor();
        buildNumber << system->buildNumber();
        productType << system->productType();
    });
    log.notice(here()) << "OsVersion=" << version.view() << ", ReleaseID=" << releaseId << ", SP=" << servicePack.view()
                       << ", BuildNumber=" << buildNumber.view() << ", ProductType=" << productType.view();
}

} // namespace

void recordLogHeader(const std::wstring& directory) {
    const auto log = Log2::untraced();
    log.notice(here()) << "AppLog initialized. DirPath=" << directory;
    recordPaths(log);
    recordUser(log);
    recordVersion(log);
    recordSystem(log);
}

} // namespace JY::Pictaro
