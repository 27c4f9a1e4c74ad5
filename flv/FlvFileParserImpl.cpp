#include "flv/FlvFileParserImpl.h"

#include "flv/FlvTag.h"
#include "log/Core.h"
#include "util/ErrorException.h"

#include <algorithm>
#include <mutex>

namespace JY::Pictaro::Fs {

namespace {

constexpr SourceFile here{"FlvFileParser"};

/// A target as tags count time. Wraps like the positions of tags do.
std::uint32_t toMilliseconds(TimePosition target) {
    target.checkIsValid();
    return static_cast<std::uint32_t>(target.microseconds()) / 1000U;
}

} // namespace

FlvFileParserImpl::FlvFileParserImpl(const std::wstring& path)
    : file_(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE), header_(readFlvHeader(file_)) {}

void FlvFileParserImpl::clearHandler() {
    const auto log = Log2::traceMember(here(), typeid(*this), "clearHandler");
    const std::lock_guard guard(lock_);
    handlers_.clear();
}

void FlvFileParserImpl::addHandler(FlvTagHandler& handler) {
    const auto log = Log2::traceMember(here(), typeid(*this), "addHandler");
    const std::lock_guard guard(lock_);
    handlers_.push_back(&handler);
}

bool FlvFileParserImpl::readOneTag() {
    const auto log = Log2::traceMember(here(), typeid(*this), "readOneTag");
    const std::lock_guard guard(lock_);
    FileStream& stream = freshStream(expectedBytes_);
    FlvTag tag(stream);
    tag.read();
    stream.setLimit(tag.getDataSize());
    if ((tag.getTagType() & TagType::filterBit) != 0) {
        throw ErrorException(here.at(43), "Encrypted tag is not supported.");
    }
    try {
        offerToHandlers(tag);
        position_ = tag.getTimePosition();
    } catch (const Exception& exception) {
        log.warn(here()) << "Exception during readTag." << exception;
        throw;
    } catch (...) {
        log.warn(here()) << "Exception during readTag.";
        throw;
    }
    stream.clearLimit();
    const bool hasNext = tag.next();
    expectedBytes_ = bytesToExpect();
    return hasNext;
}

void FlvFileParserImpl::setFilePosition(std::int64_t bytePosition) {
    const std::lock_guard guard(lock_);
    const std::int64_t position = file_.seek(bytePosition);
    expectedBytes_ = 0;
    if (stream_) {
        stream_->refreshAt(position);
    }
}

void FlvFileParserImpl::seekPosition(TimePosition target) {
    const auto log = Log2::traceMember(here(), typeid(*this), "seekPosition");
    const std::lock_guard guard(lock_);
    log.info(here()) << "Requested seek position=" << target;
    const TimePosition position = position_;
    if (target == position) {
        return;
    }
    expectedBytes_ = 0;
    if (position <= target) {
        seekToForward(target);
    } else {
        seekToBackward(target);
    }
}

/// The stream, which knows nothing that was read before and, at its first use, stands behind the header.
FileStream& FlvFileParserImpl::freshStream(std::uint32_t expected) {
    if (stream_) {
        stream_->refresh(expected);
    } else {
        stream_.emplace(file_.handle());
    }
    return *stream_;
}

void FlvFileParserImpl::offerToHandlers(const FlvTag& tag) {
    for (FlvTagHandler* const handler : handlers_) {
        if (handler->handleTag(*stream_, tag)) {
            return;
        }
    }
}

/// What the next call should read in one piece: the next tag and the record behind it, which tells the same of the tag
/// after. Most tags then take one read and the move to it. By then the file may have changed: a guess that is wrong
/// costs time, nothing else.
std::uint32_t FlvFileParserImpl::bytesToExpect() const {
    const auto ahead = stream_->ahead();
    return ahead.size() < tagRecordSize ? 0 : dataSizeOf(ahead.first<tagRecordSize>()) + 2 * tagRecordSize;
}

/// To the last seek point at or before the target, or to the first tag of the file.
void FlvFileParserImpl::seekToBackward(TimePosition target) {
    const auto log = Log2::traceMember(here(), typeid(*this), "seekToBackward");
    const std::uint32_t milliseconds = toMilliseconds(target);
    FlvTag tag(freshStream());
    do {
        tag.read();
    } while (!(tag.getTimestamp() <= milliseconds && isRandomAccessPoint(tag)) && tag.previous());
    tag.seekToRecord();
    log.info(here()) << "Seeked position=" << tag.getTimePosition();
}

/// To the first tag at or after the target when that is a seek point, else to the last seek point before it.
void FlvFileParserImpl::seekToForward(TimePosition target) {
    const auto log = Log2::traceMember(here(), typeid(*this), "seekToForward");
    const std::uint32_t milliseconds = toMilliseconds(target);
    FileStream& stream = freshStream();
    std::int64_t candidate = seekToRandomAccessPoint();
    FlvTag tag(stream);
    do {
        tag.read();
        if (isRandomAccessPoint(tag)) {
            candidate = tag.recordPosition();
        }
    } while (tag.getTimestamp() < milliseconds && tag.next());
    stream.seek(candidate); // it has just been there
    log.info(here()) << "Seeked position=" << tag.getTimePosition();
}

/// Steps back from the tag at the stream's position to a seek point, or to the first tag of the file. Returns where
/// its record starts; the stream stands there.
std::int64_t FlvFileParserImpl::seekToRandomAccessPoint() {
    FlvTag tag(*stream_);
    do {
        tag.read();
    } while (!isRandomAccessPoint(tag) && tag.previous());
    tag.seekToRecord();
    return tag.recordPosition();
}

bool FlvFileParserImpl::isRandomAccessPoint(const FlvTag& tag) {
    return std::ranges::all_of(handlers_,
                               [&](FlvTagHandler* handler) { return handler->isRandomAccessPoint(*stream_, tag); });
}

} // namespace JY::Pictaro::Fs
