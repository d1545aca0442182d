#include "services/ws_manager.h"

#include "platform/dispatch/main_queue.h"
#include "platform/net/url.h"
#include "runtime/log.h"
#include "runtime/utf8.h"

namespace talvero {

namespace {

// Nothing, a value that is no object, or an object that gives no dictionary: no headers.
// Otherwise each key with its value in plain text form.
net::HeaderList headerTable(const ScriptValue& headers) {
  net::HeaderList table;
  if (headers.empty() || !headers.isObject()) return table;
  for (const auto& entry : headers.toDictionary()) {
    if (auto text = headers.get(entry.first).toStringIfAny()) {
      table.emplace_back(entry.first, std::move(*text));
    }
  }
  return table;
}

std::string textOf(const std::vector<uint8_t>& bytes) {
  return std::string(bytes.begin(), bytes.end());
}

void logSendError(const std::string& error) {
  logLine("[WsConnection] Send error: " + error);
}

}  // namespace

void WsConnection::start(const std::string& url, const net::HeaderList& headers) {
  // The task is this connection's alone and falls silent when it goes, so its handlers may
  // hold `this`.
  net::WebSocketEvents events;
  events.opened = [this] { emit("open"); };
  events.textMessage = [this](std::string text) { emit("message", NativeValue(std::move(text))); };
  events.binaryMessage = [this](Bytes bytes) {
    if (isValidUtf8(bytes->data(), bytes->size())) emit("message", NativeValue(textOf(*bytes)));
  };
  events.closedByPeer = [this](int code, std::optional<std::vector<uint8_t>> reason) {
    const bool readable = reason && isValidUtf8(reason->data(), reason->size());
    logLine("[WsConnection] Close reason: " + (readable ? textOf(*reason) : "no reason"));
    emit("close", NativeValue(code));
  };
  events.receiveFailed = [this](int errorCode, const std::string&) {
    emit("close", NativeValue(errorCode));
  };
  session = std::make_shared<net::WebSocketSession>(WsManager::kRequestTimeoutSeconds);
  task = session->makeTask(url, headers, std::move(events));
  task->keepAlive(WsManager::kPingIntervalSeconds, [](const std::string& error) {
    logLine("[WsConnection] Ping failed: " + error);
  });
}

void WsConnection::emit(const std::string& event, std::optional<NativeValue> data) {
  dispatch::post([weak = weak_from_this(), event, data = std::move(data)] {
    const std::shared_ptr<WsConnection> self = weak.lock();
    if (!self) return;
    const ScriptValue& callback = self->callback;
    callback.call(
        {NativeValue(event), data ? *data : NativeValue(callback.context().undefinedValue())});
  });
}

int64_t WsManager::websocketOpen(const std::string& url, const ScriptValue& callback,
                                 const ScriptValue& headers) {
  if (!net::isParsableUrl(url)) {
    callback.call({NativeValue("error"), NativeValue(callback.context().undefinedValue())});
    return -1;
  }
  auto connection = std::make_shared<WsConnection>(callback);
  connection->start(url, headerTable(headers));
  connections_.push_back(std::move(connection));
  return static_cast<int64_t>(connections_.size()) - 1;
}

void WsManager::websocketSend(int64_t id, const std::string& text) {
  if (WsConnection* connection = find(id)) connection->task->sendText(text, &logSendError);
}

void WsManager::websocketClose(int64_t id) {
  if (WsConnection* connection = find(id)) connection->task->cancel(kGoingAwayCloseCode);
}

void WsManager::closeAll(const ScriptContext& context) {
  for (auto& slot : connections_) {
    if (!slot || !slot->callback.belongsTo(context)) continue;
    slot->task->cancel(kGoingAwayCloseCode);
    slot.reset();
  }
}

WsConnection* WsManager::find(int64_t id) const {
  if (id < 0 || id >= static_cast<int64_t>(connections_.size())) return nullptr;
  return connections_[static_cast<size_t>(id)].get();
}

}  // namespace talvero
