#include "services/fetch.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "engine/bindings/creator_utils_bindings.h"
#include "net/http_test_server.h"
#include "platform/dispatch/main_queue.h"
#include "runtime/buffers.h"
#include "services/user_agent.h"
#include "test_support.h"

namespace talvero {
namespace {

using testing::HttpTestServer;
using testing::ReceivedRequest;

// `u` is an object with the fetch rows; `record(url, options)` starts a request whose
// progress, completion or rejection lands in `events`.
class FetchTest : public testing::ScriptTest {
 protected:
  void SetUp() override {
    ScriptTest::SetUp();
    addFetchRows(exports, service);
    context.setGlobal("u", exports.instantiate(context));
    context.evaluate(R"(
      var events = [];
      function record(url, options) {
        u.fetch(url, options,
                function (id, status) { events.push({kind: 'complete', id: id, status: status}); },
                function (message) { events.push({kind: 'reject', message: message}); });
      }
      function withProgress(options) {
        options.onProgress = function (info) { events.push({kind: 'progress', info: info}); };
        return options;
      }
      function endOf(list) { return list.find(function (e) { return e.kind !== 'progress'; }) || null; }
    )");
  }

  // Fetches `url` with the script expression `options` and waits for the event that ends it.
  ScriptValue fetchOnce(const std::string& url, const std::string& options = "{}") {
    context.evaluate("events = []; record('" + url + "', " + options + ");");
    EXPECT_TRUE(dispatch::pumpUntil([&] { return eval("endOf(events)").isObject(); }, 20))
        << "no end for " << url;
    // Blocks queued with the end, such as a late progress report, run too.
    dispatch::pumpFor(0.01);
    return eval("endOf(events)");
  }

  // The body of a completed request as text.
  std::string bodyOf(const ScriptValue& end) {
    return eval("u.fetchToText(" + std::to_string(end.get("id").toNumber()) + ")").toString();
  }

  const ReceivedRequest& lastRequest() {
    EXPECT_FALSE(server.received.empty());
    return server.received.back();
  }

  HttpTestServer server;
  FetchLocalFunction local;
  FetchService service{local};
  ExportTable exports;
};

TEST_F(FetchTest, RowsComeInTheirOrder) {
  EXPECT_EQ(testing::json(context, "Object.keys(u)"),
            R"(["fetch","fetchToJson","fetchToText","disposeFetch","fetchLocal","fetchSlice"])");
}

TEST_F(FetchTest, EveryStatusCompletesAndRedirectsAreFollowed) {
  server.on("/ok", [](SoupServerMessage* m) { testing::respond(m, 200, "hello"); });
  server.on("/empty",
            [](SoupServerMessage* m) { soup_server_message_set_status(m, 204, nullptr); });
  server.on("/moved", [&](SoupServerMessage* m) { testing::redirect(m, 301, server.url("/ok")); });
  server.on("/broken", [](SoupServerMessage* m) { testing::respond(m, 500, "oops"); });

  ::testing::internal::CaptureStdout();
  ScriptValue end = fetchOnce(server.url("/ok"));
  const std::string log = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(end.get("status").toNumber(), 200);
  EXPECT_EQ(bodyOf(end), "hello");
  EXPECT_TRUE(
      std::regex_match(log, std::regex(R"(\[Fetch\] http://127\.0\.0\.1:\d+/ok time: \d+\.\ds\n)")))
      << log;

  end = fetchOnce(server.url("/empty"));
  EXPECT_EQ(end.get("status").toNumber(), 204);
  EXPECT_EQ(bodyOf(end), "");

  end = fetchOnce(server.url("/moved"));
  EXPECT_EQ(end.get("status").toNumber(), 200);
  EXPECT_EQ(bodyOf(end), "hello");
  EXPECT_EQ(lastRequest().path, "/ok");

  end = fetchOnce(server.url("/nowhere"));
  EXPECT_EQ(end.get("kind").toString(), "complete");
  EXPECT_EQ(end.get("status").toNumber(), 404);

  end = fetchOnce(server.url("/broken"));
  EXPECT_EQ(end.get("status").toNumber(), 500);
  EXPECT_EQ(bodyOf(end), "oops");
  EXPECT_TRUE(exceptions.empty());
}

TEST_F(FetchTest, TenMegabytesArriveByteExactOnBothRoutes) {
  const std::string payload = testing::patternBytes(10 * 1024 * 1024);
  server.on("/big", [&](SoupServerMessage* m) { testing::respond(m, 200, payload); });
  for (const std::string options : {"{}", "withProgress({})"}) {
    const ScriptValue end = fetchOnce(server.url("/big"), options);
    ASSERT_EQ(end.get("kind").toString(), "complete") << options;
    const Bytes body = Buffers::get(static_cast<int64_t>(end.get("id").toNumber()));
    ASSERT_TRUE(body);
    const std::string_view received(reinterpret_cast<const char*>(body->data()), body->size());
    EXPECT_EQ(received.size(), payload.size());
    EXPECT_TRUE(received == payload) << options;
  }
  // Progress counts up to the whole, which is reported last, before the completion.
  EXPECT_EQ(testing::json(context, R"(events.filter(function (e, i) {
              return e.kind === 'progress' && i > 0 && events[i - 1].kind === 'progress' &&
                     e.info.loaded < events[i - 1].info.loaded; }).length)"),
            "0");
  EXPECT_EQ(testing::json(context, "events[events.length - 2].info"),
            R"({"loaded":10485760,"total":10485760})");
  EXPECT_EQ(eval("events[events.length - 1].kind").toString(), "complete");
}

