#include "services/fetch.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/dispatch/main_queue.h"
#include "platform/net/http_task.h"
#include "platform/net/url.h"
#include "runtime/buffers.h"
#include "runtime/log.h"
#include "runtime/utf8.h"
#include "services/multipart_body.h"
#include "services/user_agent.h"

namespace talvero {

namespace {

constexpr double kFetchTimeoutSeconds = 60.0;

double nowSeconds() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

void logTiming(const std::string& url, double startTime) {
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.1f", nowSeconds() - startTime);
  logLine("[Fetch] " + url + " time: " + seconds + "s");
}

void rejectLater(ScriptValue onReject, const std::string& message) {
  dispatch::post(
      [onReject = std::move(onReject), message = message.empty() ? "Unknown error" : message] {
        onReject.call({message});
      });
}

void completeLater(ScriptValue onComplete, int64_t id, int status) {
  dispatch::post([onComplete = std::move(onComplete), id, status] {
    onComplete.call({id, status});
  });
}

// Pairs in the object's own order; a later pair may clear what an earlier one set.
void applyHeaders(net::HttpRequest& request, const ScriptValue& headers) {
  if (!headers.isObject()) return;
  for (const auto& [name, value] : headers.toDictionary()) {
    if (value.isString()) {
      request.setHeader(name, value.asString());
    } else {
      request.removeHeader(name);
    }
  }
}

void applyBody(net::HttpRequest& request, const ScriptValue& body) {
  if (body.isString()) {
    const std::string text = body.toString();
    request.body = makeBytes(std::vector<uint8_t>(text.begin(), text.end()));
    return;
  }
  const ScriptValue entries = body.isObject() ? body.get("_entries") : ScriptValue();
  if (!entries.isArray()) return;
  const std::string boundary = makeMultipartBoundary();
  request.setHeader("Content-Type", "multipart/form-data; boundary=" + boundary);
  request.body = makeMultipartBody(entries, boundary);
}

// The state of one request with progress. The body itself is gathered in place by the
// data task, so unlike a chunk list there is nothing to join at the end.
struct FetchSessionDelegate {
  std::string url;
  double startTime = 0;
  ScriptValue onProgress;
  ScriptValue onComplete;
  ScriptValue onReject;
  size_t loaded = 0;
  std::optional<int64_t> contentLength;
  int statusCode = 0;
  double lastProgressTime = 0;
  static constexpr double progressInterval = 0.05;

