#pragma once

#include "com/ComUnknownBase.h"
#include "flv/MetaDatum.h"
#include "flv/TimePosition.h"
#include "streams/StreamSource.h"

#include <mfidl.h>
#include <mfobjects.h>
#include <windows.h>

#include <string>

namespace JY::Pictaro::Fs {

/// The media source of one FLV file, as its states and streams see it. The operations below are called under the
/// source lock, while the source is not shut down.
class FlvSource : public ComUnknownBase<IMFMediaSource>, public StreamSource {
public:
    SourceStateId getStateId() const override = 0;
    /// Sends a finished event to the client. Throws ApiErrorException "QueueEvent".
    virtual void queueEvent(IMFMediaEvent* event) = 0;
    /// Sends an event with an object as its value. Throws ApiErrorException "QueueEvent".
    virtual void queueEvent(MediaEventType type, IUnknown* value) = 0;
    /// The time of the last tag read; 0 before the first.
    virtual TimePosition getCurrentPosition() const = 0;
    /// Moves the file so that the streams' next samples are those for `target`: by the key-frame index or by walking
    /// tags, as the configuration says. Throws what moving and reading the file throws.
    virtual void seekPosition(TimePosition target) = 0;
    MetaDatum getMetaDatum(const std::string& name) const override = 0;
    virtual const std::wstring& getFilePath() const = 0;

protected:
    explicit FlvSource(ModuleUsageCounter& counter) : ComUnknownBase(counter) {}
};

} // namespace JY::Pictaro::Fs
