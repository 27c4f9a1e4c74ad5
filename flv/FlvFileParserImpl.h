#pragma once

#include "flv/FlvFileParser.h"
#include "flv/FlvHeader.h"
#include "util/File.h"
#include "util/JYFileStream.h"
#include "util/Lock.h"

#include <atomic>
#include <optional>
#include <string>
#include <vector>

namespace JY::Pictaro::Fs {

class FlvTag;

/// Reads a file from disk. Between calls the stream stands at the start of the record to be read next, or where a tag
/// that failed has left it; nothing that it has read ahead is used by a later call, so that a file which others write
/// or replace is never told as it was.
class FlvFileParserImpl final : public FlvFileParser {
public:
    /// Opens the file, which others may go on writing, and checks its header. Throws what opening and reading throw,
    /// and ErrorException for a header that is none.
    explicit FlvFileParserImpl(const std::wstring& path);

    void clearHandler() override;
    void addHandler(FlvTagHandler& handler) override;
    bool readOneTag() override;
    void setFilePosition(std::int64_t bytePosition) override;
    void seekPosition(TimePosition target) override;
    TimePosition getPosition() const override { return position_; }
    bool hasAudio() const override { return header_.hasAudio(); }
    bool hasVideo() const override { return header_.hasVideo(); }

private:
    FileStream& freshStream(std::uint32_t expected = 0);
    void offerToHandlers(const FlvTag& tag);
    std::uint32_t bytesToExpect() const;
    void seekToBackward(TimePosition target);
    void seekToForward(TimePosition target);
    std::int64_t seekToRandomAccessPoint();
    bool isRandomAccessPoint(const FlvTag& tag);

    LockImpl lock_; // guards the stream and the handlers
    File file_;
    FlvHeader header_;
    std::optional<FileStream> stream_; // from the first reading on
    std::uint32_t expectedBytes_ = 0;  // that the next tag will take, 0 when that is not known
    std::vector<FlvTagHandler*> handlers_;
    std::atomic<TimePosition> position_{}; // written under the lock, read without it
};

} // namespace JY::Pictaro::Fs