  void progressLater(size_t loadedNow) const {
    NativeValue::Dict info{{"loaded", static_cast<double>(loadedNow)}};
    if (contentLength) info.emplace_back("total", static_cast<double>(*contentLength));
    dispatch::post([onProgress = onProgress, info = NativeValue(std::move(info))] {
      onProgress.call({info});
    });
  }
};

void startPlain(net::HttpRequest request, double startTime, ScriptValue onComplete,
                ScriptValue onReject) {
  net::DataTaskCallbacks callbacks;
  callbacks.onComplete = [url = request.url, startTime, onComplete = std::move(onComplete)](
                             const net::HttpResponse& response, Bytes body) {
    const int64_t id = Buffers::putBuffer(std::move(body));
    logTiming(url, startTime);
    completeLater(onComplete, id, response.status);
  };
  callbacks.onError = [onReject = std::move(onReject)](const std::string& message) {
    rejectLater(onReject, message);
  };
  net::startDataTask(std::move(request), std::move(callbacks));
}

void startWithProgress(net::HttpRequest request, std::shared_ptr<FetchSessionDelegate> delegate) {
  net::DataTaskCallbacks callbacks;
  callbacks.onResponse = [delegate](const net::HttpResponse& response) {
    delegate->statusCode = response.status;
    delegate->contentLength = response.contentLength;
  };
  callbacks.onData = [delegate](const uint8_t*, size_t size, size_t) {
    delegate->loaded += size;
    const double now = nowSeconds();
    if (now - delegate->lastProgressTime < FetchSessionDelegate::progressInterval) return;
    delegate->lastProgressTime = now;
    delegate->progressLater(delegate->loaded);
  };
  callbacks.onComplete = [delegate](const net::HttpResponse&, Bytes body) {
    logTiming(delegate->url, delegate->startTime);
    delegate->progressLater(body->size());
    const int64_t id = Buffers::putBuffer(std::move(body));
    completeLater(delegate->onComplete, id, delegate->statusCode);
  };
  callbacks.onError = [delegate](const std::string& message) {
    rejectLater(delegate->onReject, message);
  };
  net::startDataTask(std::move(request), std::move(callbacks));
}

}  // namespace

void fetchInternal(const std::string& url, const ScriptValue& options, ScriptValue onComplete,
                   ScriptValue onReject) {
  if (!net::isParsableUrl(url)) {
    rejectLater(std::move(onReject), "Invalid URL");
    return;
  }
  net::HttpRequest request;
  request.url = url;
  request.timeoutSeconds = kFetchTimeoutSeconds;
  const ScriptValue method = options.get("method");
  if (method.isString() && !method.toString().empty()) request.method = method.toString();
  applyHeaders(request, options.get("headers"));
  if (!request.header("User-Agent")) request.setHeader("User-Agent", defaultUserAgent());
  applyBody(request, options.get("body"));
  const double startTime = nowSeconds();

  const ScriptValue onProgress = options.get("onProgress");
  if (!onProgress.isObject()) {
    startPlain(std::move(request), startTime, std::move(onComplete), std::move(onReject));
    return;
  }
  auto delegate = std::make_shared<FetchSessionDelegate>();
  delegate->url = url;
  delegate->startTime = startTime;
  delegate->onProgress = onProgress;
  delegate->onComplete = std::move(onComplete);
  delegate->onReject = std::move(onReject);
  startWithProgress(std::move(request), std::move(delegate));
}

ScriptValue fetchToJson(const ScriptContext& context, int64_t id) {
  const Bytes bytes = Buffers::get(id);
  if (!bytes) {
    logLine("[Buffers] fetchToJson: stale id " + std::to_string(id));
    return context.nullValue();
  }
  if (isValidUtf8(bytes->data(), bytes->size())) {
    const std::string_view text(reinterpret_cast<const char*>(bytes->data()), bytes->size());
    ScriptValue value = context.parseJson(text);
    // Only a document with an object or array at its top is taken, not a bare scalar.
    if (value.isObject()) return value;
  }
  return context.nullValue();
}

std::string fetchToText(int64_t id) {
  const Bytes bytes = Buffers::get(id);
  if (!bytes) {
    logLine("[Buffers] fetchToText: stale id " + std::to_string(id));
    return {};
  }
  if (!isValidUtf8(bytes->data(), bytes->size())) return {};
  return std::string(bytes->begin(), bytes->end());
}

std::string fetchSlice(int64_t id, int64_t start, int64_t end) {
  const Bytes bytes = Buffers::get(id);
  if (!bytes) {
    logLine("[Buffers] fetchSlice: stale id " + std::to_string(id));
    return {};
  }
  const auto count = static_cast<int64_t>(bytes->size());
  const int64_t from = std::clamp<int64_t>(start, 0, count);
  const int64_t to = std::max(std::min(end, count), from);
  return decodeUtf8Repairing(bytes->data() + from, static_cast<size_t>(to - from));
}

void disposeFetch(int64_t id) {
  Buffers::dispose(id);
}

int64_t FetchService::fetchLocal(const std::string& path) {
  if (!onFetchLocal_) return -1;
  Bytes bytes = onFetchLocal_(path);
  if (!bytes) return -1;
  const auto [entry, added] = fetchLocalMap_.try_emplace(path, 0);
  if (added) entry->second = Buffers::putBuffer(std::move(bytes));
  return entry->second;
}

}  // namespace talvero
