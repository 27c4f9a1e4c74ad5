#pragma once

#include "flv/MetaDatum.h"
#include "flv/TimePosition.h"
#include "util/ErrorException.h"

#include <cstdint>
#include <string>

namespace JY::Pictaro::Fs {

/// A key frame of the file's index.
struct KeyFrame {
    TimePosition time;
    std::uint64_t filePosition; ///< byte offset of the tag's header, behind its PreviousTagSize
};

/// The script data of one file. Filled once by `parse`, read-only afterwards.
class FlvMetaData {
public:
    /// The script data lacks what is asked for; callers fall back to other means.
    class MetaDataNotFoundException : public ErrorException {
    public:
        [[gnu::noinline]] MetaDataNotFoundException(SourcePosition position, std::string_view message);
    };

    /// Finds and decodes the file's script data. Throws ApiErrorException or ErrorException; what was decoded before
    /// stays. Does not return for a file without script data that ends within its first second.
    virtual void parse(const std::wstring& path) = 0;
    /// A copy of the "onMetaData" entry `key`: a string, bool or number. Throws MetaDataNotFoundException.
    virtual MetaDatum getMetaDatum(const std::string& key) const = 0;
    /// The last key frame of the index at or before `time`, or the first one. Throws MetaDataNotFoundException.
    virtual KeyFrame getNearlestLessKeyFrame(TimePosition time) const = 0;
    virtual ~FlvMetaData() = default;
};

} // namespace JY::Pictaro::Fs
