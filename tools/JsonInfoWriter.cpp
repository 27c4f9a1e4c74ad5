#include "tools/JsonInfoWriter.h"

#include "tools/Text.h"

#include <array>
#include <cstdio>

namespace JY::Tools {

namespace {

std::uint64_t wide(DWORD number) {
    return number;
}

} // namespace

void JsonInfoWriter::begin(const SourceFacts& source) {
    json_.beginObject();
    json_.member("file", source.file);
    if (source.duration) {
        seconds("duration", *source.duration);
    } else {
        json_.name("duration");
        json_.null();
    }
    json_.member("seekable", source.seekable);
    json_.member("pausable", source.pausable);
    json_.member("live", source.live);
    json_.name("streams");
    json_.beginArray();
    for (const StreamFacts& each : source.streams) {
        stream(each);
    }
    json_.endArray();
    if (withSamples_) {
        json_.name("samples");
        json_.beginArray();
    }
}

void JsonInfoWriter::stream(const StreamFacts& stream) {
    json_.beginObject();
    json_.member("id", wide(stream.identifier));
    json_.member("kind", stream.kind);
    json_.name("attributes");
    json_.beginArray();
    for (const AttributeFacts& attribute : stream.attributes) {
        json_.beginObject();
        json_.member("name", attribute.name);
        json_.member("words", attribute.words);
        json_.member("value", attribute.value);
        json_.endObject();
    }
    json_.endArray();
    json_.endObject();
}

void JsonInfoWriter::sample(DWORD stream, const SampleFacts& sample) {
    json_.beginObject();
    json_.member("stream", wide(stream));
    seconds("time", sample.time);
    seconds("duration", sample.duration);
    json_.member("bytes", wide(sample.bytes));
    std::array<char, 16> crc{};
    std::snprintf(crc.data(), crc.size(), "%08x", sample.crc);
    json_.member("crc32", crc.data());
    json_.member("key", sample.cleanPoint);
    json_.endObject();
}

void JsonInfoWriter::end(const std::vector<StreamAccount>& accounts) {
    if (withSamples_) {
        json_.endArray();
    }
    json_.name("totals");
    json_.beginArray();
    for (const StreamAccount& each : accounts) {
        account(each);
    }
    json_.endArray();
    json_.endObject();
}

void JsonInfoWriter::account(const StreamAccount& account) {
    json_.beginObject();
    json_.member("stream", wide(account.identifier));
    json_.member("samples", account.samples);
    json_.member("frames", account.frames);
    json_.member("keyFrames", account.keyFrames);
    json_.member("bytes", account.bytes);
    if (account.samples != 0) {
        seconds("firstTime", account.firstTime);
        seconds("lastTime", account.lastTime);
    }
    if (account.failure) {
        json_.member("failure", *account.failure);
    }
    json_.endObject();
}

void JsonInfoWriter::seconds(std::string_view name, LONGLONG hundredNs) {
    json_.name(name);
    json_.number(secondsText(hundredNs));
}

} // namespace JY::Tools
