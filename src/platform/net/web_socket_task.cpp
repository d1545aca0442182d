#include "platform/net/web_socket_task.h"

#include <libsoup/soup.h>

#include <string_view>

#include "platform/dispatch/main_queue.h"

namespace talvero::net {

static_assert(kWebSocketUnsupportedUrl == G_IO_ERROR_NOT_SUPPORTED);
static_assert(kWebSocketCancelled == G_IO_ERROR_CANCELLED);
static_assert(kWebSocketConnectionRefused == G_IO_ERROR_CONNECTION_REFUSED);
static_assert(kWebSocketClosedWithoutFrame == G_IO_ERROR_CONNECTION_CLOSED);

namespace {

constexpr char kNotConnected[] = "Socket is not connected";

// libsoup refuses, with a critical warning, header lines that HTTP cannot carry; such a
// header is left out instead.
bool isSendableHeader(const std::string& name, const std::string& value) {
  if (name.empty()) return false;
  for (const unsigned char c : name) {
    if (c <= ' ' || c == ':' || c >= 0x7f) return false;
  }
  return value.find_first_of(std::string_view("\r\n\0", 3)) == std::string::npos;
}

// GLib's validator stops at a NUL byte, which a text frame may hold.
bool isValidText(const std::string& text) {
  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find('\0', start);
    if (end == std::string::npos) end = text.size();
    if (!g_utf8_validate_len(text.data() + start, end - start, nullptr)) return false;
    start = end + 1;
  }
  return true;
}

}  // namespace

struct WebSocketTask::Link {
  enum class Phase { Connecting, Open, Ended };

  ~Link() {
    if (connection) {
      g_signal_handlers_disconnect_by_data(connection, this);
      g_object_unref(connection);
    }
    if (message) g_object_unref(message);
    if (cancellable) g_object_unref(cancellable);
    if (session) g_object_unref(session);
  }

  bool socketOpen() const {
    return phase == Phase::Open &&
           soup_websocket_connection_get_state(connection) == SOUP_WEBSOCKET_STATE_OPEN;
  }

  void reportFailure(int code, const std::string& text) {
    if (failureReported) return;
    failureReported = true;
    if (auto handler = events.receiveFailed) handler(code, text);
  }

  void send(const std::string& text, const FailureHandler& onFailure) {
    if (!socketOpen() || cancelled) {
      if (onFailure) onFailure(kNotConnected);
    } else if (!isValidText(text)) {
      if (onFailure) onFailure("The text is not valid UTF-8");
    } else {
      GBytes* bytes = g_bytes_new(text.data(), text.size());
      soup_websocket_connection_send_message(connection, SOUP_WEBSOCKET_DATA_TEXT, bytes);
      g_bytes_unref(bytes);
    }
  }

  void opened(SoupWebsocketConnection* made) {
    connection = made;
    phase = Phase::Open;
    g_signal_connect(made, "message", G_CALLBACK(&Link::onMessage), this);
    g_signal_connect(made, "error", G_CALLBACK(&Link::onError), this);
    g_signal_connect(made, "closed", G_CALLBACK(&Link::onClosed), this);
    if (cancelled) {
      // Cancelled just as the handshake finished: close at once and say nothing of opening.
      soup_websocket_connection_close(made, static_cast<gushort>(cancelCode), nullptr);
    } else {
      if (keepAliveSeconds > 0) {
        soup_websocket_connection_set_keepalive_interval(made, keepAliveSeconds);
      }
      if (auto handler = events.opened) handler();
    }
    keepAliveFailure = nullptr;
    auto waiting = std::move(waitingTexts);
    for (const auto& [text, onFailure] : waiting) send(text, onFailure);
  }

  void connectFailed(int code, const std::string& text) {
    phase = Phase::Ended;
    auto waiting = std::move(waitingTexts);
    auto pingFailure = std::move(keepAliveFailure);
    if (pingFailure) pingFailure(text);
    for (const auto& [unsent, onFailure] : waiting) {
      if (onFailure) onFailure(text);
    }
    reportFailure(code, text);
  }

  static void onConnected(GObject* source, GAsyncResult* result, gpointer data) {
    auto* link = static_cast<Link*>(data);
    const std::shared_ptr<Link> keep = link->self;
    GError* error = nullptr;
    SoupWebsocketConnection* made =
        soup_session_websocket_connect_finish(SOUP_SESSION(source), result, &error);
    if (made) {
      link->opened(made);
      return;
    }
    link->self.reset();
    link->connectFailed(error->code, error->message);
    g_error_free(error);
  }

  static void onMessage(SoupWebsocketConnection*, gint type, GBytes* payload, gpointer data) {
    auto* link = static_cast<Link*>(data);
    gsize size = 0;
    const auto* bytes = static_cast<const uint8_t*>(g_bytes_get_data(payload, &size));
    if (type == SOUP_WEBSOCKET_DATA_TEXT) {
      std::string text = size > 0 ? std::string(reinterpret_cast<const char*>(bytes), size) : "";
      if (auto handler = link->events.textMessage) handler(std::move(text));
    } else if (auto handler = link->events.binaryMessage) {
      handler(
          makeBytes(size > 0 ? std::vector<uint8_t>(bytes, bytes + size) : std::vector<uint8_t>()));
    }
  }

