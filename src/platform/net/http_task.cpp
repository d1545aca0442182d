#include "platform/net/http_task.h"

#include <sys/mman.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <new>

#include "platform/dispatch/main_queue.h"
#include "platform/net/soup_session.h"

namespace talvero::net {

bool sameHeaderName(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    return std::tolower(static_cast<unsigned char>(x)) ==
           std::tolower(static_cast<unsigned char>(y));
  });
}

void HttpRequest::setHeader(std::string_view name, std::string value) {
  for (auto& [existing, current] : headers) {
    if (sameHeaderName(existing, name)) {
      current = std::move(value);
      return;
    }
  }
  headers.emplace_back(std::string(name), std::move(value));
}

void HttpRequest::removeHeader(std::string_view name) {
  std::erase_if(headers, [name](const auto& entry) { return sameHeaderName(entry.first, name); });
}

const std::string* HttpRequest::header(std::string_view name) const {
  for (const auto& [existing, value] : headers) {
    if (sameHeaderName(existing, name)) return &value;
  }
  return nullptr;
}

namespace {

// Large enough that a fast local transfer takes few turns of the main loop, small enough
// that a slow one reports progress often.
constexpr size_t kReadSize = 512 * 1024;
// A declared length is trusted for reservation up to this; a larger body grows as it comes.
constexpr size_t kMaxReservation = size_t{1} << 30;
constexpr size_t kTailReadSize = 16 * 1024;

constexpr size_t kHugePage = size_t{2} << 20;

// Grows the body's storage to `capacity`. Large bodies ask for huge pages: faulting 100 MB in
// 4 KiB pages can take longer than receiving it, above all under virtualisation.
void reserveBody(std::vector<uint8_t>& body, size_t capacity) {
  body.reserve(capacity);
  if (body.capacity() < 2 * kHugePage) return;
  const auto begin = reinterpret_cast<uintptr_t>(body.data());
  const uintptr_t first = (begin + kHugePage - 1) & ~(kHugePage - 1);
  const uintptr_t last = (begin + body.capacity()) & ~(kHugePage - 1);
  if (last > first) madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
}

std::optional<int64_t> parseContentLength(const char* text) {
  if (!text) return std::nullopt;
  const std::string_view view(text);
  int64_t value = 0;
  const auto [end, error] = std::from_chars(view.data(), view.data() + view.size(), value);
  if (error != std::errc() || end != view.data() + view.size() || value < 0) return std::nullopt;
  return value;
}

// A header the wire can carry: a token name and a value without line breaks.
bool isSendableHeader(const std::string& name, const std::string& value) {
  if (name.empty()) return false;
  for (const char c : name) {
    if (c <= ' ' || c >= 127 || c == ':') return false;
  }
  return value.find_first_of("\r\n", 0) == std::string::npos &&
         value.find('\0') == std::string::npos;
}

class DataTask {
 public:
  DataTask(HttpRequest request, DataTaskCallbacks callbacks)
      : request_(std::move(request)), callbacks_(std::move(callbacks)) {}

  ~DataTask() {
    if (timer_) g_source_remove(timer_);
    if (message_) g_object_unref(message_);
    if (stream_) g_object_unref(stream_);
    if (cancellable_) g_object_unref(cancellable_);
  }

  void start() {
    message_ = soup_message_new(request_.method.c_str(), request_.url.c_str());
    if (!message_) {
      // Reported from the queue, so that no callback runs before `startDataTask` returns.
      dispatch::post([this] { fail("unsupported URL"); });
      return;
    }
    SoupMessageHeaders* headers = soup_message_get_request_headers(message_);
    for (const auto& [name, value] : request_.headers) {
      if (isSendableHeader(name, value)) {
        soup_message_headers_replace(headers, name.c_str(), value.c_str());
      }
    }
    if (request_.body) setRequestBody();
    cancellable_ = g_cancellable_new();
    noteActivity();
    armTimer(timeoutMilliseconds());
    soup_session_send_async(sharedSession(), message_, G_PRIORITY_DEFAULT, cancellable_,
                            &DataTask::sent, this);
  }

 private:
  guint timeoutMilliseconds() const {
    const double seconds = std::clamp(request_.timeoutSeconds, 0.001, 86400.0);
    return static_cast<guint>(seconds * 1000.0);
  }

  void setRequestBody() {
    auto* holder = new Bytes(request_.body);
    GBytes* bytes = g_bytes_new_with_free_func(
        (*holder)->data(), (*holder)->size(),
        +[](gpointer data) { delete static_cast<Bytes*>(data); }, holder);
    // No content type of our own: the request carries only the headers its caller gave.
    soup_message_set_request_body_from_bytes(message_, nullptr, bytes);
    g_bytes_unref(bytes);
  }

  void noteActivity() { deadline_ = g_get_monotonic_time() + gint64{timeoutMilliseconds()} * 1000; }

  // One timer for the whole task: when it fires before the deadline, which moved on with
  // each piece of data, it waits out the rest.
  void armTimer(guint milliseconds) {
    timer_ = g_timeout_add(
        std::max(milliseconds, 1u),
        +[](gpointer self) -> gboolean {
          static_cast<DataTask*>(self)->timerFired();
          return G_SOURCE_REMOVE;
        },
        this);
  }

