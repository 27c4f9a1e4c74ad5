#include "streams/FlvAudioStream.h"

#include "flv/FlvAudioTag.h"
#include "log/Core.h"
#include "streams/AudioDataHandlerFactory.h"
#include "util/ErrorException.h"

#include <mutex>
#include <utility>

namespace JY::Pictaro::Fs {

namespace {
constexpr SourceFile here{"FlvAudioStream"};
}

FlvAudioStream::FlvAudioStream(ModuleUsageCounter& counter, StreamSource& source, FlvFileParser& parser,
                               boost::shared_ptr<Lock> sourceLock, DWORD streamId)
    : FlvStream(counter, source, parser, std::move(sourceLock), streamId) {}

FlvAudioStream::~FlvAudioStream() {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "~FlvAudioStream");
    handler_.reset();
}

void FlvAudioStream::initialize() {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "initialize");
    const std::lock_guard guard(sourceLock());
    if (!parser().hasAudio()) {
        throw ErrorException(here(), "According to header, audio is not present.");
    }
    if (!readTagsUntilDescribed()) {
        throw ErrorException(here(), "No audio tag until stream start.");
    }
}

bool FlvAudioStream::handleTag(Stream& reader, const FlvTag& tag) {
    if (tag.getTagType() != TagType::audio) {
        return false;
    }
    FlvAudioTag header;
    header.read(reader);
    AudioDataHandler& handler = fittingHandler(handler_, header.getSoundFormat(),
                                               [this](std::uint8_t codecId) { return createHandler(codecId); });
    handler.handle(reader, source(), *this, tag, header);
    return true;
}

bool FlvAudioStream::isRandomAccessPoint(Stream&, const FlvTag&) {
    return true;
}

std::unique_ptr<AudioDataHandler> FlvAudioStream::createHandler(std::uint8_t codecId) const {
    return AudioDataHandlerFactory::createAudioDataHandler(codecId);
}

} // namespace JY::Pictaro::Fs
