#pragma once

#include "tools/InfoWriter.h"
#include "tools/Json.h"

#include <ostream>

namespace JY::Tools {

/// For programs: one JSON object. Times are in seconds.
class JsonInfoWriter final : public InfoWriter {
public:
    /// @param withSamples whether the object has an array of samples.
    JsonInfoWriter(std::ostream& out, bool withSamples) : json_(out), withSamples_(withSamples) {}

    void begin(const SourceFacts& source) override;
    void sample(DWORD stream, const SampleFacts& sample) override;
    void end(const std::vector<StreamAccount>& accounts) override;

private:
    void seconds(std::string_view name, LONGLONG hundredNs);
    void stream(const StreamFacts& stream);
    void account(const StreamAccount& account);

    JsonWriter json_;
    bool withSamples_;
};

} // namespace JY::Tools
