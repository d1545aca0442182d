#include "services/multipart_body.h"

#include <cstdint>
#include <random>
#include <variant>
#include <vector>

#include "runtime/buffers.h"

namespace talvero {

std::string makeUuidText() {
  std::random_device source;
  uint8_t bytes[16];
  for (size_t i = 0; i < sizeof bytes; i += 4) {
    const uint32_t word = source();
    for (size_t k = 0; k < 4; ++k) bytes[i + k] = static_cast<uint8_t>(word >> (8 * k));
  }
  bytes[6] = static_cast<uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4
  bytes[8] = static_cast<uint8_t>((bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string text;
  text.reserve(36);
  for (size_t i = 0; i < sizeof bytes; ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text.push_back('-');
    text.push_back(kHex[bytes[i] >> 4]);
    text.push_back(kHex[bytes[i] & 0x0F]);
  }
  return text;
}

std::string makeMultipartBoundary() {
  return "Boundary-" + makeUuidText();
}

namespace {

// One part: its lines up to the blank line, then its content.
struct Part {
  std::string head;
  std::variant<std::string, Bytes> content;

  size_t contentSize() const {
    if (const auto* text = std::get_if<std::string>(&content)) return text->size();
    const Bytes& bytes = std::get<Bytes>(content);
    return bytes ? bytes->size() : 0;
  }
};

Part readPart(const ScriptValue& entry, const std::string& boundary) {
  const std::string name = entry.at(0).toString();
  const ScriptValue value = entry.at(1);
  Part part;
  part.head = "--" + boundary + "\r\n";
  const ScriptValue fileId = value.isObject() ? value.get("_id") : ScriptValue();
  if (fileId.isNumber()) {
    const ScriptValue filename = entry.at(2);
    part.head += "Content-Disposition: form-data; name=\"" + name + "\"; filename=\"" +
                 (filename.isString() ? filename.toString() : std::string("blob")) + "\"\r\n" +
                 "Content-Type: application/octet-stream\r\n\r\n";
    part.content = Buffers::get(fileId.toInt64());
  } else {
    part.head += "Content-Disposition: form-data; name=\"" + name + "\"\r\n\r\n";
    const bool missing = value.empty() || value.isUndefined() || value.isNull();
    part.content = missing ? std::string() : value.toString();
  }
  return part;
}

void append(std::vector<uint8_t>& out, const uint8_t* data, size_t size) {
  out.insert(out.end(), data, data + size);
}

void append(std::vector<uint8_t>& out, const std::string& text) {
  append(out, reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

}  // namespace

Bytes makeMultipartBody(const ScriptValue& entries, const std::string& boundary) {
  const uint32_t count = entries.get("length").toUInt32();
  std::vector<Part> parts;
  parts.reserve(count);
  const std::string closing = "--" + boundary + "--\r\n";
  size_t total = closing.size();
  for (uint32_t i = 0; i < count; ++i) {
    parts.push_back(readPart(entries.at(i), boundary));
    total += parts.back().head.size() + parts.back().contentSize() + 2;
  }
  // Sized once, so that large file parts are copied once and never moved.
  std::vector<uint8_t> body;
  body.reserve(total);
  for (const Part& part : parts) {
    append(body, part.head);
    if (const auto* text = std::get_if<std::string>(&part.content)) {
      append(body, *text);
    } else if (const Bytes& bytes = std::get<Bytes>(part.content)) {
      append(body, bytes->data(), bytes->size());
    }
    append(body, "\r\n");
  }
  append(body, closing);
  return makeBytes(std::move(body));
}

}  // namespace talvero
