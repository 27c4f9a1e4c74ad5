#pragma once

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <string>

namespace JY {

/// The version of Windows that the process runs on. Read-only, so any thread may use it.
class OsVersion {
public:
    virtual ~OsVersion() = default;
    virtual std::uint32_t majorVersion() const = 0;
    virtual std::uint32_t minorVersion() const = 0;
    virtual std::uint32_t buildNumber() const = 0;
    virtual std::uint32_t platformId() const = 0;
    virtual std::uint32_t servicePackMajor() const = 0;
    virtual std::uint32_t servicePackMinor() const = 0;
    /// VER_NT_WORKSTATION, VER_NT_DOMAIN_CONTROLLER or VER_NT_SERVER.
    virtual std::uint8_t productType() const = 0;
    /// Such as "2009"; empty when unknown.
    virtual const std::wstring& releaseId() const = 0;
};

/// Asked of the system at each call. Throws ApiErrorException when the system does not tell its version; only the
/// release id may be missing.
boost::shared_ptr<const OsVersion> readOsVersion();

} // namespace JY
