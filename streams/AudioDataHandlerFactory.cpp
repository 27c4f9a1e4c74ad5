#include "streams/AudioDataHandlerFactory.h"

#include "flv/FlvAudioTag.h"
#include "streams/AacAudioDataHandler.h"
#include "streams/Mp3AudioDataHandler.h"
#include "util/ApiErrorException.h"

#include <mferror.h>

namespace JY::Pictaro::Fs {

namespace {
constexpr SourceFile here{"AudioDataHandlerFactory"};
}

std::unique_ptr<AudioDataHandler> AudioDataHandlerFactory::createAudioDataHandler(std::uint8_t codecId) {
    switch (codecId) {
    case FlvAudioTag::mp3:
        return std::make_unique<Mp3AudioDataHandler>();
    case FlvAudioTag::aac:
        return std::make_unique<AacAudioDataHandler>();
    default:
        throw ApiErrorException(here(), "createAudioDataHandler", static_cast<std::uint32_t>(MF_E_UNSUPPORTED_FORMAT));
    }
}

} // namespace JY::Pictaro::Fs
