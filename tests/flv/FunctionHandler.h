#pragma once

#include "flv/FlvTagHandler.h"

#include <functional>
#include <utility>

namespace JY::Test {

/// Does with each tag what it is told to, and starts playback anywhere.
class FunctionHandler final : public Pictaro::Fs::FlvTagHandler {
public:
    using Handle = std::function<bool(Stream&, const Pictaro::Fs::FlvTag&)>;

    explicit FunctionHandler(Handle handle) : handle_(std::move(handle)) {}

    bool handleTag(Stream& stream, const Pictaro::Fs::FlvTag& tag) override { return handle_(stream, tag); }
    bool isRandomAccessPoint(Stream&, const Pictaro::Fs::FlvTag&) override { return true; }

private:
    Handle handle_;
};

} // namespace JY::Test
