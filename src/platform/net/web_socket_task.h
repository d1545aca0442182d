#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/bytes.h"

namespace talvero::net {

// Request headers in the order they are set; a later value for a name replaces the earlier.
using HeaderList = std::vector<std::pair<std::string, std::string>>;

// What a web socket task reports, always on the main thread. Any handler may be left empty.
struct WebSocketEvents {
  // The handshake has finished.
  std::function<void()> opened;
  std::function<void(std::string text)> textMessage;
  std::function<void(Bytes bytes)> binaryMessage;
  // The peer closed with a close frame: its code, and its reason bytes when it gave one.
  std::function<void(int code, std::optional<std::vector<uint8_t>> reason)> closedByPeer;
  // Receiving ended without the peer's close frame: the connection could not be made, broke,
  // or was cancelled here. Comes at most once, with the error's code and text.
  std::function<void(int errorCode, const std::string& message)> receiveFailed;
};

// Error codes are those of the I/O layer (GIO's codes on this platform); a few are fixed:
inline constexpr int kWebSocketUnsupportedUrl = 15;      // not a ws, wss, http or https URL
inline constexpr int kWebSocketCancelled = 19;           // `cancel` ended the task
inline constexpr int kWebSocketConnectionRefused = 39;   // nothing listens at the address
inline constexpr int kWebSocketClosedWithoutFrame = 44;  // the stream ended with no close frame

using FailureHandler = std::function<void(const std::string& error)>;

// The client side of one web socket. Tasks come from a `WebSocketSession` and connect at once;
// everything runs on the main thread. Dropping the last handle cancels a running task with
// close code 1001 and silences its handlers.
class WebSocketTask {
 public:
  ~WebSocketTask();
  WebSocketTask(const WebSocketTask&) = delete;
  WebSocketTask& operator=(const WebSocketTask&) = delete;

  // Sends one text frame; before the handshake has finished the frame waits for it.
  // `onFailure` gets the error when the frame cannot go out, at once when the task has ended.
  void sendText(const std::string& text, FailureHandler onFailure);

  // Pings the peer every `intervalSeconds` for as long as the socket is open, and stops by
  // itself when it closes. `onFailure` gets the error when pinging cannot start, because the
  // connection was never made.
  void keepAlive(unsigned intervalSeconds, FailureHandler onFailure);

  // Ends the connection with a close frame of `code` and no reason, or stops connecting.
  // Receiving then fails with kWebSocketCancelled. Does nothing once the task has ended.
  void cancel(int code);

  // Connecting or open, and not cancelled.
  bool running() const;

 private:
  friend class WebSocketSession;
  struct Link;
  explicit WebSocketTask(std::shared_ptr<Link> link);

  std::shared_ptr<Link> link_;
};

// Where web socket tasks are made: one HTTP session with its own connections.
class WebSocketSession {
 public:
  // `timeoutSeconds` bounds connecting and the handshake; an open socket may stay idle.
  explicit WebSocketSession(unsigned timeoutSeconds);
  ~WebSocketSession();
  WebSocketSession(const WebSocketSession&) = delete;
  WebSocketSession& operator=(const WebSocketSession&) = delete;

  // A task for `url` that starts connecting now. Failures, a URL this session cannot use
  // included, come later through `events.receiveFailed`, never from this call.
  std::shared_ptr<WebSocketTask> makeTask(const std::string& url, const HeaderList& headers,
                                          WebSocketEvents events);

 private:
  struct Handle;
  std::unique_ptr<Handle> handle_;
};

}  // namespace talvero::net
