#include "services/string_table_json.h"

#include <cstdint>
#include <vector>

#include "runtime/utf8.h"

namespace talvero {
namespace {

constexpr uint32_t kReplacementCharacter = 0xFFFD;

void appendUtf8(std::string& out, uint32_t codePoint) {
  if (codePoint < 0x80) {
    out += static_cast<char>(codePoint);
  } else if (codePoint < 0x800) {
    out += static_cast<char>(0xC0 | (codePoint >> 6));
    out += static_cast<char>(0x80 | (codePoint & 0x3F));
  } else if (codePoint < 0x10000) {
    out += static_cast<char>(0xE0 | (codePoint >> 12));
    out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (codePoint & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (codePoint >> 18));
    out += static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (codePoint & 0x3F));
  }
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

class JsonReader {
 public:
  explicit JsonReader(std::string_view text) : text_(text) {}

  StringTableReading read() {
    StringTableReading result;
    if (!isValidUtf8(text_)) {
      result.error = "the text is not valid UTF-8";
      return result;
    }
    skipSpace();
    bool isTable = peek() == '{';
    std::vector<char> open;  // the containers around the value being read, '{' or '['
    std::string key;
    for (;;) {
      // A value of the top object decides whether the text is still a table of strings.
      const bool memberOfTop = open.size() == 1 && open[0] == '{';
      bool complete = true;
      skipSpace();
      const char c = peek();
      if (c == '{' || c == '[') {
        if (memberOfTop) isTable = false;
        ++pos_;
        skipSpace();
        if (peek() == (c == '{' ? '}' : ']')) {
          ++pos_;
        } else {
          open.push_back(c);
          complete = false;
          if (c == '{' && !readKey(key)) break;
        }
      } else if (c == '"') {
        std::string value;
        if (!readString(value)) break;
        if (memberOfTop && isTable) result.table[key] = std::move(value);
      } else {
        if (memberOfTop) isTable = false;
        if (!readScalar()) break;
      }
      if (complete && !closeAfterValue(open, key)) break;
      if (open.empty()) {
        result.kind = isTable ? StringTableJsonKind::table : StringTableJsonKind::otherJson;
        if (!isTable) result.table.clear();
        return result;
      }
    }
    result.table.clear();
    result.error = error_ + " at byte " + std::to_string(pos_);
    return result;
  }

 private:
  char peek() const { return pos_ < text_.size() ? text_[pos_] : '\0'; }
  bool atEnd() const { return pos_ >= text_.size(); }

  bool fail(const char* what) {
    error_ = what;
    return false;
  }

  void skipSpace() {
    while (pos_ < text_.size() && (text_[pos_] == ' ' || text_[pos_] == '\t' ||
                                   text_[pos_] == '\n' || text_[pos_] == '\r'))
      ++pos_;
  }

  // After a whole value: closes the containers that end here and moves on to the next value.
  // False on an error; true with `open` empty when the text's one value is complete.
  bool closeAfterValue(std::vector<char>& open, std::string& key) {
    for (;;) {
      skipSpace();
      if (open.empty()) return atEnd() || fail("text after the end of the value");
      if (atEnd()) return fail("an unclosed object or array");
      const char c = text_[pos_];
      if (c == (open.back() == '{' ? '}' : ']')) {
        ++pos_;
        open.pop_back();
        continue;
      }
      if (c != ',') return fail(open.back() == '{' ? "expected ',' or '}'" : "expected ',' or ']'");
      ++pos_;
      return open.back() == '[' || readKey(key);
    }
  }

  bool readKey(std::string& key) {
    skipSpace();
    if (peek() != '"') return fail("expected a key in double quotes");
    key.clear();
    if (!readString(key)) return false;
    skipSpace();
    if (peek() != ':') return fail("expected ':'");
    ++pos_;
    return true;
  }

  bool readScalar() {
    const char c = peek();
    if (c == '-' || isDigit(c)) return readNumber();
    for (const std::string_view word : {"true", "false", "null"}) {
      if (text_.substr(pos_, word.size()) == word) {
        pos_ += word.size();
        return true;
      }
    }
    return fail(atEnd() ? "a value is missing" : "unexpected character");
  }

  bool readDigits() {
    if (!isDigit(peek())) return fail("expected a digit");
    while (isDigit(peek())) ++pos_;
    return true;
  }

