#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/bytes.h"

namespace talvero::net {

using HeaderList = std::vector<std::pair<std::string, std::string>>;

// One HTTP request. Header names are unique without regard to case: setting a name that is
// already there replaces its value in place.
struct HttpRequest {
  std::string url;
  std::string method = "GET";
  HeaderList headers;
  Bytes body;  // null: no body
  // The longest wait for the connection, the response or the next piece of the body.
  double timeoutSeconds = 60.0;

  void setHeader(std::string_view name, std::string value);
  void removeHeader(std::string_view name);
  const std::string* header(std::string_view name) const;
};

struct HttpResponse {
  int status = 0;
  HeaderList headers;  // as received, in order
  // The "Content-Length" header as a decimal integer; unset when missing or unreadable.
  std::optional<int64_t> contentLength;
};

// What a data task reports, always on the main thread. Exactly one of `onComplete` and
// `onError` ends the task; `onResponse` and `onData` come before it, when there is a response.
struct DataTaskCallbacks {
  std::function<void(const HttpResponse& response)> onResponse;
  // One piece of the body as it arrives, valid during the call; `loaded` counts all so far.
  std::function<void(const uint8_t* data, size_t size, size_t loaded)> onData;
  // The whole body, gathered where it arrived: nothing is copied after the network read.
  std::function<void(const HttpResponse& response, Bytes body)> onComplete;
  // A readable text from the network layer, such as "Connection refused".
  std::function<void(const std::string& message)> onError;
};

// Starts the request on the process's shared session and returns at once. Redirects are
// followed; an HTTP error status is a completed task, not an error. The task keeps itself
// alive until it has reported its end; there is no cancelling. Main thread only.
void startDataTask(HttpRequest request, DataTaskCallbacks callbacks);

bool sameHeaderName(std::string_view a, std::string_view b);

}  // namespace talvero::net