TEST_F(FetchTest, ScriptHeadersGoOutAndTheDefaultUserAgentOnlyWithoutOne) {
  server.on("/h", [](SoupServerMessage* m) { testing::respond(m, 200, ""); });

  fetchOnce(server.url("/h"), R"({headers: {"X-Token": "abc", "X-Gone": "1", "x-gone": 5}})");
  EXPECT_EQ(lastRequest().method, "GET");
  EXPECT_EQ(lastRequest().values("X-Token"), std::vector<std::string>{"abc"});
  EXPECT_TRUE(lastRequest().values("X-Gone").empty());
  EXPECT_EQ(lastRequest().values("User-Agent"), std::vector<std::string>{defaultUserAgent()});
  EXPECT_TRUE(lastRequest().body.empty());

  fetchOnce(server.url("/h"), R"({method: "PUT", headers: {"user-agent": "Mine/2"}})");
  EXPECT_EQ(lastRequest().method, "PUT");
  EXPECT_EQ(lastRequest().values("User-Agent"), std::vector<std::string>{"Mine/2"});

  // A cleared user agent is no user agent: the default comes back.
  fetchOnce(server.url("/h"), R"({method: 7, headers: {"User-Agent": null}})");
  EXPECT_EQ(lastRequest().method, "GET");
  EXPECT_EQ(lastRequest().values("User-Agent"), std::vector<std::string>{defaultUserAgent()});
}

TEST_F(FetchTest, TextBodiesGoOutAsUtf8WithOnlyTheScriptsContentType) {
  server.on("/post", [](SoupServerMessage* m) { testing::respond(m, 200, ""); });

  fetchOnce(server.url("/post"), R"({method: "POST", body: "h\u00e9llo \u2713"})");
  EXPECT_EQ(lastRequest().body, "h\xC3\xA9llo \xE2\x9C\x93");
  EXPECT_TRUE(lastRequest().values("Content-Type").empty());

  fetchOnce(server.url("/post"), R"({method: "POST", headers: {"Content-Type": "application/json"},
                                     body: JSON.stringify({a: [1, "x"]})})");
  EXPECT_EQ(lastRequest().body, R"({"a":[1,"x"]})");
  EXPECT_EQ(lastRequest().values("content-type"), std::vector<std::string>{"application/json"});

  fetchOnce(server.url("/post"), R"({method: "POST", body: 42})");
  EXPECT_TRUE(lastRequest().body.empty());
}

TEST_F(FetchTest, MultipartBodyCarriesFileAndTextPartsByteForByte) {
  server.on("/form", [](SoupServerMessage* m) { testing::respond(m, 200, ""); });
  const int64_t file = Buffers::putBuffer(makeBytes({0x00, 0x01, 0x02, 0xFF}));
  const int64_t stale = Buffers::putBuffer(makeBytes({'s'}));
  Buffers::dispose(stale);
  const std::string ids = std::to_string(file) + ", " + std::to_string(stale);

  fetchOnce(server.url("/form"),
            "(function (file, stale) { return {method: 'POST', "
            "headers: {'content-type': 'text/plain'}, body: {_entries: ["
            "['file', {_id: file}, 'a.bin'], ['unnamed', {_id: file}, 7], "
            "['gone', {_id: stale}, 'x'], ['text', 'plain \\u2713'], "
            "['num', 42], ['none']]}}; })(" +
                ids + ")");
  const auto types = lastRequest().values("Content-Type");
  ASSERT_EQ(types.size(), 1u);
  std::smatch match;
  ASSERT_TRUE(
      std::regex_match(types[0], match,
                       std::regex("multipart/form-data; boundary=(Boundary-[0-9A-F]{8}-"
                                  "[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12})")))
      << types[0];
  const std::string b = match[1];
  const std::string file1 = "Content-Type: application/octet-stream\r\n\r\n" +
                            std::string("\x00\x01\x02\xFF", 4) + "\r\n";
  const std::string expected =
      "--" + b + "\r\nContent-Disposition: form-data; name=\"file\"; filename=\"a.bin\"\r\n" +
      file1 + "--" + b +
      "\r\nContent-Disposition: form-data; name=\"unnamed\"; filename=\"blob\"\r\n" + file1 + "--" +
      b + "\r\nContent-Disposition: form-data; name=\"gone\"; filename=\"x\"\r\n" +
      "Content-Type: application/octet-stream\r\n\r\n\r\n" + "--" + b +
      "\r\nContent-Disposition: form-data; name=\"text\"\r\n\r\nplain \xE2\x9C\x93\r\n" + "--" + b +
      "\r\nContent-Disposition: form-data; name=\"num\"\r\n\r\n42\r\n" + "--" + b +
      "\r\nContent-Disposition: form-data; name=\"none\"\r\n\r\n\r\n" + "--" + b + "--\r\n";
  EXPECT_EQ(lastRequest().body, expected);
}

