#include "streams/MediaTypeBuilder.h"

#include "util/ApiErrorException.h"

#include <mfapi.h>

namespace JY::Pictaro::Fs {

MediaTypeBuilder::MediaTypeBuilder(const Log2::Logger& log, SourceFile file, const Location& where)
    : log_(log), file_(file) {
    throwIfFailed(MFCreateMediaType(type_.GetAddressOf()), file_(where), "MFCreateMediaType");
}

void MediaTypeBuilder::setGuid(const GUID& key, const GUID& value, std::string_view call, std::string_view text,
                               const Location& where) {
    throwIfFailed(type_->SetGUID(key, value), file_(where), call);
    if (!text.empty()) {
        log_.info(file_(where)) << text;
    }
}

void MediaTypeBuilder::setUInt32(const GUID& key, std::uint32_t value, std::string_view call, std::string_view text,
                                 const Location& where) {
    throwIfFailed(type_->SetUINT32(key, value), file_(where), call);
    if (!text.empty()) {
        log_.info(file_(where)) << text << value;
    }
}

} // namespace JY::Pictaro::Fs
