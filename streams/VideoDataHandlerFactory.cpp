#include "streams/VideoDataHandlerFactory.h"

#include "streams/AvcVideoDataHandler.h"
#include "util/ApiErrorException.h"

#include <mferror.h>

namespace JY::Pictaro::Fs {

namespace {
constexpr SourceFile here{"VideoDataHandlerFactory"};
}

std::unique_ptr<VideoDataHandler> VideoDataHandlerFactory::createVideoDataHandler(std::uint8_t codecId) {
    switch (codecId) {
    case AvcVideoDataHandler::codec:
        return std::make_unique<AvcVideoDataHandler>();
    default:
        throw ApiErrorException(here(), "createVideoDataHandler", static_cast<std::uint32_t>(MF_E_UNSUPPORTED_FORMAT));
    }
}

} // namespace JY::Pictaro::Fs
