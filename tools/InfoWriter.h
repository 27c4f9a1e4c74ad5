#pragma once

#include "tools/SampleFacts.h"
#include "tools/SourceFacts.h"
#include "tools/StreamAccount.h"

#include <vector>

namespace JY::Tools {

/// Tells what a media file holds: first `begin`, then `sample` for each sample that is to be told, then `end`.
class InfoWriter {
public:
    InfoWriter() = default;
    InfoWriter(const InfoWriter&) = delete;
    InfoWriter& operator=(const InfoWriter&) = delete;
    virtual ~InfoWriter() = default;

    virtual void begin(const SourceFacts& source) = 0;
    virtual void sample(DWORD stream, const SampleFacts& sample) = 0;
    virtual void end(const std::vector<StreamAccount>& accounts) = 0;
};

} // namespace JY::Tools
