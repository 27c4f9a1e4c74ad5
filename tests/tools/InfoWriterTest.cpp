#include "tools/JsonInfoWriter.h"
#include "tools/TextInfoWriter.h"

#include <gtest/gtest.h>
#include <sstream>

namespace JY::Tools {
namespace {

SourceFacts source() {
    SourceFacts facts;
    facts.file = R"(C:\a.flv)";
    facts.duration = 50000000;
    facts.seekable = true;
    facts.streams.push_back({1002, "video", {{"MF_MT_FRAME_SIZE", "frame size", "320 x 180"}}});
    return facts;
}

SampleFacts sample() {
    SampleFacts facts;
    facts.time = 800000;
    facts.duration = -400000;
    facts.bytes = 1234;
    facts.crc = 0xABC;
    facts.cleanPoint = true;
    return facts;
}

std::vector<StreamAccount> accounts() {
    StreamAccount account;
    account.identifier = 1002;
    account.add(sample());
    return {account};
}

std::string written(InfoWriter& writer, const std::ostringstream& out, const std::vector<StreamAccount>& totals) {
    writer.begin(source());
    writer.sample(1002, sample());
    writer.end(totals);
    return out.str();
}

TEST(TextInfoWriter, TellsTheSourceItsSamplesAndWhatTheyComeTo) {
    std::ostringstream out;
    TextInfoWriter writer(out);
    EXPECT_EQ(written(writer, out, accounts()), "C:\\a.flv\n"
                                                "  duration                   0:00:05.000\n"
                                                "  can seek                   yes\n"
                                                "  can pause                  no\n"
                                                "  live                       no\n"
                                                "  streams                    1\n"
                                                "\n"
                                                "Stream 1002, video\n"
                                                "  frame size                 320 x 180\n"
                                                "\n"
                                                "  stream             time         duration      bytes  CRC-32\n"
                                                "    1002      0:00:00.080     -0:00:00.040       1234  00000abc  key\n"
                                                "\n"
                                                "Samples of stream 1002\n"
                                                "  samples                    1\n"
                                                "  frames                     1\n"
                                                "  key frames                 1\n"
                                                "  bytes                      1234\n"
                                                "  first time                 0:00:00.080\n"
                                                "  last time                  0:00:00.080\n");
}

TEST(TextInfoWriter, TellsWhatIsNotKnownAndWhatWentWrong) {
    std::ostringstream out;
    TextInfoWriter writer(out);
    SourceFacts facts = source();
    facts.duration.reset();
    writer.begin(facts);
    StreamAccount account;
    account.failure = "no luck";
    writer.end({account});
    EXPECT_NE(out.str().find("  duration                   unknown\n"), std::string::npos);
    EXPECT_NE(out.str().find("  not read to the end        no luck\n"), std::string::npos);
    EXPECT_EQ(out.str().find("first time"), std::string::npos);
}

TEST(JsonInfoWriter, TellsTheSourceItsSamplesAndWhatTheyComeTo) {
    std::ostringstream out;
    JsonInfoWriter writer(out, true);
    EXPECT_EQ(written(writer, out, accounts()), R"({
  "file": "C:\\a.flv",
  "duration": 5.0000000,
  "seekable": true,
  "pausable": false,
  "live": false,
  "streams": [
    {
      "id": 1002,
      "kind": "video",
      "attributes": [
        {
          "name": "MF_MT_FRAME_SIZE",
          "words": "frame size",
          "value": "320 x 180"
        }
      ]
    }
  ],
  "samples": [
    {
      "stream": 1002,
      "time": 0.0800000,
      "duration": -0.0400000,
      "bytes": 1234,
      "crc32": "00000abc",
      "key": true
    }
  ],
  "totals": [
    {
      "stream": 1002,
      "samples": 1,
      "frames": 1,
      "keyFrames": 1,
      "bytes": 1234,
      "firstTime": 0.0800000,
      "lastTime": 0.0800000
    }
  ]
}
)");
}

TEST(JsonInfoWriter, LeavesTheSamplesOutAndTellsWhatIsNotKnown) {
    std::ostringstream out;
    JsonInfoWriter writer(out, false);
    SourceFacts facts;
    facts.file = "a";
    writer.begin(facts);
    StreamAccount account;
    account.failure = "no luck";
    writer.end({account});
    EXPECT_EQ(out.str(), R"({
  "file": "a",
  "duration": null,
  "seekable": false,
  "pausable": false,
  "live": false,
  "streams": [],
  "totals": [
    {
      "stream": 0,
      "samples": 0,
      "frames": 0,
      "keyFrames": 0,
      "bytes": 0,
      "failure": "no luck"
    }
  ]
}
)");
}

} // namespace
} // namespace JY::Tools
