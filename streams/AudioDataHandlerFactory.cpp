#include "streams/AudioDataHandlerFactory.h"

#include "streams/AacAudioDataHandler.h"
#include "util/ApiErrorException.h"

#include <mferror.h>

namespace JY::Pictaro::Fs {

namespace {
constexpr SourceFile here{"AudioDataHandlerFactory"};
}

std::unique_ptr<AudioDataHandler> AudioDataHandlerFactory::createAudioDataHandler(std::uint8_t codecId) {
    switch (codecId) {
    case AacAudioDataHandler::codec:
        return std::make_unique<AacAudioDataHandler>();
    default:
        throw ApiErrorException(here(), "createAudioDataHandler", static_cast<std::uint32_t>(MF_E_UNSUPPORTED_FORMAT));
    }
}

} // namespace JY::Pictaro::Fs
