#pragma once

#include "flv/MetaDatum.h"

#include <mfidl.h>

#include <cstdint>
#include <string>

namespace JY::Pictaro::Fs {

/// The states of a media source, by the numbers that `getStateId` gives.
enum class SourceStateId { stopped = 0, started = 1, paused = 2 };

/// What a stream needs of the media source that owns it. Called under the source lock.
class StreamSource {
public:
    virtual SourceStateId getStateId() const = 0;
    /// A metadata value of the file. Throws FlvMetaData::MetaDataNotFoundException.
    virtual MetaDatum getMetaDatum(const std::string& name) const = 0;
    /// How many bytes of payload are dumped into records; read from the configuration once for each source.
    virtual std::uint32_t getNumDumpBin() = 0;
    /// The source as its clients see it; no reference is added.
    virtual IMFMediaSource& mediaSource() = 0;

protected:
    ~StreamSource() = default;
};

} // namespace JY::Pictaro::Fs
