#include "platform/net/http_task.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "net/http_test_server.h"
#include "platform/dispatch/main_queue.h"

namespace talvero::net {
namespace {

using testing::HttpTestServer;

// What one task reported, in order.
struct Outcome {
  std::vector<std::string> events;
  std::optional<HttpResponse> response;
  size_t dataBytes = 0;
  size_t lastLoaded = 0;
  Bytes body;
  std::string error;
  bool ended = false;
};

DataTaskCallbacks recordInto(Outcome& outcome) {
  DataTaskCallbacks callbacks;
  callbacks.onResponse = [&outcome](const HttpResponse& response) {
    outcome.events.push_back("response");
    outcome.response = response;
  };
  callbacks.onData = [&outcome](const uint8_t*, size_t size, size_t loaded) {
    if (outcome.events.back() != "data") outcome.events.push_back("data");
    outcome.dataBytes += size;
    outcome.lastLoaded = loaded;
  };
  callbacks.onComplete = [&outcome](const HttpResponse&, Bytes body) {
    outcome.events.push_back("complete");
    outcome.body = std::move(body);
    outcome.ended = true;
  };
  callbacks.onError = [&outcome](const std::string& message) {
    outcome.events.push_back("error");
    outcome.error = message;
    outcome.ended = true;
  };
  return callbacks;
}

Outcome run(HttpRequest request, double deadline = 20) {
  Outcome outcome;
  startDataTask(std::move(request), recordInto(outcome));
  EXPECT_TRUE(dispatch::pumpUntil([&] { return outcome.ended; }, deadline)) << "no end reported";
  return outcome;
}

std::string text(const Bytes& body) {
  return body ? std::string(body->begin(), body->end()) : "<none>";
}

TEST(HttpTask, ReportsResponseThenDataThenTheWholeBody) {
  HttpTestServer server;
  const std::string payload = testing::patternBytes(3 * 1024 * 1024 + 17);
  server.on("/data", [&](SoupServerMessage* message) {
    soup_message_headers_append(soup_server_message_get_response_headers(message), "X-Reply",
                                "yes");
    testing::respond(message, 201, payload);
  });
  HttpRequest request;
  request.url = server.url("/data");
  request.setHeader("X-Asked", "1");
  const Outcome outcome = run(request);

  EXPECT_EQ(outcome.events, (std::vector<std::string>{"response", "data", "complete"}));
  ASSERT_TRUE(outcome.response);
  EXPECT_EQ(outcome.response->status, 201);
  EXPECT_EQ(outcome.response->contentLength, static_cast<int64_t>(payload.size()));
  bool sawReply = false;
  for (const auto& [name, value] : outcome.response->headers) {
    sawReply = sawReply || (sameHeaderName(name, "x-reply") && value == "yes");
  }
  EXPECT_TRUE(sawReply);
  EXPECT_EQ(outcome.dataBytes, payload.size());
  EXPECT_EQ(outcome.lastLoaded, payload.size());
  EXPECT_TRUE(text(outcome.body) == payload);
  ASSERT_EQ(server.received.size(), 1u);
  EXPECT_EQ(server.received[0].values("x-asked"), std::vector<std::string>{"1"});
}

TEST(HttpTask, BodyOfUnknownLengthArrivesWhole) {
  HttpTestServer server;
  const std::string payload = testing::patternBytes(2 * 1024 * 1024 + 5);
  server.on("/chunked",
            [&](SoupServerMessage* message) { testing::respondChunked(message, payload); });
  HttpRequest request;
  request.url = server.url("/chunked");
  const Outcome outcome = run(request);
  ASSERT_TRUE(outcome.response);
  EXPECT_FALSE(outcome.response->contentLength);
  EXPECT_TRUE(text(outcome.body) == payload) << outcome.error;
}

TEST(HttpTask, TimesOutWhenTheServerNeverAnswers) {
  HttpTestServer server;
  server.on("/silent", [](SoupServerMessage* message) { soup_server_message_pause(message); });
  HttpRequest request;
  request.url = server.url("/silent");
  request.timeoutSeconds = 0.3;
  const Outcome outcome = run(request, 5);
  EXPECT_EQ(outcome.events, std::vector<std::string>{"error"});
  EXPECT_EQ(outcome.error, "The request timed out.");
}

TEST(HttpTask, UnsupportedSchemeFailsOnlyAfterStartReturns) {
  Outcome outcome;
  HttpRequest request;
  request.url = "ftp://127.0.0.1/file";
  startDataTask(request, recordInto(outcome));
  EXPECT_TRUE(outcome.events.empty());
  ASSERT_TRUE(dispatch::pumpUntil([&] { return outcome.ended; }, 5));
  EXPECT_EQ(outcome.events, std::vector<std::string>{"error"});
  EXPECT_FALSE(outcome.error.empty());
}

}  // namespace
}  // namespace talvero::net
