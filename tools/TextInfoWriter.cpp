#include "tools/TextInfoWriter.h"

#include "tools/Text.h"

#include <array>
#include <cstdio>
#include <iomanip>

namespace JY::Tools {

namespace {

constexpr int wordsWidth = 26;

std::string yesNo(bool value) {
    return value ? "yes" : "no";
}

} // namespace

void TextInfoWriter::begin(const SourceFacts& source) {
    out_ << source.file << '\n';
    line("duration", source.duration ? timeText(*source.duration) : "unknown");
    line("can seek", yesNo(source.seekable));
    line("can pause", yesNo(source.pausable));
    line("live", yesNo(source.live));
    line("streams", std::to_string(source.streams.size()));
    for (const StreamFacts& stream : source.streams) {
        streamHeading(stream);
    }
}

void TextInfoWriter::streamHeading(const StreamFacts& stream) {
    out_ << "\nStream " << stream.identifier << ", " << stream.kind << '\n';
    for (const AttributeFacts& attribute : stream.attributes) {
        line(attribute.words, attribute.value);
    }
}

void TextInfoWriter::sample(DWORD stream, const SampleFacts& sample) {
    if (!sampleHeadingWritten_) {
        sampleHeading();
    }
    std::array<char, 120> row{};
    std::snprintf(row.data(), row.size(), "%8lu %16s %16s %10lu  %08x  %s\n", stream, timeText(sample.time).c_str(),
                  timeText(sample.duration).c_str(), sample.bytes, sample.crc, sample.cleanPoint ? "key" : "");
    out_ << row.data();
}

void TextInfoWriter::sampleHeading() {
    out_ << "\n  stream             time         duration      bytes  CRC-32\n";
    sampleHeadingWritten_ = true;
}

void TextInfoWriter::end(const std::vector<StreamAccount>& accounts) {
    for (const StreamAccount& each : accounts) {
        account(each);
    }
}

void TextInfoWriter::account(const StreamAccount& account) {
    out_ << "\nSamples of stream " << account.identifier << '\n';
    line("samples", std::to_string(account.samples));
    line("frames", std::to_string(account.frames));
    line("key frames", std::to_string(account.keyFrames));
    line("bytes", std::to_string(account.bytes));
    if (account.samples != 0) {
        line("first time", timeText(account.firstTime));
        line("last time", timeText(account.lastTime));
    }
    if (account.failure) {
        line("not read to the end", *account.failure);
    }
}

void TextInfoWriter::line(const std::string& words, const std::string& value) {
    out_ << "  " << std::left << std::setw(wordsWidth) << words << ' ' << value << '\n';
}

} // namespace JY::Tools
