// The server over sockets of its own, as browsers and hostile programs talk to it.

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "console/watch/page_server.h"
#include "console/watch/token.h"

namespace lisp_worker::console {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using Clock = std::chrono::steady_clock;

// A connection to a port of the loopback address.
class Connection {
 public:
  explicit Connection(int port) : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const timeval limit{5, 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    EXPECT_EQ(::connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection() { ::close(socket_); }

  void send(const std::string& text) const {
    EXPECT_EQ(::send(socket_, text.data(), text.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(text.size()));
  }

  // All that has come, once it holds `text` or the server has ended the connection.
  const std::string& readUntil(const std::string& text) {
    std::array<char, 65536> buffer{};
    while (text.empty() || received_.find(text) == std::string::npos) {
      const ssize_t size = ::recv(socket_, buffer.data(), buffer.size(), 0);
      if (size <= 0) break;
      received_.append(buffer.data(), static_cast<std::size_t>(size));
    }
    return received_;
  }
  const std::string& readAll() { return readUntil(""); }

 private:
  int socket_;
  std::string received_;
};

class PageServerTest : public testing::Test {
 protected:
  PageServerTest() {
    std::string error;
    server_ = startPageServer(mailbox, 0, error);
    EXPECT_NE(server_, nullptr) << error;
    const std::string& address = server_->address();
    EXPECT_THAT(address, testing::MatchesRegex("http://127\\.0\\.0\\.1:[0-9]+/[0-9a-f]+/"));
    host = address.substr(7, address.find('/', 7) - 7);
    port = std::stoi(host.substr(host.find(':') + 1));
    token = address.substr(7 + host.size() + 1);
    token.pop_back();
  }

  [[nodiscard]] std::string request(const std::string& method, const std::string& path,
                                    const std::string& more = "",
                                    const std::string& body = "") const {
    return method + " " + path + " HTTP/1.1\r\nHost: " + host + "\r\n" + more +
           (body.empty() ? "" : "Content-Length: " + std::to_string(body.size()) + "\r\n") +
           "\r\n" + body;
  }

  [[nodiscard]] std::string responseTo(const std::string& text) const {
    Connection connection(port);
    connection.send(text);
    return connection.readAll();
  }

  [[nodiscard]] int statusOf(const std::string& text) const {
    const std::string response = responseTo(text);
    return response.starts_with("HTTP/1.1 ") ? std::stoi(response.substr(9, 3)) : 0;
  }

  void stop() { server_.reset(); }

  Mailbox mailbox;
  std::string host;
  std::string token;
  int port = 0;

 private:
  std::unique_ptr<PageServer> server_;
};

TEST(Token, IsNewEachTimeAndComparedWhole) {
  const std::string token = makeToken();
  EXPECT_EQ(token.size(), 32u);
  EXPECT_NE(token, makeToken());
  EXPECT_TRUE(isSameSecret(token, token));
  EXPECT_FALSE(isSameSecret(token, token.substr(1)));
  EXPECT_FALSE(isSameSecret(token, ""));
  for (std::size_t n = 0; n < token.size(); ++n) {
    std::string other = token;
    other[n] = other[n] == '0' ? '1' : '0';
    EXPECT_FALSE(isSameSecret(token, other)) << n;
  }
}

TEST_F(PageServerTest, ServesThePageUnderAStrictPolicy) {
  const std::string page = responseTo(request("GET", "/" + token + "/"));
  EXPECT_THAT(page, StartsWith("HTTP/1.1 200"));
  EXPECT_THAT(page, HasSubstr("Content-Type: text/html; charset=utf-8"));
  EXPECT_THAT(page, HasSubstr("<!doctype html>"));
  EXPECT_THAT(page, HasSubstr("Content-Security-Policy: default-src 'none'; script-src 'self'; "
                              "style-src 'self'; img-src 'self'; connect-src 'self'; base-uri "
                              "'none'; form-action 'none'; frame-ancestors 'none'\r\n"));
  EXPECT_THAT(page, HasSubstr("X-Content-Type-Options: nosniff\r\n"));
  EXPECT_THAT(page, HasSubstr("Cache-Control: no-store\r\n"));
  EXPECT_THAT(page, HasSubstr("Referrer-Policy: no-referrer\r\n"));
  EXPECT_THAT(page, Not(HasSubstr("Access-Control-Allow")));
  // The policy would forbid them.
  EXPECT_THAT(page, Not(HasSubstr("<style")));
  EXPECT_THAT(page, Not(HasSubstr(" style=")));
  EXPECT_THAT(page, Not(HasSubstr(" onclick=")));
  for (const char* const file : {"page.css", "page.js", "icon.svg"}) {
    EXPECT_EQ(statusOf(request("GET", "/" + token + "/" + file)), 200) << file;
  }
}

TEST_F(PageServerTest, ServesNothingElse) {
  std::string other = token;
  other.back() = other.back() == '0' ? '1' : '0';
  const std::vector<std::string> paths = {"/",
                                          "/" + token,
                                          "/" + other + "/",
                                          "/" + other + "/events",
                                          "/" + token.substr(1) + "/",
                                          "/" + token + "0/",
                                          "/" + token + "/page.html",
                                          "/" + token + "/../page.css",
                                          "/" + token + "/..%2f..%2fetc%2fpasswd",
                                          "/" + token + "//etc/passwd",
                                          "//" + token + "/",
                                          "/" + token + "/page.css/",
                                          "/" + token + "/pagexcss",
                                          "/favicon.ico",
                                          "/etc/passwd",
                                          "/" + token + "/" + token + "/"};
  for (const std::string& path : paths) {
    const std::string response = responseTo(request("GET", path));
    EXPECT_THAT(response, StartsWith("HTTP/1.1 404")) << path;
    EXPECT_THAT(response, HasSubstr("Content-Security-Policy: ")) << path;
    EXPECT_THAT(response, Not(HasSubstr(token))) << path;
  }
}

TEST_F(PageServerTest, RefusesOtherHostsAndOtherPages) {
  const std::string path = "/" + token + "/";
  const std::string line = "GET " + path + " HTTP/1.1\r\n";
  const std::string number = std::to_string(port);
  for (const std::string name : {"evil.example", "evil.example:", "127.0.0.1", "127.0.0.1:1"}) {
    const std::string full = name.ends_with(':') ? name + number : name;
    EXPECT_EQ(statusOf(line + "Host: " + full + "\r\n\r\n"), 403) << full;
  }
  EXPECT_EQ(statusOf(line + "\r\n"), 403);
  for (const std::string& origin :
       {std::string("http://evil.example"), std::string("null"), "https://" + host,
        "http://" + host + ".evil.example", "http://localhost:" + number}) {
    EXPECT_EQ(statusOf(request("GET", path, "Origin: " + origin + "\r\n")), 403) << origin;
    EXPECT_EQ(
        statusOf(request("POST", path + "answer?question=1", "Origin: " + origin + "\r\n", "1,2")),
        403)
        << origin;
  }
  EXPECT_EQ(statusOf(request("GET", path, "Origin: http://" + host + "\r\n")), 200);
  mailbox.ask(1);
  EXPECT_EQ(statusOf(request("POST", path + "answer?question=1", "", "1,2")), 403);
  EXPECT_EQ(mailbox.waitForAnswer(std::chrono::milliseconds(0)), std::nullopt);
  EXPECT_EQ(statusOf(request("PUT", path)), 405);
  EXPECT_EQ(statusOf(request("DELETE", path)), 405);
  EXPECT_EQ(statusOf(request("OPTIONS", path)), 405);
}

TEST_F(PageServerTest, TakesOneAnswerToTheQuestionThatIsAsked) {
  const auto answer = [this](const std::string& question, const std::string& body) {
    return statusOf(request("POST", "/" + token + "/answer?question=" + question,
                            "Origin: http://" + host + "\r\n", body));
  };
  EXPECT_EQ(answer("0", "1,2"), 409);
  mailbox.ask(7);
  EXPECT_EQ(answer("6", "1,2"), 409);
  EXPECT_EQ(answer("", "1,2"), 409);
  EXPECT_EQ(answer("x", "1,2"), 409);
  EXPECT_EQ(answer("7", "3,4"), 204);
  EXPECT_EQ(answer("7", "5,6"), 409);
  EXPECT_EQ(mailbox.waitForAnswer(std::chrono::milliseconds(0)), "3,4");
  mailbox.ask(8);
  EXPECT_EQ(answer("8", std::string(kAnswerSizeMax + 1, ' ')), 413);
  EXPECT_EQ(answer("8", std::string(kAnswerSizeMax, ' ')), 204);
}

TEST_F(PageServerTest, SendsTheLastStateAndEachNewOneToEveryPage) {
  mailbox.publish("{\"old\":1}");
  mailbox.publish("{\"first\":1}");
  Connection one(port);
  Connection other(port);
  for (Connection* const page : {&one, &other}) {
    page->send(request("GET", "/" + token + "/events"));
    const std::string& start = page->readUntil("{\"first\":1}\n\n");
    EXPECT_THAT(start, HasSubstr("Content-Type: text/event-stream\r\n"));
    EXPECT_THAT(start, HasSubstr("id: 2\ndata: {\"first\":1}\n\n"));
    EXPECT_THAT(start, Not(HasSubstr("old")));
  }
  mailbox.publish("{\"second\":1}");
  for (Connection* const page : {&one, &other}) {
    EXPECT_THAT(page->readUntil("second\":1}\n\n"), HasSubstr("id: 3\ndata: {\"second\":1}\n\n"));
  }
}

TEST_F(PageServerTest, RefusesPagesBeyondALimitUntilOthersAreClosed) {
  mailbox.publish("{}");
  std::vector<std::unique_ptr<Connection>> pages;
  for (std::size_t n = 0; n < kPageCountMax; ++n) {
    pages.push_back(std::make_unique<Connection>(port));
    pages.back()->send(request("GET", "/" + token + "/events"));
    EXPECT_THAT(pages.back()->readUntil("data: {}"), HasSubstr("data: {}"));
  }
  EXPECT_EQ(statusOf(request("GET", "/" + token + "/events")), 503);
  EXPECT_EQ(statusOf(request("GET", "/" + token + "/")), 200);
  pages.clear();
  int tries = 0;
  for (int status = 503; status == 503;) {  // The server notices within its pulse.
    Connection page(port);
    page.send(request("GET", "/" + token + "/events"));
    status = std::stoi(page.readUntil("\r\n").substr(9, 3));
    EXPECT_TRUE(status == 200 || status == 503) << status;
    ASSERT_LT(++tries, 500);
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

TEST_F(PageServerTest, EndsWithinASecondWhilePagesListen) {
  Connection page(port);
  page.send(request("GET", "/" + token + "/events"));
  mailbox.publish("{}");
  page.readUntil("data: {}");
  const auto begin = Clock::now();
  stop();
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(1));
  page.readAll();  // The connection has ended.
}

TEST_F(PageServerTest, TellsOfAPortThatIsTaken) {
  Mailbox other;
  std::string error;
  EXPECT_EQ(startPageServer(other, port, error), nullptr);
  EXPECT_EQ(error, "port " + std::to_string(port) + " cannot be had");
}

}  // namespace
}  // namespace lisp_worker::console
