#pragma once

#include "flv/FlvFileParser.h"
#include "tests/support/MemoryStream.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <vector>

namespace JY::Test {

/// Thrown in place of one read more than a test allows, so that an endless loop ends.
class TooManyReads : public std::runtime_error {
public:
    TooManyReads() : std::runtime_error("Too many reads.") {}
};

/// A parser over an FLV file in memory.
class MemoryParser final : public Pictaro::Fs::FlvFileParser {
public:
    MemoryParser() : MemoryParser(Bytes{}) {}
    explicit MemoryParser(const Bytes& file) : stream_(file) { stream_.seek(headerSize); }
    /// Starts again with another file; the handlers stay.
    void open(const Bytes& file);

    void clearHandler() override { handlers_.clear(); }
    void addHandler(Pictaro::Fs::FlvTagHandler& handler) override { handlers_.push_back(&handler); }
    bool readOneTag() override;
    void setFilePosition(std::int64_t bytePosition) override { stream_.seek(bytePosition); }
    void seekPosition(Pictaro::TimePosition) override { throw std::logic_error("seekPosition"); }
    Pictaro::TimePosition getPosition() const override { return position; }
    bool hasAudio() const override { return audio; }
    bool hasVideo() const override { return video; }

    bool audio = true;
    bool video = true;
    Pictaro::TimePosition position;
    unsigned reads = 0;
    std::optional<unsigned> maximalReads;
    std::function<void()> beforeRead = [] {};

private:
    static constexpr std::int64_t headerSize = 9;

    void offer(const Pictaro::Fs::FlvTag& tag);

    MemoryStream stream_;
    std::vector<Pictaro::Fs::FlvTagHandler*> handlers_;
};

} // namespace JY::Test
