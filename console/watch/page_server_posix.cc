// Each connection has a thread of the library's pool, and a page that listens keeps its own. One
// connection serves one request, so that no idle one keeps the server from ending.

#include <httplib.h>
#include <sys/socket.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string_view>
#include <thread>
#include <utility>

#include "console/watch/page_files.h"
#include "console/watch/page_server.h"
#include "console/watch/token.h"

namespace lisp_worker::console {
namespace {

constexpr const char* kHost = "127.0.0.1";
constexpr std::size_t kThreadCount = kPageCountMax + 8;  // For other requests than events.

// Scripts and styles come from the files of the page alone, and no other page may show this one.
constexpr const char* kSecurityPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

// Looks whether a page is still there this often.
constexpr std::chrono::milliseconds kPulse{200};

// The library's own options would let other processes listen on the same port.
void setSocketOptions(socket_t socket) {
  const int yes = 1;
  static_cast<void>(::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes));
}

class HttpServer : public PageServer {
 public:
  HttpServer(Mailbox& mailbox, std::string token) : mailbox_(mailbox), token_(std::move(token)) {
    server_.new_task_queue = [] { return new httplib::ThreadPool(kThreadCount); };
    server_.set_socket_options(setSocketOptions);
    server_.set_tcp_nodelay(true);
    server_.set_keep_alive_max_count(1);
    server_.set_keep_alive_timeout(1);
    server_.set_read_timeout(1);
    server_.set_write_timeout(2);
    server_.set_payload_max_length(kAnswerSizeMax);
    server_.set_default_headers({{"Content-Security-Policy", kSecurityPolicy},
                                 {"X-Content-Type-Options", "nosniff"},
                                 {"X-Frame-Options", "DENY"},
                                 {"Referrer-Policy", "no-referrer"},
                                 {"Cross-Origin-Resource-Policy", "same-origin"},
                                 {"Cross-Origin-Opener-Policy", "same-origin"},
                                 {"Cache-Control", "no-store"}});
    server_.set_pre_routing_handler(
        [this](const httplib::Request& request, httplib::Response& response) {
          response.status = statusFor(request);
          return response.status == kGoesOn ? httplib::Server::HandlerResponse::Unhandled
                                            : httplib::Server::HandlerResponse::Handled;
        });
    serveFile("", "text/html; charset=utf-8", kPageHtml);
    serveFile("page.css", "text/css; charset=utf-8", kPageCss);
    serveFile("page.js", "text/javascript; charset=utf-8", kPageScript);
    serveFile("icon.svg", "image/svg+xml", kPageIcon);
    server_.Get("/[0-9a-f]+/events", [this](const httplib::Request&, httplib::Response& response) {
      serveEvents(response);
    });
    server_.Post("/[0-9a-f]+/answer",
                 [this](const httplib::Request& request, httplib::Response& response) {
                   const std::string question = request.get_param_value("question");
                   const bool is_taken =
                       mailbox_.answer(std::strtoull(question.c_str(), nullptr, 10), request.body);
                   response.status = is_taken ? 204 : 409;
                 });
  }
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  ~HttpServer() override {
    mailbox_.close();
    if (!thread_.joinable()) return;
    server_.stop();
    thread_.join();
  }

  [[nodiscard]] bool start(int port) {
    const int bound = port == 0 ? server_.bind_to_any_port(kHost)
                                : (server_.bind_to_port(kHost, port) ? port : -1);
    if (bound <= 0) return false;
    host_ = std::string(kHost) + ":" + std::to_string(bound);
    address_ = "http://" + host_ + "/" + token_ + "/";
    thread_ = std::thread([this] { server_.listen_after_bind(); });
    // A server that is stopped before it has begun would begin after it.
    while (!server_.is_running()) std::this_thread::yield();
    return true;
  }

  [[nodiscard]] const std::string& address() const override { return address_; }

 private:
  static constexpr int kGoesOn = -1;

  // The status that refuses a request, or kGoesOn.
  [[nodiscard]] int statusFor(const httplib::Request& request) const {
    // A name that somebody else has made lead here shows in the first, a foreign page in the
    // second.
    if (request.get_header_value("Host") != host_) return 403;
    const bool has_origin = request.has_header("Origin");
    if (has_origin && request.get_header_value("Origin") != "http://" + host_) return 403;
    if (request.method != "GET" && request.method != "POST") return 405;
    if (request.method == "POST" && !has_origin) return 403;
    const std::string_view path = request.path;
    const std::size_t end = path.find('/', 1);
    if (end == std::string_view::npos || !isSameSecret(path.substr(1, end - 1), token_)) return 404;
    return kGoesOn;
  }

  void serveFile(const std::string& name, const char* type, const char* text) {
    std::string pattern = "/[0-9a-f]+/" + name;
    if (const std::size_t dot = pattern.find('.'); dot != std::string::npos) {
      pattern.replace(dot, 1, "\\.");
    }
    server_.Get(pattern, [type, text](const httplib::Request&, httplib::Response& response) {
      response.set_content(text, type);
    });
  }

  void serveEvents(httplib::Response& response) {
    if (++page_count_ > kPageCountMax) {
      --page_count_;
      response.status = 503;
      return;
    }
    response.set_chunked_content_provider(
        "text/event-stream",
        [this, seen = std::uint64_t{0}](std::size_t /*offset*/, httplib::DataSink& sink) mutable {
          if (mailbox_.isClosed() || !sink.is_writable()) return false;
          const auto state = mailbox_.waitForState(seen, kPulse);
          if (!state) return true;
          seen = state->number;
          const std::string event =
              "id: " + std::to_string(seen) + "\ndata: " + *state->text + "\n\n";
          return sink.write(event.data(), event.size());
        },
        [this](bool /*is_whole*/) { --page_count_; });
  }

  Mailbox& mailbox_;
  std::atomic<std::size_t> page_count_ = 0;
  std::string token_;
  std::string host_;  // With the port. Set before the first request.
  std::string address_;
  httplib::Server server_;
  std::thread thread_;
};

}  // namespace

std::unique_ptr<PageServer> startPageServer(Mailbox& mailbox, int port, std::string& error) {
  std::string token = makeToken();
  if (token.empty()) {
    error = "the system gives no random bytes";
    return nullptr;
  }
  auto server = std::make_unique<HttpServer>(mailbox, std::move(token));
  if (server->start(port)) return server;
  error = port == 0 ? "no port can be had" : "port " + std::to_string(port) + " cannot be had";
  return nullptr;
}

}  // namespace lisp_worker::console