  static void onError(SoupWebsocketConnection*, GError* error, gpointer data) {
    static_cast<Link*>(data)->reportFailure(error->code, error->message);
  }

  static void onClosed(SoupWebsocketConnection* closed, gpointer data) {
    auto* link = static_cast<Link*>(data);
    const std::shared_ptr<Link> keep = std::move(link->self);
    link->phase = Phase::Ended;
    const gushort code = soup_websocket_connection_get_close_code(closed);
    if (link->cancelled) {
      link->reportFailure(kWebSocketCancelled, "Operation was cancelled");
    } else if (code != 0) {
      std::optional<std::vector<uint8_t>> reason;
      if (const char* text = soup_websocket_connection_get_close_data(closed)) {
        const std::string_view view(text);
        reason.emplace(view.begin(), view.end());
      }
      if (auto handler = link->events.closedByPeer) handler(code, std::move(reason));
    } else {
      link->reportFailure(kWebSocketClosedWithoutFrame,
                          "The connection closed without a close frame");
    }
  }

  WebSocketEvents events;
  Phase phase = Phase::Connecting;
  SoupSession* session = nullptr;
  SoupMessage* message = nullptr;
  GCancellable* cancellable = nullptr;
  SoupWebsocketConnection* connection = nullptr;
  bool cancelled = false;
  int cancelCode = 0;
  bool failureReported = false;
  std::vector<std::pair<std::string, FailureHandler>> waitingTexts;
  unsigned keepAliveSeconds = 0;
  FailureHandler keepAliveFailure;
  // Keeps the link while libsoup may still call into it: until connecting has failed or the
  // socket has closed, whether or not anyone still holds the task.
  std::shared_ptr<Link> self;
};

WebSocketTask::WebSocketTask(std::shared_ptr<Link> link) : link_(std::move(link)) {}

WebSocketTask::~WebSocketTask() {
  link_->events = {};
  link_->keepAliveFailure = nullptr;
  for (auto& waiting : link_->waitingTexts) waiting.second = nullptr;
  cancel(SOUP_WEBSOCKET_CLOSE_GOING_AWAY);
}

void WebSocketTask::sendText(const std::string& text, FailureHandler onFailure) {
  if (link_->phase == Link::Phase::Connecting && !link_->cancelled) {
    link_->waitingTexts.emplace_back(text, std::move(onFailure));
    return;
  }
  link_->send(text, onFailure);
}

// libsoup 3.2 has no call that sends one Ping frame; its keepalive sends them on a period
// from the main context and stops when the socket closes, which is the loop wanted here.
void WebSocketTask::keepAlive(unsigned intervalSeconds, FailureHandler onFailure) {
  if (link_->phase == Link::Phase::Connecting && !link_->cancelled) {
    link_->keepAliveSeconds = intervalSeconds;
    link_->keepAliveFailure = std::move(onFailure);
  } else if (link_->socketOpen() && !link_->cancelled) {
    soup_websocket_connection_set_keepalive_interval(link_->connection, intervalSeconds);
  } else if (onFailure) {
    onFailure(kNotConnected);
  }
}

void WebSocketTask::cancel(int code) {
  if (!running()) return;
  link_->cancelled = true;
  link_->cancelCode = code;
  if (link_->phase == Link::Phase::Connecting) {
    g_cancellable_cancel(link_->cancellable);
  } else {
    soup_websocket_connection_close(link_->connection, static_cast<gushort>(code), nullptr);
  }
}

bool WebSocketTask::running() const {
  if (link_->cancelled) return false;
  return link_->phase == Link::Phase::Connecting || link_->socketOpen();
}

struct WebSocketSession::Handle {
  SoupSession* session = nullptr;
};

WebSocketSession::WebSocketSession(unsigned timeoutSeconds) : handle_(std::make_unique<Handle>()) {
  handle_->session = soup_session_new_with_options("timeout", timeoutSeconds, nullptr);
}

WebSocketSession::~WebSocketSession() {
  g_object_unref(handle_->session);
}

std::shared_ptr<WebSocketTask> WebSocketSession::makeTask(const std::string& url,
                                                          const HeaderList& headers,
                                                          WebSocketEvents events) {
  auto link = std::make_shared<WebSocketTask::Link>();
  link->events = std::move(events);
  link->session = SOUP_SESSION(g_object_ref(handle_->session));
  link->cancellable = g_cancellable_new();
  link->self = link;
  link->message = soup_message_new(SOUP_METHOD_GET, url.c_str());
  if (!link->message) {
    // Reported later like any connection failure, so the caller has its task first.
    dispatch::post([link] {
      link->self.reset();
      link->connectFailed(kWebSocketUnsupportedUrl, "Unsupported URL");
    });
  } else {
    SoupMessageHeaders* request = soup_message_get_request_headers(link->message);
    for (const auto& [name, value] : headers) {
      if (isSendableHeader(name, value)) {
        soup_message_headers_replace(request, name.c_str(), value.c_str());
      }
    }
    soup_session_websocket_connect_async(link->session, link->message, nullptr, nullptr,
                                         G_PRIORITY_DEFAULT, link->cancellable,
                                         &WebSocketTask::Link::onConnected, link.get());
  }
  return std::shared_ptr<WebSocketTask>(new WebSocketTask(link));
}

}  // namespace talvero::net
