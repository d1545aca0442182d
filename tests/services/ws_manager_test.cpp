#include "services/ws_manager.h"

#include <gtest/gtest.h>
#include <libsoup/soup.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "engine/bindings/creator_utils_bindings.h"
#include "platform/dispatch/main_queue.h"
#include "test_support.h"

namespace talvero {
namespace {

using testing::json;

// Runs the main loop until `done`, for a few seconds at most, so that no test can hang.
bool settle(const std::function<bool()>& done, double seconds = 5.0) {
  return dispatch::pumpUntil(done, seconds);
}

// A client as the loopback server sees it.
struct Peer {
  SoupWebsocketConnection* connection = nullptr;
  SoupMessageHeaders* requestHeaders = nullptr;
  std::vector<std::string> received;  // text frames
  int closeCode = -1;                 // the client's close code, once closed
};

// A web socket server on 127.0.0.1 at path "/ws"; scripts reach the sockets through `utils`,
// and their callback `cb` notes each event as "event:data" in `events`.
class WsManagerTest : public testing::ScriptTest {
 protected:
  void SetUp() override {
    ScriptTest::SetUp();
    soup_server_add_websocket_handler(server, "/ws", nullptr, nullptr, &onSocket, &peers, nullptr);
    ASSERT_TRUE(soup_server_listen_local(server, 0, SOUP_SERVER_LISTEN_IPV4_ONLY, nullptr));
    GSList* uris = soup_server_get_uris(server);
    url =
        "ws://127.0.0.1:" + std::to_string(g_uri_get_port(static_cast<GUri*>(uris->data))) + "/ws";
    g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
    addWebSocketRows(rows, manager);
    install(context);
  }

  void TearDown() override {
    manager.closeAll(context);
    settle([&] { return std::ranges::all_of(peers, [](auto& p) { return p->closeCode >= 0; }); },
           1.0);
    for (const auto& peer : peers) {
      g_signal_handlers_disconnect_by_data(peer->connection, peer.get());
      g_object_unref(peer->connection);
      soup_message_headers_unref(peer->requestHeaders);
    }
    soup_server_disconnect(server);
    g_object_unref(server);
  }

  static void onSocket(SoupServer*, SoupServerMessage* message, const char*,
                       SoupWebsocketConnection* connection, gpointer peers) {
    auto peer = std::make_unique<Peer>();
    peer->connection = SOUP_WEBSOCKET_CONNECTION(g_object_ref(connection));
    peer->requestHeaders =
        soup_message_headers_ref(soup_server_message_get_request_headers(message));
    g_signal_connect(
        connection, "message",
        G_CALLBACK(+[](SoupWebsocketConnection*, gint type, GBytes* payload, Peer* to) {
          gsize size = 0;
          const auto* text = static_cast<const char*>(g_bytes_get_data(payload, &size));
          if (type == SOUP_WEBSOCKET_DATA_TEXT) to->received.emplace_back(text, size);
        }),
        peer.get());
    g_signal_connect(connection, "closed",
                     G_CALLBACK(+[](SoupWebsocketConnection* closed, Peer* to) {
                       to->closeCode = soup_websocket_connection_get_close_code(closed);
                     }),
                     peer.get());
    static_cast<std::vector<std::unique_ptr<Peer>>*>(peers)->push_back(std::move(peer));
  }

  void install(const ScriptContext& into) {
    into.setGlobal("utils", rows.instantiate(into));
    into.setGlobal("url", url);
    into.evaluate("var events = []; function cb(e, d) { events.push(e + ':' + d); }");
  }

  // The peer that connected as `index`-th, once it has.
  Peer* peer(size_t index) {
    settle([&] { return peers.size() > index; });
    return peers.size() > index ? peers[index].get() : nullptr;
  }

  bool waitForEvents(size_t count, const ScriptContext* of = nullptr) {
    const ScriptValue global = (of ? *of : context).globalObject();
    return settle([&] { return global.get("events").get("length").toNumber() >= count; });
  }