  bool readNumber() {
    if (peek() == '-') ++pos_;
    if (peek() == '0') {
      ++pos_;
    } else if (!readDigits()) {
      return false;
    }
    if (peek() == '.') {
      ++pos_;
      if (!readDigits()) return false;
    }
    if (peek() == 'e' || peek() == 'E') {
      ++pos_;
      if (peek() == '+' || peek() == '-') ++pos_;
      if (!readDigits()) return false;
    }
    return true;
  }

  bool readHex4(uint32_t& out) {
    if (pos_ + 4 > text_.size()) return fail("a cut \\u escape");
    out = 0;
    for (int i = 0; i < 4; ++i) {
      const char c = text_[pos_++];
      out <<= 4;
      if (isDigit(c)) {
        out |= static_cast<uint32_t>(c - '0');
      } else if (c >= 'a' && c <= 'f') {
        out |= static_cast<uint32_t>(c - 'a' + 10);
      } else if (c >= 'A' && c <= 'F') {
        out |= static_cast<uint32_t>(c - 'A' + 10);
      } else {
        --pos_;
        return fail("a bad hex digit in a \\u escape");
      }
    }
    return true;
  }

  bool readUnicodeEscape(std::string& out) {
    uint32_t unit = 0;
    if (!readHex4(unit)) return false;
    if (unit >= 0xD800 && unit <= 0xDBFF && text_.substr(pos_, 2) == "\\u") {
      const size_t afterHigh = pos_;
      pos_ += 2;
      uint32_t low = 0;
      if (!readHex4(low)) return false;
      if (low >= 0xDC00 && low <= 0xDFFF) {
        appendUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
        return true;
      }
      pos_ = afterHigh;  // the next escape is a character of its own
    }
    appendUtf8(out, unit >= 0xD800 && unit <= 0xDFFF ? kReplacementCharacter : unit);
    return true;
  }

  bool readString(std::string& out) {
    ++pos_;  // the opening quote
    for (;;) {
      if (atEnd()) return fail("an unterminated string");
      const char c = text_[pos_++];
      if (c == '"') return true;
      if (static_cast<unsigned char>(c) < 0x20) {
        --pos_;
        return fail("a control character in a string");
      }
      if (c != '\\') {
        out += c;
        continue;
      }
      if (atEnd()) return fail("an unterminated string");
      switch (text_[pos_++]) {
        case '"':
          out += '"';
          break;
        case '\\':
          out += '\\';
          break;
        case '/':
          out += '/';
          break;
        case 'b':
          out += '\b';
          break;
        case 'f':
          out += '\f';
          break;
        case 'n':
          out += '\n';
          break;
        case 'r':
          out += '\r';
          break;
        case 't':
          out += '\t';
          break;
        case 'u':
          if (!readUnicodeEscape(out)) return false;
          break;
        default:
          --pos_;
          return fail("an unknown escape");
      }
    }
  }

  std::string_view text_;
  size_t pos_ = 0;
  std::string error_;
};

// The two-character escape of `c`, or null when it has none.
const char* shortEscape(char c) {
  switch (c) {
    case '"':
      return "\\\"";
    case '\\':
      return "\\\\";
    case '\b':
      return "\\b";
    case '\f':
      return "\\f";
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      return nullptr;
  }
}

}  // namespace

void appendJsonString(std::string& out, std::string_view text) {
  if (!isValidUtf8(text)) {
    appendJsonString(
        out, decodeUtf8Repairing(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
    return;
  }
  static constexpr char kHex[] = "0123456789abcdef";
  out += '"';
  for (const char c : text) {
    if (const char* escape = shortEscape(c)) {
      out += escape;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      out += "\\u00";
      out += kHex[c >> 4];
      out += kHex[c & 0xF];
    } else {
      out += c;
    }
  }
  out += '"';
}

StringTableReading readStringTableJson(std::string_view text) {
  return JsonReader(text).read();
}

std::string writeStringTableJson(const StringTable& table) {
  if (table.empty()) return "{}";
  std::string out = "{\n";
  bool first = true;
  for (const auto& [key, value] : table) {
    if (!first) out += ",\n";
    first = false;
    out += "  ";
    appendJsonString(out, key);
    out += " : ";
    appendJsonString(out, value);
  }
  out += "\n}";
  return out;
}

}  // namespace talvero
