#pragma once

#include "util/OsVersion.h"

namespace JY {

/// Filled when it is made.
class OsVersionImpl final : public OsVersion {
public:
    /// Throws ApiErrorException "GetModuleHandle", "GetProcAddress" or "RtlGetVersion".
    OsVersionImpl();

    std::uint32_t majorVersion() const override { return majorVersion_; }
    std::uint32_t minorVersion() const override { return minorVersion_; }
    std::uint32_t buildNumber() const override { return buildNumber_; }
    std::uint32_t platformId() const override { return platformId_; }
    std::uint32_t servicePackMajor() const override { return servicePackMajor_; }
    std::uint32_t servicePackMinor() const override { return servicePackMinor_; }
    std::uint8_t productType() const override { return productType_; }
    const std::wstring& releaseId() const override { return releaseId_; }

private:
    std::uint32_t majorVersion_;
    std::uint32_t minorVersion_;
    std::uint32_t buildNumber_;
    std::uint32_t platformId_;
    std::uint32_t servicePackMajor_;
    std::uint32_t servicePackMinor_;
    std::uint8_t productType_;
    std::wstring releaseId_;
};

} // namespace JY
