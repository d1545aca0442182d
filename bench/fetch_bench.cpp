// Throughput of `fetch` against curl on the same loopback server, and the rate of small
// sequential requests.
//
// The server is a plain socket loop on a thread of its own, sending a body held in memory
// with large writes, one thread per connection. Neither client shares a thread or a main
// loop with it, and both read the same bytes from the same code, so its cost is the same for
// both. curl's figure is its own transfer time (`%{time_total}`), which leaves out its process
// start; the wall time of the whole curl process is printed beside it.

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "engine/bindings/creator_utils_bindings.h"
#include "platform/dispatch/main_queue.h"
#include "platform/script/script_context.h"
#include "runtime/buffers.h"
#include "services/fetch.h"

namespace {

using talvero::ScriptContext;
namespace dispatch = talvero::dispatch;

constexpr size_t kBigSize = 100 * 1024 * 1024;
constexpr int kBigRuns = 5;
constexpr int kSmallRequests = 1000;
const std::string kSmallBody = "hello, world\n";

double now() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

bool sendAll(int fd, const char* data, size_t size) {
  while (size > 0) {
    const ssize_t sent = ::send(fd, data, size, MSG_NOSIGNAL);
    if (sent <= 0) return false;
    data += sent;
    size -= static_cast<size_t>(sent);
  }
  return true;
}

class LoopbackServer {
 public:
  LoopbackServer() : big_(kBigSize) {
    for (size_t i = 0; i < big_.size(); ++i) big_[i] = static_cast<char>(i * 2654435761u >> 24);
    listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
    const int yes = 1;
    ::setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener_, 64) != 0) {
      std::perror("listen");
      std::exit(1);
    }
    ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length);
    port_ = ntohs(address.sin_port);
    std::thread([this] { acceptLoop(); }).detach();
  }

  std::string url(const char* path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
  }

 private:
  void acceptLoop() {
    for (;;) {
      const int fd = ::accept(listener_, nullptr, nullptr);
      if (fd < 0) continue;
      std::thread([this, fd] { serve(fd); }).detach();
    }
  }

  // Keep-alive: answers requests on the connection until the client closes it.
  void serve(int fd) {
    const int yes = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    std::string pending;
    std::array<char, 8192> buffer{};
    for (;;) {
      size_t end;
      while ((end = pending.find("\r\n\r\n")) == std::string::npos) {
        const ssize_t got = ::recv(fd, buffer.data(), buffer.size(), 0);
        if (got <= 0) {
          ::close(fd);
          return;
        }
        pending.append(buffer.data(), static_cast<size_t>(got));
      }
      const bool big = pending.compare(0, 9, "GET /big ") == 0;
      pending.erase(0, end + 4);
      const char* body = big ? big_.data() : kSmallBody.data();
      const size_t size = big ? big_.size() : kSmallBody.size();
      const std::string head =
          "HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\n"
          "Content-Length: " +
          std::to_string(size) + "\r\n\r\n";
      if (!sendAll(fd, head.data(), head.size()) || !sendAll(fd, body, size)) {
        ::close(fd);
        return;
      }
    }
  }

  std::vector<char> big_;
  int listener_ = -1;
  int port_ = 0;
};

// The fetch log writes a line per request; it goes to /dev/null while the clock runs.
class QuietStdout {
 public:
  QuietStdout() {
    std::fflush(stdout);
    saved_ = ::dup(1);
    const int null = ::open("/dev/null", O_WRONLY);
    ::dup2(null, 1);
    ::close(null);
  }
  ~QuietStdout() {
    std::fflush(stdout);
    ::dup2(saved_, 1);
    ::close(saved_);
  }

 private:
  int saved_;
};

struct CurlRun {
  double transferSeconds = 0;
  double wallSeconds = 0;
};

CurlRun runCurl(const std::string& arguments) {
  const std::string command = "curl -s -o /dev/null -w '%{time_total}\\n' " + arguments;
  CurlRun run;
  const double start = now();
  FILE* pipe = ::popen(command.c_str(), "r");
  if (!pipe) return run;
  char line[64];
  while (std::fgets(line, sizeof line, pipe)) run.transferSeconds += std::atof(line);
  const int status = ::pclose(pipe);
  run.wallSeconds = now() - start;
  if (status != 0) {
    std::fprintf(stderr, "curl failed (%d)\n", status);
    run.transferSeconds = 0;
  }
  return run;
}

