#pragma once

#include "com/ComUnknownBase.h"
#include "source/MfDeclarations.h"

namespace JY::Pictaro::Fs {

/// Media Foundation's byte-stream handler for FLV files.
class FlvByteStreamHandler : public ComUnknownBase<IMFByteStreamHandler> {
protected:
    explicit FlvByteStreamHandler(ModuleUsageCounter& counter) : ComUnknownBase(counter) {}
};

} // namespace JY::Pictaro::Fs
