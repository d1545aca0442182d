#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>

#include "platform/bytes.h"
#include "platform/script/script_context.h"

namespace talvero {

// The host's reader of local files for `fetchLocal`: the bytes at a path, or null.
using FetchLocalFunction = std::function<Bytes(const std::string& path)>;

// `fetch(url, options, onComplete, onReject)`: starts an HTTP request and returns at once.
// The body lands in `Buffers`; `onComplete(id, status)` or `onReject(message)` follows from
// the main queue, and an HTTP error status is a completion. Options, all optional: `method`,
// `headers` (a value that is not a text clears that header), `body` (a text, or an object
// whose array `_entries` becomes a multipart form) and `onProgress`, which receives
// `{loaded, total}` as the body arrives and once more, whole, before `onComplete`.
void fetchInternal(const std::string& url, const ScriptValue& options, ScriptValue onComplete,
                   ScriptValue onReject);

// The body of `id` parsed as JSON in `context`; null unless it holds an object or array.
ScriptValue fetchToJson(const ScriptContext& context, int64_t id);
// The body of `id` as text; empty when it is not valid UTF-8.
std::string fetchToText(int64_t id);
// Bytes `start` up to `end` of the body, clamped to it; a cut character reads as U+FFFD.
std::string fetchSlice(int64_t id, int64_t start, int64_t end);
void disposeFetch(int64_t id);

// The state the fetch operations keep between calls: one `Buffers` id per local path.
class FetchService {
 public:
  // `onFetchLocal` is read at each call, so the host may set it after this is made; it must
  // outlive the service.
  explicit FetchService(const FetchLocalFunction& onFetchLocal) : onFetchLocal_(onFetchLocal) {}

  // The id of the bytes that the host gives for `path`, or -1 when it gives none. The host
  // is asked at every call, but a path keeps the id it got first, even once disposed.
  int64_t fetchLocal(const std::string& path);

 private:
  const FetchLocalFunction& onFetchLocal_;
  std::unordered_map<std::string, int64_t> fetchLocalMap_;
};

}  // namespace talvero