class FetchRunner {
 public:
  FetchRunner() : service_(noLocal_) {
    context_ = ScriptContext::create();
    context_.setExceptionHandler([](const ScriptContext&, const talvero::ScriptValue& error) {
      std::fprintf(stderr, "script error: %s\n", error.toString().c_str());
      std::exit(1);
    });
    talvero::addFetchRows(exports_, service_);
    context_.setGlobal("u", exports_.instantiate(context_));
    context_.evaluate(R"(
      var done = false, failure = null, lastId = -1;
      function fail(message) { failure = String(message); done = true; }
      function one(url) {
        done = false;
        u.fetch(url, {}, function (id) { lastId = id; done = true; }, fail);
      }
      function many(url, count) {
        done = false;
        var left = count;
        function next(id) {
          if (id !== undefined) u.disposeFetch(id);
          if (left-- === 0) { done = true; return; }
          u.fetch(url, {}, next, fail);
        }
        next();
      }
    )");
  }

  // Seconds from the call of `fetch` to its completion on the main queue.
  double timeOne(const std::string& url) { return timed("one('" + url + "')"); }
  double timeMany(const std::string& url, int count) {
    return timed("many('" + url + "', " + std::to_string(count) + ")");
  }

  int64_t lastId() { return static_cast<int64_t>(global("lastId").toNumber()); }

 private:
  double timed(const std::string& call) {
    QuietStdout quiet;
    const double start = now();
    context_.evaluate(call);
    if (!dispatch::pumpUntil([this] { return global("done").toBool(); }, 300)) {
      std::fprintf(stderr, "fetch did not finish\n");
      std::exit(1);
    }
    const double seconds = now() - start;
    if (global("failure").isString()) {
      std::fprintf(stderr, "fetch failed: %s\n", global("failure").toString().c_str());
      std::exit(1);
    }
    return seconds;
  }

  talvero::ScriptValue global(const char* name) { return context_.globalObject().get(name); }

  talvero::FetchLocalFunction noLocal_;
  talvero::FetchService service_;
  talvero::ExportTable exports_;
  ScriptContext context_;
};

}  // namespace

int main() {
  LoopbackServer server;
  FetchRunner fetch;
  const double megabytes = static_cast<double>(kBigSize) / (1024.0 * 1024.0);
  const std::string big = server.url("/big");
  const std::string small = server.url("/small");

  // One warm-up each, so neither pays for a cold page cache or first connection.
  fetch.timeOne(small);
  runCurl(small);

  double bestFetch = 1e9;
  double bestCurl = 1e9;
  double bestCurlWall = 1e9;
  for (int run = 0; run < kBigRuns; ++run) {
    bestFetch = std::min(bestFetch, fetch.timeOne(big));
    const talvero::Bytes body = talvero::Buffers::get(fetch.lastId());
    if (!body || body->size() != kBigSize) {
      std::fprintf(stderr, "fetch body has the wrong size\n");
      return 1;
    }
    talvero::Buffers::dispose(fetch.lastId());
    const CurlRun curl = runCurl(big);
    if (curl.transferSeconds <= 0) return 1;
    bestCurl = std::min(bestCurl, curl.transferSeconds);
    bestCurlWall = std::min(bestCurlWall, curl.wallSeconds);
  }
  const double fetchRate = megabytes / bestFetch;
  const double curlRate = megabytes / bestCurl;
  std::printf("100 MB body, best of %d:\n", kBigRuns);
  std::printf("  fetch into Buffers   %8.1f MB/s  (%.3f s)\n", fetchRate, bestFetch);
  std::printf("  curl -o /dev/null    %8.1f MB/s  (%.3f s transfer, %.3f s process)\n", curlRate,
              bestCurl, bestCurlWall);
  std::printf("  ratio fetch / curl   %8.2f  (goal >= 0.80)\n", fetchRate / curlRate);

  double bestMany = 1e9;
  for (int run = 0; run < kBigRuns; ++run) {
    bestMany = std::min(bestMany, fetch.timeMany(small, kSmallRequests));
  }
  // curl on one connection with the same count of requests, from a config file.
  char configPath[] = "/tmp/talvero_fetch_bench_XXXXXX";
  const int configFd = ::mkstemp(configPath);
  std::string config;
  for (int i = 0; i < kSmallRequests; ++i)
    config += "url = \"" + small + "\"\noutput = /dev/null\n";
  const bool written =
      ::write(configFd, config.data(), config.size()) == static_cast<ssize_t>(config.size());
  ::close(configFd);
  const CurlRun curlMany = written ? runCurl(std::string("-K ") + configPath) : CurlRun();
  ::unlink(configPath);
  std::printf("%d small sequential requests, best of %d:\n", kSmallRequests, kBigRuns);
  std::printf("  fetch                %8.0f requests/s\n", kSmallRequests / bestMany);
  if (curlMany.wallSeconds > 0) {
    std::printf("  curl (one process)   %8.0f requests/s\n", kSmallRequests / curlMany.wallSeconds);
  }
  return 0;
}
