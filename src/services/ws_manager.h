#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/net/web_socket_task.h"
#include "platform/script/script_context.h"

namespace talvero {

// One script web socket: its task, the session it was made in, and the one script function
// that gets every event as `callback(event, data)`.
class WsConnection : public std::enable_shared_from_this<WsConnection> {
 public:
  explicit WsConnection(ScriptValue callback) : callback(std::move(callback)) {}

  // Connects at once; events reach `callback` through `emit`.
  void start(const std::string& url, const net::HeaderList& headers);

  // Queues the call of `callback` with `event` and `data` (undefined when nothing) on the main
  // queue; it happens only if this connection still exists by then.
  void emit(const std::string& event, std::optional<NativeValue> data = std::nullopt);

  std::shared_ptr<net::WebSocketTask> task;
  std::shared_ptr<net::WebSocketSession> session;
  ScriptValue callback;
};

// The web sockets of `_creatorUtils`. A connection's id is its index in `connections`; the
// list only grows, and a slot emptied by `closeAll` stays empty. Main thread only.
class WsManager {
 public:
  static constexpr unsigned kRequestTimeoutSeconds = 30;
  static constexpr unsigned kPingIntervalSeconds = 20;
  static constexpr int kGoingAwayCloseCode = 1001;

  WsManager() = default;
  WsManager(const WsManager&) = delete;
  WsManager& operator=(const WsManager&) = delete;

  // The new connection's id, or -1 when `url` does not parse: `callback` then gets "error"
  // before this returns, and nothing is added.
  int64_t websocketOpen(const std::string& url, const ScriptValue& callback,
                        const ScriptValue& headers);
  // Both do nothing for a negative, past-the-end or emptied id.
  void websocketSend(int64_t id, const std::string& text);
  // Cancels with code 1001; the slot keeps its connection, which may still report.
  void websocketClose(int64_t id);
  // Cancels, with code 1001, every connection whose callback belongs to `context`, and empties
  // its slot: nothing more reaches that context.
  void closeAll(const ScriptContext& context);

  const std::vector<std::shared_ptr<WsConnection>>& connections() const { return connections_; }

 private:
  WsConnection* find(int64_t id) const;

  std::vector<std::shared_ptr<WsConnection>> connections_;  // null: an emptied slot
};

}  // namespace talvero
