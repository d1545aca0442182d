#include "services/string_table_json.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace talvero {
namespace {

using Kind = StringTableJsonKind;

TEST(StringTableJson, ReadsEveryEscapeAndKeepsTheLastOfARepeatedKey) {
  const StringTableReading reading = readStringTableJson(
      " \t\r\n{ \"esc\" : \"\\\" \\\\ \\/ \\b \\f \\n \\r \\t\",\n"
      R"("uni":"\u0041\u00e9\u20AC\ud83d\ude00 é😀", "lone":"\ud800x\udc00\ud800\u0041",)"
      R"("":"", "k":"1", "k":"2" } )");
  ASSERT_EQ(reading.kind, Kind::table) << reading.error;
  // A lone surrogate, which JSON allows and UTF-8 cannot hold, becomes U+FFFD.
  const StringTable expected{{"esc", "\" \\ / \b \f \n \r \t"},
                             {"uni", "Aé€😀 é😀"},
                             {"lone", "\uFFFDx\uFFFD\uFFFDA"},
                             {"", ""},
                             {"k", "2"}};
  EXPECT_EQ(reading.table, expected);
}

TEST(StringTableJson, TellsOtherValidJsonFromATableOfStrings) {
  // clang-format off
  const std::vector<std::string> texts = {
      "[]", "[{\"a\":\"b\"}]", "\"text\"", "-0.5e+10", "0", "true", "null", "{\"a\":\"b\",\"n\":1}",
      "{\"a\":null}", "{\"a\":false}", "{\"a\":[]}", "{\"a\":{}}", "{\"a\":{\"b\":\"c\"},\"d\":\"e\"}",
      "[[1,2.5E-3],{\"x\":[]}]",
      // Deep enough to overflow the stack of a recursive reader.
      std::string(200000, '[') + std::string(200000, ']')};
  // clang-format on
  for (const std::string& text : texts) {
    const StringTableReading reading = readStringTableJson(text);
    EXPECT_EQ(reading.kind, Kind::otherJson) << text.substr(0, 40) << ": " << reading.error;
    EXPECT_TRUE(reading.table.empty()) << text.substr(0, 40);
  }
}

TEST(StringTableJson, RefusesTextsThatAreNotJson) {
  // clang-format off
  const std::vector<std::string> texts = {
      "", " ", "{", "{\"a\":\"b\",}", "{\"a\" \"b\"}", "{a:\"b\"}", "['a']", "01", "1.", ".5", "-",
      "1e", "+1", "TRUE", "nul", "{\"a\":\"b\"} x", "{}{}", "/*c*/{}", "[1,]", "[1 2]", "{\"a\"}",
      "{\"a\":}", "{,}", "\"\\x\"", "\"\\u12G4\"", "\"\\u12\"", "{\"a\":\"b\"", "[[[[", "]",
      "\"\\ud83d\\u\"",
      "\xEF\xBB\xBF{}",                   // a byte order mark
      "{\"a\":\"\x01\"}",                 // a raw control character
      std::string("{\"a\":\"b\"}\0", 10),  // a NUL after the value
      "{\"a\":\"\xFF\"}", "{\"a\":\"\xC3\"}"};  // not UTF-8, a cut UTF-8 sequence
  // clang-format on
  for (const std::string& text : texts) {
    const StringTableReading reading = readStringTableJson(text);
    EXPECT_EQ(reading.kind, Kind::notJson) << "\"" << text << "\"";
    EXPECT_FALSE(reading.error.empty()) << "\"" << text << "\"";
    EXPECT_TRUE(reading.table.empty()) << "\"" << text << "\"";
  }
}

TEST(StringTableJson, WritesPrettyPrintedInKeyOrderAndAnEmptyTableAsBraces) {
  EXPECT_EQ(writeStringTableJson({}), "{}");
  EXPECT_EQ(writeStringTableJson({{"b", "2"}, {"a", "1"}}),
            "{\n  \"a\" : \"1\",\n  \"b\" : \"2\"\n}");
}

TEST(StringTableJson, AnyTextWrittenReadsBackUnchangedAndInvalidUtf8AsReplacement) {
  std::string controls;
  for (char c = 0; c < 0x20; ++c) controls += c;
  const StringTable table{{"", "empty key"},
                          {"quote\"back\\slash/", "\"\\\\\""},
                          {controls, controls + "\x7F"},
                          {"Grüße, 日本語", "emoji 😀👍🏽 and \u2028 separator"},
                          {"\\u0041", "\\ud83d"}};
  const std::string text = writeStringTableJson(table);
  for (const char c : text) EXPECT_FALSE(c >= 0 && c < 0x20 && c != '\n') << int(c);
  const StringTableReading reading = readStringTableJson(text);
  ASSERT_EQ(reading.kind, Kind::table) << reading.error << "\n" << text;
  EXPECT_EQ(reading.table, table);

  EXPECT_EQ(readStringTableJson(writeStringTableJson({{"k\xFF", "v\xC3"}})).table,
            (StringTable{{"k\uFFFD", "v\uFFFD"}}));
}

}  // namespace
}  // namespace talvero
