#pragma once

#include "tests/support/TempFile.h"

#include <cstdint>
#include <string>

namespace JY::Test {

/// A film of more than 4 GiB that takes next to no room on the disk: behind three seconds, with a key frame and a sound
/// each, lie large tags that are passed over, unwritten but for their headers, up to second 300, and the film goes on
/// behind the fourth gibibyte until second 310.
class LargeFilm {
public:
    static constexpr unsigned lastSecondBefore = 2;
    static constexpr unsigned firstSecondBehind = 300;
    static constexpr unsigned lastSecond = 310;

    enum class Index { none, ofKeyFrames };

    explicit LargeFilm(Index index);

    std::wstring path() const { return file_.path(); }
    std::uint64_t size() const { return size_; }
    /// Where the header of the first tag behind the large ones is.
    std::uint64_t positionBehind() const { return positionBehind_; }

private:
    TempFile file_;
    std::uint64_t size_ = 0;
    std::uint64_t positionBehind_ = 0;
};

} // namespace JY::Test
