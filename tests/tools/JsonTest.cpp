#include "tools/Json.h"

#include <gtest/gtest.h>
#include <sstream>

namespace JY::Tools {
namespace {

TEST(JsonEscaped, LeavesPlainAndUtf8TextAsItIs) {
    EXPECT_EQ(jsonEscaped("film \xC3\xA9\xE2\x82\xAC.flv"), "film \xC3\xA9\xE2\x82\xAC.flv");
}

TEST(JsonEscaped, EscapesQuotationMarksAndBackslashes) {
    EXPECT_EQ(jsonEscaped(R"(C:\films\"a".flv)"), R"(C:\\films\\\"a\".flv)");
}

TEST(JsonEscaped, WritesControlCharactersAsNumbers) {
    EXPECT_EQ(jsonEscaped(std::string("a\tb\n\0c\x1f", 7)), "a\\u0009b\\u000a\\u0000c\\u001f");
}

TEST(JsonWriter, WritesAnEmptyObject) {
    std::ostringstream out;
    JsonWriter json(out);
    json.beginObject();
    json.endObject();
    EXPECT_EQ(out.str(), "{}\n");
}

TEST(JsonWriter, SeparatesMembersAndNestsBrackets) {
    std::ostringstream out;
    JsonWriter json(out);
    json.beginObject();
    json.member("text", "a \"b\"");
    json.member("yes", true);
    json.member("count", std::uint64_t{18446744073709551615U});
    json.name("list");
    json.beginArray();
    json.number("1.5");
    json.null();
    json.beginObject();
    json.endObject();
    json.endArray();
    json.name("empty");
    json.beginArray();
    json.endArray();
    json.endObject();
    EXPECT_EQ(out.str(), "{\n"
                         "  \"text\": \"a \\\"b\\\"\",\n"
                         "  \"yes\": true,\n"
                         "  \"count\": 18446744073709551615,\n"
                         "  \"list\": [\n"
                         "    1.5,\n"
                         "    null,\n"
                         "    {}\n"
                         "  ],\n"
                         "  \"empty\": []\n"
                         "}\n");
}

} // namespace
} // namespace JY::Tools
