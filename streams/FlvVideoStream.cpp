#include "streams/FlvVideoStream.h"

#include "flv/FlvVideoTag.h"
#include "log/Core.h"
#include "streams/VideoDataHandlerFactory.h"
#include "util/ErrorException.h"

#include <mutex>
#include <utility>

namespace JY::Pictaro::Fs {

namespace {
constexpr SourceFile here{"FlvVideoStream"};
}

FlvVideoStream::FlvVideoStream(ModuleUsageCounter& counter, StreamSource& source, FlvFileParser& parser,
                               boost::shared_ptr<Lock> sourceLock, DWORD streamId)
    : FlvStream(counter, source, parser, std::move(sourceLock), streamId) {}

FlvVideoStream::~FlvVideoStream() {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "~FlvVideoStream");
    handler_.reset();
}

void FlvVideoStream::initialize() {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "initialize");
    const std::lock_guard guard(sourceLock());
    if (!parser().hasVideo()) {
        throw ErrorException(here(), "According to header, video is not present.");
    }
    if (!readTagsUntilDescribed()) {
        throw ErrorException(here(), "No video tag until stream start.");
    }
}

bool FlvVideoStream::handleTag(Stream& reader, const FlvTag& tag) {
    if (tag.getTagType() != TagType::video) {
        return false;
    }
    FlvVideoTag header;
    header.read(reader);
    VideoDataHandler& handler =
        fittingHandler(handler_, header.getCodecId(), [this](std::uint8_t codecId) { return createHandler(codecId); });
    handler.handle(reader, source(), *this, tag, header);
    return true;
}

bool FlvVideoStream::isRandomAccessPoint(Stream& reader, const FlvTag& tag) {
    if (tag.getTagType() != TagType::video) {
        return false;
    }
    FlvVideoTag header;
    header.read(reader);
    return header.isKeyFrame();
}

std::unique_ptr<VideoDataHandler> FlvVideoStream::createHandler(std::uint8_t codecId) const {
    return VideoDataHandlerFactory::createVideoDataHandler(codecId);
}

} // namespace JY::Pictaro::Fs
