#include "flv/FlvMetaData.h"

namespace JY::Pictaro::Fs {

FlvMetaData::MetaDataNotFoundException::MetaDataNotFoundException(SourcePosition position, std::string_view message)
    : ErrorException(Derived{}, position, message) {}

} // namespace JY::Pictaro::Fs