  // Opens the first socket of the test and waits until both ends have seen it open.
  Peer* openFirst() {
    if (eval("utils.websocketOpen(url, cb)").toNumber() != 0) return nullptr;
    return peer(0) && waitForEvents(1) ? peers[0].get() : nullptr;
  }

  SoupServer* server = soup_server_new(nullptr, nullptr);
  std::vector<std::unique_ptr<Peer>> peers;
  std::string url;
  WsManager manager;
  ExportTable rows;
};

TEST_F(WsManagerTest, CarriesTextBothWaysAndIgnoresIdsWithoutAConnection) {
  EXPECT_EQ(eval("utils.websocketOpen(url, cb)").toNumber(), 0);
  context.evaluate("utils.websocketSend(0, 'early\\u0000bird')");  // waits for the handshake
  Peer* server = peer(0);
  ASSERT_NE(server, nullptr);
  ASSERT_TRUE(waitForEvents(1));
  soup_websocket_connection_send_text(server->connection, "from server");
  ::testing::internal::CaptureStdout();
  context.evaluate(
      "utils.websocketSend(-1, 'a'); utils.websocketSend(1, 'b'); utils.websocketClose(-1);"
      "utils.websocketClose(1); utils.websocketSend(0, 'last');");
  ASSERT_TRUE(waitForEvents(2));
  ASSERT_TRUE(settle([&] { return server->received.size() >= 2; }));
  dispatch::pumpFor(0.05);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(server->received, (std::vector<std::string>{std::string("early\0bird", 10), "last"}));
  EXPECT_EQ(server->closeCode, -1);
  EXPECT_EQ(json(context, "events"), R"(["open:undefined","message:from server"])");
}

TEST_F(WsManagerTest, HeaderObjectsReachTheServerAsTextAndOtherValuesMeanNone) {
  eval("utils.websocketOpen(url, cb, {'X-Token': 'abc', 'X-Count': 5})");
  ASSERT_NE(peer(0), nullptr);
  eval("utils.websocketOpen(url, cb, ['X-Token'])");
  ASSERT_NE(peer(1), nullptr);
  EXPECT_STREQ(soup_message_headers_get_one(peers[0]->requestHeaders, "X-Token"), "abc");
  EXPECT_STREQ(soup_message_headers_get_one(peers[0]->requestHeaders, "X-Count"), "5");
  EXPECT_EQ(soup_message_headers_get_one(peers[1]->requestHeaders, "X-Token"), nullptr);
}

TEST_F(WsManagerTest, BinaryFramesArriveAsMessagesOnlyWhenTheyAreUtf8) {
  Peer* server = openFirst();
  ASSERT_NE(server, nullptr);
  soup_websocket_connection_send_binary(server->connection, "h\xC3\xA9llo", 6);
  soup_websocket_connection_send_binary(server->connection, "\xC3\x28", 2);
  soup_websocket_connection_send_text(server->connection, "after");
  ASSERT_TRUE(waitForEvents(3));
  dispatch::pumpFor(0.05);
  EXPECT_EQ(json(context, "events"),
            "[\"open:undefined\",\"message:h\xC3\xA9llo\",\"message:after\"]");
}

TEST_F(WsManagerTest, ThePeersCloseGivesItsCodeAndLogsItsReason) {
  Peer* server = openFirst();
  ASSERT_NE(server, nullptr);
  ::testing::internal::CaptureStdout();
  soup_websocket_connection_close(server->connection, 4000, "bye");
  const bool closed = waitForEvents(2);
  const std::string output = ::testing::internal::GetCapturedStdout();
  ASSERT_TRUE(closed);
  EXPECT_EQ(eval("events[1]").toString(), "close:4000");
  EXPECT_NE(output.find("[WsConnection] Close reason: bye\n"), std::string::npos) << output;
}

TEST_F(WsManagerTest, CloseSendsGoingAwayKeepsTheSlotAndLaterSendsFailWithALog) {
  Peer* server = openFirst();
  ASSERT_NE(server, nullptr);
  context.evaluate("utils.websocketClose(0)");
  ASSERT_TRUE(settle([&] { return server->closeCode >= 0; }));
  EXPECT_EQ(server->closeCode, 1001);
  ASSERT_TRUE(waitForEvents(2));
  const std::string cancelled = "close:" + std::to_string(net::kWebSocketCancelled);
  EXPECT_EQ(eval("events[1]").toString(), cancelled);
  ::testing::internal::CaptureStdout();
  context.evaluate("utils.websocketSend(0, 'late')");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[WsConnection] Send error: Socket is not connected\n");
  EXPECT_NE(manager.connections()[0], nullptr);

  // Closed while still connecting: it never opens, and the ids go on.
  context.evaluate("var id = utils.websocketOpen(url, cb); utils.websocketClose(id);");
  EXPECT_EQ(eval("id").toNumber(), 1);
  ASSERT_TRUE(waitForEvents(3));
  EXPECT_EQ(eval("events[2]").toString(), cancelled);
}

TEST_F(WsManagerTest, ConnectionsThatCannotBeMadeReportWithoutOpening) {
  context.evaluate(
      "var order = [];"
      "order.push(utils.websocketOpen('not a url', function(e, d) { order.push(e + ':' + d); }));");
  EXPECT_EQ(json(context, "order"), R"(["error:undefined",-1])");
  EXPECT_TRUE(manager.connections().empty());

  soup_server_disconnect(server);
  ::testing::internal::CaptureStdout();
  context.evaluate("utils.websocketOpen(url, cb); utils.websocketOpen('mailto:a@b.c', cb);");
  const bool closed = waitForEvents(2);
  const std::string output = ::testing::internal::GetCapturedStdout();
  ASSERT_TRUE(closed);
  dispatch::pumpFor(0.05);
  EXPECT_EQ(json(context, "events.sort()"),
            "[\"close:" + std::to_string(net::kWebSocketUnsupportedUrl) +
                "\",\"close:" + std::to_string(net::kWebSocketConnectionRefused) + "\"]");
  EXPECT_EQ(output.rfind("[WsConnection] Ping failed: ", 0), 0u) << output;
}

TEST_F(WsManagerTest, AReleasedContextHearsNothingMoreWhileOtherContextsKeepTheirSockets) {
  ScriptContext other = ScriptContext::create();
  install(other);
  ASSERT_NE(openFirst(), nullptr);
  other.evaluate("utils.websocketOpen(url, cb)");
  ASSERT_NE(peer(1), nullptr);
  ASSERT_TRUE(waitForEvents(1, &other));

  // A message already queued for the released context is dropped, not delivered.
  soup_websocket_connection_send_text(peers[0]->connection, "queued");
  ASSERT_TRUE(settle([] { return dispatch::pendingCount() > 0; }));
  manager.closeAll(context);
  EXPECT_EQ(manager.connections()[0], nullptr);
  ASSERT_TRUE(settle([&] { return peers[0]->closeCode >= 0; }));
  EXPECT_EQ(peers[0]->closeCode, 1001);
  context.evaluate("utils.websocketSend(0, 'x'); utils.websocketClose(0);");

  soup_websocket_connection_send_text(peers[1]->connection, "still here");
  other.evaluate("utils.websocketSend(1, 'y')");
  ASSERT_TRUE(waitForEvents(2, &other));
  ASSERT_TRUE(settle([&] { return !peers[1]->received.empty(); }));
  dispatch::pumpFor(0.05);
  EXPECT_EQ(json(context, "events"), R"(["open:undefined"])");
  EXPECT_EQ(json(other, "events"), R"(["open:undefined","message:still here"])");
  EXPECT_TRUE(peers[0]->received.empty());
  manager.closeAll(other);
}

}  // namespace
}  // namespace talvero