  void timerFired() {
    timer_ = 0;
    const gint64 remaining = deadline_ - g_get_monotonic_time();
    if (remaining > 0) {
      armTimer(static_cast<guint>((remaining + 999) / 1000));
      return;
    }
    timedOut_ = true;
    g_cancellable_cancel(cancellable_);
  }

  static void sent(GObject* source, GAsyncResult* result, gpointer self) {
    auto* task = static_cast<DataTask*>(self);
    GError* error = nullptr;
    task->stream_ = soup_session_send_finish(SOUP_SESSION(source), result, &error);
    if (!task->stream_) {
      task->fail(error);
      return;
    }
    task->receiveResponse();
    task->readNext();
  }

  void receiveResponse() {
    noteActivity();
    response_.status = static_cast<int>(soup_message_get_status(message_));
    SoupMessageHeaders* headers = soup_message_get_response_headers(message_);
    soup_message_headers_foreach(
        headers,
        +[](const char* name, const char* value, gpointer list) {
          static_cast<HeaderList*>(list)->emplace_back(name, value);
        },
        &response_.headers);
    response_.contentLength =
        parseContentLength(soup_message_headers_get_one(headers, "Content-Length"));
    if (response_.contentLength) {
      const auto declared = static_cast<uint64_t>(*response_.contentLength);
      try {
        reserveBody(body_, static_cast<size_t>(std::min<uint64_t>(declared, kMaxReservation)));
      } catch (const std::bad_alloc&) {
        // The body grows as it arrives instead.
      }
    }
    if (callbacks_.onResponse) callbacks_.onResponse(response_);
  }

  // Reads straight into the body's own storage. Only `loaded` bytes are real; the vector's
  // size is how far it has been made readable, so no byte is cleared twice.
  void readNext() {
    size_t spare = body_.capacity() - loaded_;
    if (spare == 0) {
      const bool endExpected =
          response_.contentLength && loaded_ >= static_cast<uint64_t>(*response_.contentLength);
      if (endExpected) {
        // The read that meets the end goes aside, so a full body is not moved to grow it.
        readInto(tail_, kTailReadSize, &DataTask::readTail);
        return;
      }
      reserveBody(body_, std::max(body_.capacity() * 2, kReadSize));
      spare = body_.capacity() - loaded_;
    }
    const size_t want = std::min(spare, kReadSize);
    if (body_.size() < loaded_ + want) body_.resize(loaded_ + want);
    readInto(body_.data() + loaded_, want, &DataTask::readBody);
  }

  void readInto(uint8_t* target, size_t size, GAsyncReadyCallback done) {
    g_input_stream_read_async(stream_, target, size, G_PRIORITY_DEFAULT, cancellable_, done, this);
  }

  static void readBody(GObject*, GAsyncResult* result, gpointer self) {
    auto* task = static_cast<DataTask*>(self);
    const gssize count = task->finishRead(result);
    if (count > 0) task->received(task->body_.data() + task->loaded_, static_cast<size_t>(count));
  }

  static void readTail(GObject*, GAsyncResult* result, gpointer self) {
    auto* task = static_cast<DataTask*>(self);
    const gssize count = task->finishRead(result);
    if (count <= 0) return;
    task->body_.resize(task->loaded_);
    task->body_.insert(task->body_.end(), task->tail_, task->tail_ + count);
    task->received(task->body_.data() + task->loaded_, static_cast<size_t>(count));
  }

  // The count read; at the end of the body or on an error the task has ended.
  gssize finishRead(GAsyncResult* result) {
    GError* error = nullptr;
    const gssize count = g_input_stream_read_finish(stream_, result, &error);
    if (count < 0) {
      fail(error);
    } else if (count == 0) {
      complete();
    }
    return count;
  }

  void received(const uint8_t* data, size_t size) {
    loaded_ += size;
    noteActivity();
    if (callbacks_.onData) callbacks_.onData(data, size, loaded_);
    readNext();
  }

  void complete() {
    g_input_stream_close(stream_, nullptr, nullptr);
    body_.resize(loaded_);
    Bytes body = std::make_shared<const std::vector<uint8_t>>(std::move(body_));
    if (callbacks_.onComplete) callbacks_.onComplete(response_, std::move(body));
    delete this;
  }

  void fail(GError* error) {
    std::string message = error && error->message ? error->message : "";
    if (error) g_error_free(error);
    fail(timedOut_ ? "The request timed out." : message);
  }

  void fail(const std::string& message) {
    if (callbacks_.onError) callbacks_.onError(message);
    delete this;
  }

  HttpRequest request_;
  DataTaskCallbacks callbacks_;
  SoupMessage* message_ = nullptr;
  GCancellable* cancellable_ = nullptr;
  GInputStream* stream_ = nullptr;
  HttpResponse response_;
  std::vector<uint8_t> body_;
  size_t loaded_ = 0;
  uint8_t tail_[kTailReadSize];
  guint timer_ = 0;
  gint64 deadline_ = 0;  // monotonic microseconds
  bool timedOut_ = false;
};

}  // namespace

void startDataTask(HttpRequest request, DataTaskCallbacks callbacks) {
  (new DataTask(std::move(request), std::move(callbacks)))->start();
}

}  // namespace talvero::net