TEST_F(FetchTest, EmptyEntriesSendTheClosingLineAndOtherObjectsSendNothing) {
  server.on("/form", [](SoupServerMessage* m) { testing::respond(m, 200, ""); });

  fetchOnce(server.url("/form"), "{method: 'POST', body: {_entries: []}}");
  const auto types = lastRequest().values("Content-Type");
  ASSERT_EQ(types.size(), 1u);
  const std::string boundary = types[0].substr(types[0].find('=') + 1);
  EXPECT_EQ(lastRequest().body, "--" + boundary + "--\r\n");

  fetchOnce(server.url("/form"), "{method: 'POST', body: {entries: [['a', 'b']]}}");
  EXPECT_TRUE(lastRequest().body.empty());
  EXPECT_TRUE(lastRequest().values("Content-Type").empty());

  // A fresh boundary per request.
  fetchOnce(server.url("/form"), "{method: 'POST', body: {_entries: []}}");
  EXPECT_NE(lastRequest().values("Content-Type"), types);
}

TEST_F(FetchTest, FailuresRejectWithAText) {
  server.on("/drop", [](SoupServerMessage* m) { testing::dropMidBody(m); });
  const std::string refused = "http://127.0.0.1:" + std::to_string(testing::refusedPort()) + "/";
  for (const std::string& url : {refused, server.url("/drop")}) {
    for (const std::string options : {"{}", "withProgress({})"}) {
      const ScriptValue end = fetchOnce(url, options);
      EXPECT_EQ(end.get("kind").toString(), "reject") << url << " " << options;
      const std::string message = end.get("message").toString();
      EXPECT_FALSE(message.empty() || message == "Unknown error" || message == "undefined")
          << message;
    }
  }

  // Never from inside `fetch` itself: the rejection comes from the queue.
  context.evaluate("events = []; record('http://exa mple.com/', {}); var sync = events.length;");
  EXPECT_EQ(eval("sync").toNumber(), 0);
  ASSERT_TRUE(dispatch::pumpUntil([&] { return eval("endOf(events)").isObject(); }, 5));
  EXPECT_EQ(eval("endOf(events).message").toString(), "Invalid URL");
  EXPECT_TRUE(exceptions.empty());
}

TEST_F(FetchTest, ProgressReportsTheFirstPieceAndTheWholeBeforeCompleting) {
  server.on("/small", [](SoupServerMessage* m) { testing::respond(m, 200, "hi"); });
  server.on("/unsized", [](SoupServerMessage* m) { testing::respondChunked(m, "abc"); });

  fetchOnce(server.url("/small"), "withProgress({})");
  EXPECT_EQ(testing::json(context,
                          "events.map(function (e) { return e.kind === 'progress' ? "
                          "[e.info.loaded, e.info.total] : [e.kind, e.status]; })"),
            R"([[2,2],[2,2],["complete",200]])");

  fetchOnce(server.url("/unsized"), "withProgress({})");
  EXPECT_EQ(testing::json(context,
                          "events.map(function (e) { return e.kind === 'progress' ? "
                          "Object.keys(e.info).join() : e.kind; })"),
            R"(["loaded","loaded","complete"])");

  // Only an object selects the progress route.
  for (const std::string options : {"{onProgress: null}", "{onProgress: 5}"}) {
    fetchOnce(server.url("/small"), options);
    EXPECT_EQ(testing::json(context, "events.map(function (e) { return e.kind; })"),
              R"(["complete"])");
  }
}

TEST_F(FetchTest, ExceptionInOnCompleteGoesToTheContextsHandler) {
  server.on("/ok", [](SoupServerMessage* m) { testing::respond(m, 200, "x"); });
  context.evaluate("u.fetch('" + server.url("/ok") +
                   "', {}, function () { throw new Error('boom'); }, function () {});");
  ASSERT_TRUE(dispatch::pumpUntil([&] { return !exceptions.empty(); }, 20));
  EXPECT_EQ(exceptions, std::vector<std::string>{"Error: boom"});
}

