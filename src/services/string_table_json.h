#pragma once

#include <map>
#include <string>
#include <string_view>

namespace talvero {

// A table of texts, kept sorted so that the same table always writes the same file.
using StringTable = std::map<std::string, std::string>;

// What a JSON text turned out to hold.
enum class StringTableJsonKind {
  table,      // one object whose values are all strings
  otherJson,  // valid JSON of any other shape: an array, a number, a nested object...
  notJson,    // not valid UTF-8 JSON
};

struct StringTableReading {
  StringTableJsonKind kind = StringTableJsonKind::notJson;
  StringTable table;  // filled only for `table`; a repeated key keeps its last value
  std::string error;  // for `notJson`: what is wrong and at which byte
};

// Reads any JSON text strictly (no comments, no trailing commas, no byte order mark), at any
// nesting depth without recursion. An escaped lone surrogate, which JSON's grammar allows but
// UTF-8 cannot hold, reads as U+FFFD.
StringTableReading readStringTableJson(std::string_view text);

// Pretty-printed with two spaces of indent and keys in order: `{\n  "key" : "value"\n}`; an
// empty table is `{}`. Invalid UTF-8 in keys or values is written as U+FFFD, so the output
// always reads back.
std::string writeStringTableJson(const StringTable& table);

// `text` as a JSON string literal, quotes included, with control characters escaped and invalid
// UTF-8 written as U+FFFD.
void appendJsonString(std::string& out, std::string_view text);

}  // namespace talvero
