#include "tests/streams/MemoryParser.h"

#include "flv/FlvTag.h"
#include "flv/FlvTagHandler.h"

namespace JY::Test {

void MemoryParser::open(const Bytes& file) {
    stream_ = MemoryStream(file);
    stream_.seek(headerSize);
}

bool MemoryParser::readOneTag() {
    if (maximalReads == reads) {
        throw TooManyReads();
    }
    ++reads;
    beforeRead();
    Pictaro::Fs::FlvTag tag(stream_);
    tag.read();
    stream_.setLimit(tag.getDataSize());
    offer(tag);
    position = tag.getTimePosition();
    stream_.clearLimit();
    return tag.next();
}

void MemoryParser::offer(const Pictaro::Fs::FlvTag& tag) {
    for (Pictaro::Fs::FlvTagHandler* handler : handlers_) {
        if (handler->handleTag(stream_, tag)) {
            return;
        }
    }
}

} // namespace JY::Test