class FetchBuffersTest : public testing::ScriptTest {
 protected:
  void SetUp() override {
    ScriptTest::SetUp();
    addFetchRows(exports, service);
    context.setGlobal("u", exports.instantiate(context));
  }

  std::string put(const std::string& bytes) {
    return std::to_string(Buffers::putBuffer(makeBytes({bytes.begin(), bytes.end()})));
  }

  FetchLocalFunction local;
  FetchService service{local};
  ExportTable exports;
};

TEST_F(FetchBuffersTest, JsonTakesOnlyAnObjectOrArrayAtTheTop) {
  EXPECT_EQ(testing::json(context, "u.fetchToJson(" + put(R"([1, {"a": "\u00e9"}])") + ")"),
            R"([1,{"a":"é"}])");
  EXPECT_EQ(testing::json(context, "u.fetchToJson(" + put(R"({"k": null})") + ")"),
            R"({"k":null})");
  for (const std::string bytes : {"42", "\"text\"", "true", "{broken", "", "[1]\xFF"}) {
    EXPECT_TRUE(eval("u.fetchToJson(" + put(bytes) + ")").isNull()) << bytes;
  }
}

TEST_F(FetchBuffersTest, TextIsStrictAndSlicesClampAndRepair) {
  const std::string text = put("a\xC3\xA9\xE2\x9C\x93");  // "aé✓": 1 + 2 + 3 bytes
  EXPECT_EQ(eval("u.fetchToText(" + text + ")").toString(), "a\xC3\xA9\xE2\x9C\x93");
  EXPECT_EQ(eval("u.fetchToText(" + put("ok\xC0\xAF") + ")").toString(), "");

  auto slice = [&](int start, int end) {
    return eval("u.fetchSlice(" + text + ", " + std::to_string(start) + ", " + std::to_string(end) +
                ")")
        .toString();
  };
  EXPECT_EQ(slice(-5, 1), "a");
  EXPECT_EQ(slice(1, 100), "\xC3\xA9\xE2\x9C\x93");
  EXPECT_EQ(slice(0, 2), "a\xEF\xBF\xBD");  // cut through "é"
  EXPECT_EQ(slice(4, 6), "\xEF\xBF\xBD\xEF\xBF\xBD");
  EXPECT_EQ(slice(10, 20), "");
  EXPECT_EQ(slice(3, 1), "");
}

TEST_F(FetchBuffersTest, StaleIdsGiveNeutralResultsWithTheirConsumersLine) {
  const std::string id = put("[1]");
  context.evaluate("u.disposeFetch(" + id + "); u.disposeFetch(" + id + ");");
  ::testing::internal::CaptureStdout();
  const bool json = eval("u.fetchToJson(" + id + ")").isNull();
  const std::string text = eval("u.fetchToText(" + id + ")").toString();
  const std::string slice = eval("u.fetchSlice(" + id + ", 0, 1)").toString();
  context.evaluate("u.disposeFetch(" + id + ");");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[Buffers] fetchToJson: stale id " + id + "\n[Buffers] fetchToText: stale id " + id +
                "\n[Buffers] fetchSlice: stale id " + id + "\n");
  EXPECT_TRUE(json);
  EXPECT_EQ(text, "");
  EXPECT_EQ(slice, "");
}

TEST_F(FetchBuffersTest, LocalPathsKeepTheirFirstIdWhileTheHostIsAskedEachTime) {
  EXPECT_EQ(eval("u.fetchLocal('a.json')").toNumber(), -1);  // no host function yet
  int asked = 0;
  local = [&](const std::string& path) -> Bytes {
    ++asked;
    if (path == "missing") return nullptr;
    return makeBytes({'v', static_cast<uint8_t>('0' + asked)});
  };
  EXPECT_EQ(eval("u.fetchLocal('missing')").toNumber(), -1);
  const double first = eval("u.fetchLocal('a.json')").toNumber();
  const double again = eval("u.fetchLocal('a.json')").toNumber();
  EXPECT_GE(first, 0);
  EXPECT_EQ(again, first);
  EXPECT_EQ(asked, 3);
  const std::string id = std::to_string(static_cast<int64_t>(first));
  EXPECT_EQ(eval("u.fetchToText(" + id + ")").toString(), "v2");  // the later bytes were dropped

  // Disposing does not forget the path: it keeps answering with the now stale id.
  context.evaluate("u.disposeFetch(" + id + ");");
  EXPECT_EQ(eval("u.fetchLocal('a.json')").toNumber(), first);
  EXPECT_NE(eval("u.fetchLocal('b.json')").toNumber(), first);
}

}  // namespace
}  // namespace talvero
