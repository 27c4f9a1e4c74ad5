#include "config/FlvSourceConfig.h"

#include "config/Registry.h"
#include "util/JYWin32.h"

namespace JY::Pictaro {

namespace {

const std::wstring settingsPath = L"Software\\JyMorvane\\JyFlvSource";
const std::wstring logDirName = L"LogDir";

bool isSet(const std::wstring& name) {
    return Utl::isExist(HKEY_LOCAL_MACHINE, settingsPath, name);
}

} // namespace

std::uint32_t getFlvSourceUInt(const std::wstring& name, std::uint32_t defaultValue) {
    return isSet(name) ? Utl::getUInt(HKEY_LOCAL_MACHINE, settingsPath, name) : defaultValue;
}

std::wstring getFlvSourceString(const std::wstring& name, const std::wstring& defaultValue) {
    return isSet(name) ? Utl::getString(HKEY_LOCAL_MACHINE, settingsPath, name) : defaultValue;
}

std::wstring getDefaultLogDir() {
    // The integrity level is asked for only when it decides.
    return isSet(logDirName) ? Utl::getString(HKEY_LOCAL_MACHINE, settingsPath, logDirName)
                             : getDefaultLogDir(getIntegrityLevel());
}

std::wstring getDefaultLogDir(WELL_KNOWN_SID_TYPE integrityLevel) {
    return integrityLevel == WinLowLabelSid ? L"%LocalAppDataLow%\\JyMorvane\\Pictaro" : L"%TEMP%\\JyMorvane\\Pictaro";
}

} // namespace JY::Pictaro
