#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace JY::Test {

/// What an entry of a film's key-frame index says.
struct IndexedKeyFrame {
    std::int64_t time = 0;     ///< microseconds
    std::int64_t position = 0; ///< where its tag starts in the file
};

/// What a film's script tag tells, by a reading of the tests' own.
struct ScriptFacts {
    std::map<std::string, double> numbers;
    std::vector<IndexedKeyFrame> index; ///< empty when there is none that can be used
};

/// Nothing when the tag's body is not script data to its end.
std::optional<ScriptFacts> readScript(std::span<const std::uint8_t> body);

} // namespace JY::Test
