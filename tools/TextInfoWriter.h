#pragma once

#include "tools/InfoWriter.h"

#include <ostream>

namespace JY::Tools {

/// For people: aligned lines.
class TextInfoWriter final : public InfoWriter {
public:
    explicit TextInfoWriter(std::ostream& out) : out_(out) {}

    void begin(const SourceFacts& source) override;
    void sample(DWORD stream, const SampleFacts& sample) override;
    void end(const std::vector<StreamAccount>& accounts) override;

private:
    void line(const std::string& words, const std::string& value);
    void streamHeading(const StreamFacts& stream);
    void account(const StreamAccount& account);
    void sampleHeading();

    std::ostream& out_;
    bool sampleHeadingWritten_ = false;
};

} // namespace JY::Tools
