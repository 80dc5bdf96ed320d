// A client of the debug adapter for the tests of this directory: requests in, responses and events
// out.

#ifndef CONSOLE_ADAPTER_ADAPTER_CLIENT_FOR_TESTS_H_
#define CONSOLE_ADAPTER_ADAPTER_CLIENT_FOR_TESTS_H_

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "console/adapter/adapter_session.h"
#include "console/json_parts.h"
#include "lisp_worker/client/worker.h"

namespace lisp_worker::console {

class AdapterClient {
 public:
  // Whose programs run in workers that `start_worker` makes.
  explicit AdapterClient(client::WorkerStarter start_worker)
      : start_worker_(std::move(start_worker)) {}

  // The response to a request; the events after it join events.
  Json ask(const std::string& command, const Json& arguments = nullptr) {
    Json request = {{"seq", ++seq_}, {"type", "request"}, {"command", command}};
    if (!arguments.is_null()) request["arguments"] = arguments;
    return tell(request.dump());
  }

  // The same for the bytes of a message. Null when nothing is answered.
  Json tell(const std::string& message) {
    const std::size_t before = messages_.size();
    session_.receive(message);
    Json response;
    for (std::size_t n = before; n < messages_.size(); ++n) {
      const Json& each = messages_[n];
      EXPECT_EQ(each["seq"].get<std::size_t>(), n + 1);
      if (each["type"] == "response") {
        EXPECT_TRUE(response.is_null()) << "two responses";
        EXPECT_EQ(n, before) << "events come after the response";
        response = each;
      } else {
        events.push_back(each);
      }
    }
    return response;
  }

  // The body of a response that must be a success.
  Json get(const std::string& command, const Json& arguments = nullptr) {
    const Json response = ask(command, arguments);
    EXPECT_TRUE(response["success"].get<bool>()) << response.dump();
    return response.contains("body") ? response["body"] : Json();
  }

  // The message of a response that must be none.
  std::string refusal(const std::string& command, const Json& arguments = nullptr) {
    const Json response = ask(command, arguments);
    EXPECT_FALSE(response["success"].get<bool>()) << response.dump();
    if (response["success"].get<bool>()) return "a success";
    EXPECT_EQ(response["body"]["error"]["variables"]["message"], response["message"]);
    return response["message"].get<std::string>();
  }

  // The bodies of the events of a name since the last call.
  std::vector<Json> take(const std::string& event) {
    std::vector<Json> bodies;
    for (const Json& each : std::exchange(events, {})) {
      if (each["event"] == event) bodies.push_back(each.contains("body") ? each["body"] : Json());
    }
    return bodies;
  }

  // A session with the program of this text, begun with these launch arguments besides.
  void launch(const std::string& text, Json arguments = Json::object(),
              const std::vector<std::pair<std::string, Json>>& before = {}) {
    write("p.lsp", text);
    get("initialize", {{"adapterID", "lisp"}, {"supportsVariableType", true}});
    arguments["program"] = path("p.lsp");
    get("launch", arguments);
    for (const auto& [command, wanted] : before) get(command, wanted);
    get("configurationDone");
  }

  // "stopped at p.lsp:3:1 because of step", "exited 0", or whatever came last.
  std::string where() {
    std::string text = "nothing";
    for (const Json& each : std::exchange(events, {})) {
      if (each["event"] == "stopped") text = each["body"]["reason"].get<std::string>();
      if (each["event"] == "exited") text = "exited " + each["body"]["exitCode"].dump();
    }
    if (text == "nothing" || text.starts_with("exited")) return text;
    const Json frames = get("stackTrace", {{"threadId", 1}})["stackFrames"];
    if (frames.empty()) return text + ", no frames";
    const Json& frame = frames[0];
    return text + " at " + frame["source"]["name"].get<std::string>() + ":" + frame["line"].dump() +
           ":" + frame["column"].dump() + " in " + frame["name"].get<std::string>();
  }

  std::string after(const std::string& command) {
    events.clear();
    get(command, {{"threadId", 1}});
    return where();
  }

  // "NAME=VALUE NAME=VALUE" of a scope of a frame, counted from the innermost.
  std::string scope(const std::string& name, std::size_t frame = 0) {
    for (const Json& each : scopesOf(frame)) {
      if (each["name"] != name) continue;
      std::string text;
      for (const Json& variable : variablesOf(each)) {
        text += (text.empty() ? "" : " ") + variable["name"].get<std::string>() + "=" +
                variable["value"].get<std::string>();
      }
      return text;
    }
    return "no scope " + name;
  }

  // The children of a scope or a variable, or a page of them.
  Json variablesOf(const Json& parent, Json page = Json::object()) {
    page["variablesReference"] = parent["variablesReference"];
    return get("variables", page)["variables"];
  }

  Json scopesOf(std::size_t frame = 0) {
    return get("scopes", {{"frameId", frameId(frame)}})["scopes"];
  }

  Json frameId(std::size_t frame) {
    return get("stackTrace", {{"threadId", 1}})["stackFrames"][frame]["id"];
  }

  // Sets breakpoints in p.lsp, and returns what became of them.
  Json breakAt(const Json& breakpoints) {
    return get("setBreakpoints", {{"source", {{"path", path("p.lsp")}}},
                                  {"breakpoints", breakpoints}})["breakpoints"];
  }

  std::string evaluate(const std::string& expression, const std::string& context = "watch") {
    const Json response = ask("evaluate", {{"expression", expression}, {"context", context}});
    return response["success"].get<bool>() ? response["body"]["result"].get<std::string>()
                                           : "! " + response["message"].get<std::string>();
  }

  void write(const std::string& name, const std::string& text) const {
    std::filesystem::create_directories(directory_.path);
    std::ofstream(directory_.path / name, std::ios::binary) << text;
  }
  [[nodiscard]] std::string path(const std::string& name) const {
    return (directory_.path / name).string();
  }

  [[nodiscard]] bool isOver() const { return session_.isOver(); }

  std::vector<Json> events;

 private:
  struct Directory {
    Directory() = default;
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;
    ~Directory() { std::filesystem::remove_all(path); }

    const std::filesystem::path path =
        std::filesystem::weakly_canonical(std::filesystem::temp_directory_path()) /
        ("lisp_adapter_test." + std::to_string(std::random_device()()));
  };

  Directory directory_;
  client::WorkerStarter start_worker_;
  std::vector<Json> messages_;
  std::int64_t seq_ = 0;
  AdapterSession session_{
      {.start_worker = [this](std::string* error) { return start_worker_(error); },
       .send = [this](std::string_view message) { messages_.push_back(Json::parse(message)); }}};
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_ADAPTER_ADAPTER_CLIENT_FOR_TESTS_H_
