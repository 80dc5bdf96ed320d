#include "console/language/language_server.h"

#include <array>
#include <cstddef>
#include <utility>
#include <vector>

#include "console/standard_bytes.h"
#include "lisp_worker/client/version.h"

namespace lisp_worker::console::language {
namespace {

// Messages of the protocol have about ten levels. The library's own work on a value grows with it.
constexpr std::size_t kNestingMax = 100;

bool isTooDeep(std::string_view json) {
  std::size_t depth = 0;
  bool in_string = false;
  for (std::size_t at = 0; at < json.size(); ++at) {
    const char c = json[at];
    if (in_string) {
      if (c == '\\') ++at;
      if (c == '"') in_string = false;
      continue;
    }
    if (c == '"') in_string = true;
    if ((c == '[' || c == '{') && ++depth > kNestingMax) return true;
    if ((c == ']' || c == '}') && depth > 0) --depth;
  }
  return false;
}

// The number of \uXXXX at the beginning of `text`; 0 for anything else.
unsigned escapedUnit(std::string_view text) {
  if (text.size() < 6 || !text.starts_with("\\u")) return 0;
  unsigned unit = 0;
  for (const char c : text.substr(2, 4)) {
    const std::string_view digits = "0123456789abcdef";
    const char small = c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
    const std::size_t digit = digits.find(small);
    if (digit == std::string_view::npos) return 0;
    unit = unit * 16 + static_cast<unsigned>(digit);
  }
  return unit;
}

// Halves of pairs of UTF-16 that stand alone become U+FFFD, which is one unit too. Editors that
// keep texts in UTF-16 send them when a person has cut a letter in two.
std::string withoutLoneSurrogates(std::string json) {
  for (std::size_t at = json.find('\\'); at != std::string::npos; at = json.find('\\', at)) {
    const unsigned unit = escapedUnit(std::string_view(json).substr(at));
    const bool is_first = unit >= 0xD800 && unit < 0xDC00;
    const bool is_second = unit >= 0xDC00 && unit < 0xE000;
    if (!is_first && !is_second) {
      at += 2;
      continue;
    }
    const unsigned next = escapedUnit(std::string_view(json).substr(at + 6));
    if (is_first && next >= 0xDC00 && next < 0xE000) {
      at += 12;
      continue;
    }
    json.replace(at + 2, 4, "FFFD");
    at += 6;
  }
  return json;
}

// A value that is "discarded" for what is no JSON.
Json parse(std::string body) {
  if (isTooDeep(body)) return Json(Json::value_t::discarded);
  Json json = Json::parse(body, nullptr, false);
  if (!json.is_discarded()) return json;
  return Json::parse(withoutLoneSurrogates(std::move(body)), nullptr, false);
}

bool isId(const Json& json) { return json.is_string() || json.is_number_integer(); }

// The ids of requests that are to be cancelled, each between line ends.
std::string cancelledIn(const std::vector<Json>& messages) {
  std::string ids = "\n";
  for (const Json& message : messages) {
    const Json* const method = member(message, "method");
    if (method == nullptr || *method != "$/cancelRequest") continue;
    const Json* const params = member(message, "params");
    const Json* const id = params == nullptr ? nullptr : member(*params, "id");
    if (id != nullptr && isId(*id)) ids += dumped(*id) + "\n";
  }
  return ids;
}

// The first of the client's encodings that we know; UTF-16 when it names none.
Encoding chooseEncoding(const Json& params) {
  const Json* const capabilities = member(params, "capabilities");
  const Json* const general = capabilities == nullptr ? nullptr : member(*capabilities, "general");
  const Json* const wishes = general == nullptr ? nullptr : member(*general, "positionEncodings");
  if (wishes == nullptr || !wishes->is_array()) return Encoding::Utf16;
  for (const Json& wish : *wishes) {
    if (wish == "utf-8") return Encoding::Utf8;
    if (wish == "utf-16") return Encoding::Utf16;
  }
  return Encoding::Utf16;
}

}  // namespace

void LanguageServer::receive(std::string_view bytes) {
  reader_.append(bytes);
  std::vector<Json> messages;
  std::string body;
  auto result = reader_.next(body);
  for (; result == MessageReader::Result::Message; result = reader_.next(body)) {
    messages.push_back(parse(std::move(body)));
    body.clear();
  }
  const std::string cancelled = cancelledIn(messages);
  for (const Json& message : messages) {
    if (!exit_code_) handle(message, cancelled);
  }
  if (exit_code_) return;
  if (result == MessageReader::Result::Broken) {
    reply(nullptr, failed(kParseError, body));
    exit_code_ = 1;
    return;
  }
  if (state_ != State::Ready) return;
  for (const std::string& params : requests_.takeDiagnostics()) {
    output_ += framed(R"({"jsonrpc":"2.0","method":"textDocument/publishDiagnostics","params":)" +
                      params + '}');
  }
}

std::string LanguageServer::takeOutput() { return std::exchange(output_, {}); }

void LanguageServer::reply(const Json& id, const Answer& answer) {
  std::string body = R"({"jsonrpc":"2.0","id":)" + dumped(id);
  if (answer.error == 0) {
    body += R"(,"result":)" + answer.result;
  } else {
    body += R"(,"error":{"code":)" + std::to_string(answer.error) + R"(,"message":)" +
            dumped(Json(answer.message)) + '}';
  }
  output_ += framed(body + '}');
}

void LanguageServer::handle(const Json& message, const std::string& cancelled) {
  if (message.is_discarded()) {
    return reply(nullptr, failed(kParseError, "the message is no JSON, or nested too deep"));
  }
  const Json* const id = member(message, "id");
  const Json* const method = member(message, "method");
  if (method == nullptr || !method->is_string()) {
    // The server asks nothing, so nobody waits for a response.
    const bool is_response =
        member(message, "result") != nullptr || member(message, "error") != nullptr;
    if (is_response) return;
    return reply(id != nullptr && isId(*id) ? *id : Json(nullptr),
                 failed(kInvalidRequest, "the message has no method"));
  }
  if (id != nullptr && !isId(*id)) {
    return reply(nullptr, failed(kInvalidRequest, "an id is a number or a text"));
  }
  const std::string name = method->get<std::string>();
  if (name == "exit") {
    exit_code_ = exitCodeAtEnd();
    return;
  }
  const Json* const params = member(message, "params");
  const Json none = Json::object();
  if (id == nullptr) {
    if (state_ == State::Ready) static_cast<void>(answer(name, params == nullptr ? none : *params));
    return;
  }
  if (cancelled.find("\n" + dumped(*id) + "\n") != std::string::npos) {
    return reply(*id, failed(kRequestCancelled, "cancelled"));
  }
  reply(*id, answer(name, params == nullptr ? none : *params));
}

Answer LanguageServer::answer(std::string_view method, const Json& params) {
  if (state_ == State::New) {
    if (method == "initialize") return initialize(params);
    return failed(kServerNotInitialized, "initialize comes first");
  }
  if (state_ == State::Shut) return failed(kInvalidRequest, "the server is shut down");
  if (method == "initialize") return failed(kInvalidRequest, "the server is initialized already");
  if (method == "shutdown") {
    state_ = State::Shut;
    return {};
  }
  return requests_.handle(method, params);
}

Answer LanguageServer::initialize(const Json& params) {
  const Encoding encoding = chooseEncoding(params);
  requests_.setEncoding(encoding);
  state_ = State::Ready;
  Json capabilities = Requests::capabilities();
  capabilities["positionEncoding"] = encoding == Encoding::Utf8 ? "utf-8" : "utf-16";
  const Json result = {
      {"capabilities", std::move(capabilities)},
      {"serverInfo",
       {{"name", "lisp_console"}, {"version", std::string(client::libraryVersion())}}}};
  return {dumped(result)};
}

int runLanguageServer() {
  constexpr std::size_t kBufferSize = std::size_t{1} << 16U;
  std::array<char, kBufferSize> buffer{};
  LanguageServer server;
  while (!server.exitCode()) {
    const std::size_t size = readStandardInput(buffer.data(), buffer.size());
    if (size == 0) return server.exitCodeAtEnd();
    server.receive({buffer.data(), size});
    if (!writeStandardOutput(server.takeOutput())) return 1;
  }
  return *server.exitCode();
}

}  // namespace lisp_worker::console::language
