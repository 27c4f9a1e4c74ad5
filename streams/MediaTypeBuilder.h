#pragma once

#include "log/Logger.h"
#include "util/SourcePosition.h"

#include <mfobjects.h>
#include <windows.h>
#include <wrl/client.h>

#include <cstdint>
#include <source_location>
#include <string_view>

namespace JY::Pictaro::Fs {

/// Builds a media type attribute by attribute and records each one at "info". Records and exceptions carry the caller's
/// position. Every operation throws ApiErrorException with the name given as `call`.
class MediaTypeBuilder {
public:
    using Location = std::source_location;

    /// `log` and `file` are the caller's; the logger must outlive the builder. Throws "MFCreateMediaType".
    MediaTypeBuilder(const Log2::Logger& log, SourceFile file, const Location& where = Location::current());

    /// Without `text` nothing is recorded.
    void setGuid(const GUID& key, const GUID& value, std::string_view call, std::string_view text = {},
                 const Location& where = Location::current());
    /// The record is `text` followed by the value.
    void setUInt32(const GUID& key, std::uint32_t value, std::string_view call, std::string_view text = {},
                   const Location& where = Location::current());

    /// The media type under construction.
    const Microsoft::WRL::ComPtr<IMFMediaType>& type() const { return type_; }

private:
    const Log2::Logger& log_;
    SourceFile file_;
    Microsoft::WRL::ComPtr<IMFMediaType> type_;
};

} // namespace JY::Pictaro::Fs
