#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <libsoup/soup.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/net/http_task.h"

namespace talvero::testing {

// A request as the server read it off the wire.
struct ReceivedRequest {
  std::string method;
  std::string path;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;

  // Every value sent under `name`, compared without regard to case.
  std::vector<std::string> values(std::string_view name) const {
    std::vector<std::string> found;
    for (const auto& [key, value] : headers) {
      if (net::sameHeaderName(key, name)) found.push_back(value);
    }
    return found;
  }
};

// A loopback HTTP server on 127.0.0.1 and a free port, served from the main context: the
// test's pumping of the main loop drives client and server alike. Paths without a handler
// answer 404.
class HttpTestServer {
 public:
  using Handler = std::function<void(SoupServerMessage* message)>;

  HttpTestServer() {
    server_ = soup_server_new(nullptr, nullptr);
    GError* error = nullptr;
    if (!soup_server_listen_local(server_, 0, SOUP_SERVER_LISTEN_IPV4_ONLY, &error)) {
      ADD_FAILURE() << "cannot listen: " << error->message;
      g_error_free(error);
      return;
    }
    GSList* uris = soup_server_get_uris(server_);
    port_ = g_uri_get_port(static_cast<GUri*>(uris->data));
    g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
    soup_server_add_handler(server_, nullptr, &HttpTestServer::serve, this, nullptr);
  }

  ~HttpTestServer() {
    soup_server_disconnect(server_);
    g_object_unref(server_);
  }

  HttpTestServer(const HttpTestServer&) = delete;
  HttpTestServer& operator=(const HttpTestServer&) = delete;

  std::string url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
  }

  void on(const std::string& path, Handler handler) { handlers_[path] = std::move(handler); }

  std::vector<ReceivedRequest> received;

 private:
  static void serve(SoupServer*, SoupServerMessage* message, const char* path, GHashTable*,
                    gpointer self) {
    auto* server = static_cast<HttpTestServer*>(self);
    ReceivedRequest request;
    request.method = soup_server_message_get_method(message);
    request.path = path;
    soup_message_headers_foreach(
        soup_server_message_get_request_headers(message),
        +[](const char* name, const char* value, gpointer list) {
          static_cast<decltype(request.headers)*>(list)->emplace_back(name, value);
        },
        &request.headers);
    GBytes* body = soup_message_body_flatten(soup_server_message_get_request_body(message));
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_bytes_get_data(body, &size));
    request.body.assign(data ? data : "", size);
    g_bytes_unref(body);
    server->received.push_back(std::move(request));

    const auto found = server->handlers_.find(path);
    if (found == server->handlers_.end()) {
      soup_server_message_set_status(message, 404, nullptr);
      return;
    }
    found->second(message);
  }

  SoupServer* server_ = nullptr;
  unsigned port_ = 0;
  std::map<std::string, Handler> handlers_;
};

// Answers with `status` and `body`, with a Content-Length.
inline void respond(SoupServerMessage* message, unsigned status, std::string_view body) {
  soup_server_message_set_status(message, status, nullptr);
  soup_server_message_set_response(message, "application/octet-stream", SOUP_MEMORY_COPY,
                                   body.data(), body.size());
}

// Answers 200 with `body` in chunked encoding, so without a Content-Length.
inline void respondChunked(SoupServerMessage* message, std::string_view body) {
  soup_server_message_set_status(message, 200, nullptr);
  soup_message_headers_set_encoding(soup_server_message_get_response_headers(message),
                                    SOUP_ENCODING_CHUNKED);
  SoupMessageBody* out = soup_server_message_get_response_body(message);
  soup_message_body_append(out, SOUP_MEMORY_COPY, body.data(), body.size());
  soup_message_body_complete(out);
}

inline void redirect(SoupServerMessage* message, unsigned status, const std::string& location) {
  soup_server_message_set_status(message, status, nullptr);
  soup_message_headers_replace(soup_server_message_get_response_headers(message), "Location",
                               location.c_str());
}

// Promises a long body, sends a little of it and closes the connection.
inline void dropMidBody(SoupServerMessage* message) {
  GIOStream* connection = soup_server_message_steal_connection(message);
  const std::string head =
      "HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n" + std::string(1000, 'x');
  g_output_stream_write_all(g_io_stream_get_output_stream(connection), head.data(), head.size(),
                            nullptr, nullptr, nullptr);
  g_io_stream_close(connection, nullptr, nullptr);
  g_object_unref(connection);
}

// A loopback port that nothing listens on: bound once, then closed.
inline int refusedPort() {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
  ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
  ::close(fd);
  return ntohs(address.sin_port);
}

// Bytes that no short repeat or offset slip can match by chance.
inline std::string patternBytes(size_t size) {
  std::string bytes(size, '\0');
  uint32_t state = 2463534242u;
  for (char& byte : bytes) {
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    byte = static_cast<char>(state);
  }
  return bytes;
}

}  // namespace talvero::testing
