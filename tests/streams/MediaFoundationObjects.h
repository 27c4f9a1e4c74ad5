#pragma once

#include <cstddef>

namespace JY::Test {

/// Keeps a reference to each media type, descriptor, buffer, sample and event queue that Media Foundation gives while
/// the object lives. One at a time, for one thread.
class MediaFoundationObjects {
public:
    MediaFoundationObjects();
    MediaFoundationObjects(const MediaFoundationObjects&) = delete;
    MediaFoundationObjects& operator=(const MediaFoundationObjects&) = delete;
    ~MediaFoundationObjects();

    /// How many objects there have been since the last `releaseAll`.
    static std::size_t count();
    /// Lets all of them go and tells how many of them somebody else holds.
    static std::size_t releaseAll();
};

} // namespace JY::Test
