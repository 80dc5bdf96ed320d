// The protocol, over bytes.

#include "console/language/language_server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "check/check.h"
#include "console/base_protocol.h"
#include "console/check_program.h"
#include "console/json_parts.h"
#include "console/language/uri.h"
#include "console/program.h"
#include "explain/evaluation.h"
#include "explain/explanation.h"
#include "testing/base/random.h"

namespace lisp_worker::console::language {
namespace {

using testing::HasSubstr;

constexpr const char* kUri = "untitled:one";

class Client {
 public:
  // The messages that come back, read as JSON.
  std::vector<Json> send(const std::string& bytes) {
    server_.receive(bytes);
    MessageReader reader;
    reader.append(server_.takeOutput());
    std::vector<Json> messages;
    std::string body;
    while (reader.next(body) == MessageReader::Result::Message) {
      messages.push_back(Json::parse(body));
      body.clear();
    }
    EXPECT_FALSE(reader.isInMessage());
    return messages;
  }

  void notify(const std::string& method, const Json& params) {
    sent_ = send(framed(dumped({{"jsonrpc", "2.0"}, {"method", method}, {"params", params}})));
  }

  Json request(const std::string& method, const Json& params) {
    const std::vector<Json> messages = send(framed(
        dumped({{"jsonrpc", "2.0"}, {"id", ++id_}, {"method", method}, {"params", params}})));
    for (const Json& message : messages) {
      if (message.contains("id") && message["id"] == id_) return message;
    }
    ADD_FAILURE() << "no answer to " << method;
    return Json::object();
  }

  void initialize(const Json& capabilities = Json::object()) {
    initialized_ = request("initialize", {{"capabilities", capabilities}});
    notify("initialized", Json::object());
  }

  void open(const std::string& text, const std::string& uri = kUri) {
    notify(
        "textDocument/didOpen",
        {{"textDocument", {{"uri", uri}, {"version", 1}, {"languageId", "lisp"}, {"text", text}}}});
  }

  // What the last notification has brought.
  [[nodiscard]] const std::vector<Json>& sent() const { return sent_; }
  [[nodiscard]] const Json& initialized() const { return initialized_; }
  [[nodiscard]] LanguageServer& server() { return server_; }

 private:
  LanguageServer server_;
  std::vector<Json> sent_;
  Json initialized_;
  int id_ = 0;
};

Json at(std::size_t line, std::size_t character, const std::string& uri = kUri) {
  return {{"textDocument", {{"uri", uri}}},
          {"position", {{"line", line}, {"character", character}}}};
}

Json range(std::size_t line, std::size_t first, std::size_t end) {
  return {{"start", {{"line", line}, {"character", first}}},
          {"end", {{"line", line}, {"character", end}}}};
}

int errorOf(const Json& message) {
  return message.contains("error") ? message["error"]["code"].get<int>() : 0;
}

TEST(LanguageServer, KeepsToTheOrderOfItsLife) {
  Client client;
  EXPECT_EQ(errorOf(client.request("textDocument/hover", at(0, 0))), kServerNotInitialized);
  client.notify("textDocument/didOpen", Json::object());
  EXPECT_TRUE(client.sent().empty());
  client.initialize();
  EXPECT_EQ(client.initialized()["result"]["serverInfo"]["name"], "lisp_console");
  EXPECT_EQ(errorOf(client.request("initialize", Json::object())), kInvalidRequest);
  EXPECT_EQ(errorOf(client.request("textDocument/none", Json::object())), kMethodNotFound);
  EXPECT_EQ(errorOf(client.request("$/none", Json::object())), kMethodNotFound);
  client.notify("$/none", Json::object());
  EXPECT_TRUE(client.sent().empty());
  EXPECT_TRUE(client.request("shutdown", nullptr)["result"].is_null());
  EXPECT_EQ(errorOf(client.request("textDocument/hover", at(0, 0))), kInvalidRequest);
  EXPECT_FALSE(client.server().exitCode());
  client.notify("exit", nullptr);
  EXPECT_EQ(client.server().exitCode(), 0);
}

TEST(LanguageServer, EndsWithOneWithoutAShutdown) {
  Client client;
  client.initialize();
  EXPECT_EQ(client.server().exitCodeAtEnd(), 1);
  client.notify("exit", nullptr);
  EXPECT_EQ(client.server().exitCode(), 1);
}

TEST(LanguageServer, AnswersMalformedMessages) {
  Client client;
  client.initialize();
  const auto code = [&client](const std::string& body) {
    const std::vector<Json> messages = client.send(framed(body));
    return messages.size() == 1 ? errorOf(messages.front()) : 0;
  };
  EXPECT_EQ(code("{"), kParseError);
  EXPECT_EQ(code(""), kParseError);
  EXPECT_EQ(code("\"\xFF\""), kParseError);
  EXPECT_EQ(code(std::string(100000, '[')), kParseError);
  EXPECT_EQ(code("[]"), kInvalidRequest);
  EXPECT_EQ(code("5"), kInvalidRequest);
  EXPECT_EQ(code(R"({"id":1})"), kInvalidRequest);
  EXPECT_EQ(code(R"({"id":1,"method":5})"), kInvalidRequest);
  EXPECT_EQ(code(R"({"id":[],"method":"shutdown"})"), kInvalidRequest);
  EXPECT_EQ(code(R"({"id":1,"method":"textDocument/hover"})"), kInvalidParams);
  EXPECT_EQ(code(R"({"id":1,"method":"textDocument/hover","params":[]})"), kInvalidParams);
  EXPECT_TRUE(client.send(framed(R"({"id":7,"result":null})")).empty());
  // It goes on all the same.
  EXPECT_EQ(errorOf(client.request("shutdown", nullptr)), 0);
}

TEST(LanguageServer, EndsWhereBytesAreNoMessages) {
  Client client;
  client.initialize();
  const std::vector<Json> messages = client.send("Content-Length: x\r\n\r\n");
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(errorOf(messages.front()), kParseError);
  EXPECT_EQ(client.server().exitCode(), 1);
}

TEST(LanguageServer, TellsWhatIsWrongWithParameters) {
  Client client;
  client.initialize();
  client.open("(LIST 1)");
  const Json document = {{"uri", kUri}};
  EXPECT_EQ(errorOf(client.request("textDocument/hover", at(0, 0, "untitled:two"))),
            kInvalidParams);
  for (const Json& position :
       {Json(nullptr), Json(5), Json{{"line", 0}}, Json{{"line", -1}, {"character", 0}},
        Json{{"line", 0.5}, {"character", 0}}, Json{{"line", "0"}, {"character", 0}}}) {
    EXPECT_EQ(errorOf(client.request("textDocument/hover",
                                     {{"textDocument", document}, {"position", position}})),
              kInvalidParams)
        << position;
  }
  for (const char* const method : {"rangeFormatting", "codeAction", "semanticTokens/range",
                                   "inlayHint", "rename", "selectionRange", "onTypeFormatting"}) {
    EXPECT_EQ(errorOf(client.request("textDocument/" + std::string(method),
                                     {{"textDocument", document}})),
              kInvalidParams)
        << method;
  }
}

TEST(LanguageServer, TakesPositionsFarOutside) {
  Client client;
  client.initialize();
  client.open("(LIST 1)\n");
  for (const auto& [line, character] : {std::pair<std::size_t, std::size_t>{0, 4000000000U},
                                        {4000000000U, 0},
                                        {~std::size_t{0}, ~std::size_t{0}}}) {
    EXPECT_EQ(errorOf(client.request("textDocument/hover", at(line, character))), 0);
    EXPECT_EQ(errorOf(client.request("textDocument/completion", at(line, character))), 0);
  }
}

TEST(LanguageServer, DoesNotWorkOnWhatWasCancelled) {
  Client client;
  client.initialize();
  client.open("(LIST 1)");
  const std::string hover =
      framed(dumped({{"id", "a"}, {"method", "textDocument/hover"}, {"params", at(0, 2)}}));
  const std::string cancel = framed(R"({"method":"$/cancelRequest","params":{"id":"a"}})");
  std::vector<Json> messages = client.send(hover + cancel);
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(errorOf(messages.front()), kRequestCancelled);
  EXPECT_TRUE(client.send(cancel).empty());
  messages = client.send(hover);
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(errorOf(messages.front()), 0);
}

TEST(LanguageServer, AgreesOnAnEncoding) {
  const auto chosen = [](const Json& capabilities) {
    Client client;
    client.initialize(capabilities);
    return client.initialized()["result"]["capabilities"]["positionEncoding"].get<std::string>();
  };
  EXPECT_EQ(chosen(Json::object()), "utf-16");
  EXPECT_EQ(chosen({{"general", {{"positionEncodings", {"utf-8", "utf-16"}}}}}), "utf-8");
  EXPECT_EQ(chosen({{"general", {{"positionEncodings", {"utf-32", "utf-16"}}}}}), "utf-16");
  EXPECT_EQ(chosen({{"general", {{"positionEncodings", 5}}}}), "utf-16");
}

TEST(LanguageServer, FollowsEditsInUnitsOfTheEncoding) {
  for (const bool is_utf8 : {false, true}) {
    Client client;
    client.initialize({{"general", {{"positionEncodings", {is_utf8 ? "utf-8" : "utf-16"}}}}});
    // A clef in front of the name: 4 bytes, 2 units.
    client.open("(LIST \"\xF0\x9D\x84\x9E\" WRONG)");
    const Json wrong = client.sent().front()["params"]["diagnostics"][0]["range"];
    const std::size_t column = is_utf8 ? 13 : 11;
    EXPECT_EQ(wrong, range(0, column, column + 5));
    client.notify("textDocument/didChange",
                  {{"textDocument", {{"uri", kUri}, {"version", 2}}},
                   {"contentChanges", {{{"range", wrong}, {"text", "1"}}}}});
    EXPECT_TRUE(client.sent().front()["params"]["diagnostics"].empty());
    EXPECT_EQ(client.sent().front()["params"]["version"], 2);
  }
}

TEST(LanguageServer, TakesHalvesOfLettersForOneUnit) {
  Client client;
  client.initialize();
  const auto open = [&client](const std::string& text) {
    return client.send(framed(R"({"method":"textDocument/didOpen","params":{"textDocument":)"
                              R"({"uri":"untitled:one","version":1,"text":")" +
                              text + R"("}}})"));
  };
  for (const char* const text : {R"((LIST \"\ud834\" WRONG))", R"((LIST \"\udd1e\" WRONG))"}) {
    const std::vector<Json> messages = open(text);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages.front()["params"]["diagnostics"][0]["range"], range(0, 10, 15)) << text;
  }
  EXPECT_EQ(open(R"((LIST \"\ud834\udd1e\" WRONG))").front()["params"]["diagnostics"][0]["range"],
            range(0, 11, 16));
  EXPECT_EQ(open(R"((LIST \"\\ud834\" WRONG))").front()["params"]["diagnostics"][0]["range"],
            range(0, 15, 20));
}

TEST(LanguageServer, TakesZeroBytes) {
  Client client;
  client.initialize();
  client.open(std::string("(LIST \"a\0b\" A\0B)", 17));
  EXPECT_THAT(dumped(client.sent().front()), HasSubstr("unbound symbol"));
}

TEST(LanguageServer, TakesMistakesBackWhenADocumentIsClosed) {
  Client client;
  client.initialize();
  client.open("(");
  EXPECT_EQ(client.sent().front()["params"]["diagnostics"].size(), 1U);
  client.notify("textDocument/didClose", {{"textDocument", {{"uri", kUri}}}});
  ASSERT_EQ(client.sent().size(), 1U);
  EXPECT_EQ(client.sent().front()["params"]["uri"], kUri);
  EXPECT_TRUE(client.sent().front()["params"]["diagnostics"].empty());
  EXPECT_EQ(errorOf(client.request("textDocument/hover", at(0, 0))), kInvalidParams);
}

class LanguageServerFiles : public testing::Test {
 protected:
  LanguageServerFiles() { std::filesystem::create_directory(directory_); }
  ~LanguageServerFiles() override { std::filesystem::remove_all(directory_); }

  [[nodiscard]] std::string path(const std::string& name) const {
    return (directory_ / name).generic_string();
  }
  [[nodiscard]] std::string uri(const std::string& name) const { return uriOf(path(name)); }
  void write(const std::string& name, const std::string& text) const {
    std::ofstream(directory_ / name, std::ios::binary) << text;
  }

 private:
  std::filesystem::path directory_ =
      std::filesystem::temp_directory_path() /
      ("lisp_language." +
       std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
};

TEST_F(LanguageServerFiles, ReportsWhatCheckReports) {
  write("lib.lsp", "(DEFUN TWICE (X) (* 2 X))\n(GETPOINT)\n");
  const std::vector<std::string> texts = {
      "(SETQ WIDTH 5)\n(LIST WIDHT)\n(COMMAND \"CIRCEL\" '(1 2))\n",
      ";@ load lib.lsp\n(TWICE 1 2)\n",
      ";@ load none.lsp\n",
      "(A)\n;@ nonsense\n",
      "(LIST (LIST 1)\n(LIST 2)\n",
      "\xEF\xBB\xBF(LIST X)",
  };
  for (const std::string& text : texts) {
    write("a.lsp", text);
    std::string expected;
    std::string error;
    const auto program = readProgram(path("a.lsp"), error);
    if (program) {
      std::vector<explain::ProgramPointer> programs;
      const std::vector<TextFindings> all = checkProgram(*program, programs);
      for (const TextFindings& of_text : all) {
        for (const check::Finding& finding : of_text.findings) {
          // The place of a mistake in a library is told with it.
          const bool is_own = &of_text == &all.back();
          expected += (is_own ? "" : explain::nameOfPlace(*finding.program, finding.begin) + ": ") +
                      finding.message + (finding.advice.empty() ? "" : "\n" + finding.advice) +
                      "\n";
        }
      }
    } else {
      // The line is told by the range.
      expected = error.substr(error.find(": ", error.find(": line ") + 2) + 2) + "\n";
    }
    Client client;
    client.initialize();
    client.open(text, uri("a.lsp"));
    std::string found;
    for (const Json& diagnostic : client.sent().front()["params"]["diagnostics"]) {
      found += diagnostic["message"].get<std::string>() + "\n";
    }
    EXPECT_EQ(found, expected) << text;
    EXPECT_NE(found, "") << text;
  }
}

TEST_F(LanguageServerFiles, PutsAMistakeInAScriptWhereItIs) {
  Client client;
  client.initialize();
  client.open("(LIST 1)\n;@ nonsense\n", uri("a.lsp"));
  EXPECT_EQ(client.sent().front()["params"]["diagnostics"][0]["range"], range(1, 0, 11));
}

TEST_F(LanguageServerFiles, LooksIntoLibraries) {
  write("lib.lsp", "; Doubles.\n(DEFUN TWICE (X) (* 2 X))\n");
  Client client;
  client.initialize();
  client.open(";@ load lib.lsp\n(TWICE 1)\n", uri("a.lsp"));
  EXPECT_TRUE(client.sent().front()["params"]["diagnostics"].empty());
  const Json found = client.request("textDocument/definition", at(1, 3, uri("a.lsp")))["result"];
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0]["uri"], uri("lib.lsp"));
  EXPECT_EQ(found[0]["range"], range(1, 7, 12));
  EXPECT_THAT(dumped(client.request("textDocument/hover", at(1, 3, uri("a.lsp")))),
              HasSubstr("Doubles."));
  const Json renamed =
      client.request("textDocument/rename", {{"textDocument", {{"uri", uri("a.lsp")}}},
                                             {"position", {{"line", 1}, {"character", 3}}},
                                             {"newName", "DOUBLE"}})["result"]["changes"];
  EXPECT_EQ(renamed[uri("lib.lsp")].size(), 1U);
  EXPECT_EQ(renamed[uri("a.lsp")].size(), 1U);
}

TEST_F(LanguageServerFiles, PreferTheTextInTheEditorToThatOfTheFile) {
  write("lib.lsp", "(DEFUN TWICE (X) (* 2 X))\n");
  Client client;
  client.initialize();
  client.open(";@ load lib.lsp\n(THRICE 1)\n", uri("a.lsp"));
  EXPECT_EQ(client.sent().front()["params"]["diagnostics"].size(), 1U);
  // Both documents are told about: this one, and the one that loads it.
  client.open("(DEFUN THRICE (X) (* 3 X))\n", uri("lib.lsp"));
  ASSERT_EQ(client.sent().size(), 2U);
  EXPECT_TRUE(client.sent().front()["params"]["diagnostics"].empty());
  // A name of the library is renamed in the program that loads it.
  const Json uses = client.request("textDocument/references", at(0, 8, uri("lib.lsp")))["result"];
  EXPECT_EQ(uses.size(), 2U);
  client.notify("textDocument/didClose", {{"textDocument", {{"uri", uri("lib.lsp")}}}});
  EXPECT_THAT(dumped(Json(client.sent())), HasSubstr("unsupported LISP function: THRICE"));
}

TEST_F(LanguageServerFiles, ReadsFilesAgainWhenTheyHaveChanged) {
  Client client;
  client.initialize();
  client.open(";@ load lib.lsp\n(TWICE 1)\n", uri("a.lsp"));
  EXPECT_EQ(client.sent().front()["params"]["diagnostics"].size(), 1U);
  write("lib.lsp", "(DEFUN TWICE (X) (* 2 X))\n");
  client.notify("workspace/didChangeWatchedFiles", {{"changes", Json::array()}});
  EXPECT_TRUE(client.sent().front()["params"]["diagnostics"].empty());
  std::filesystem::remove(path("lib.lsp"));
  client.notify("textDocument/didSave", {{"textDocument", {{"uri", uri("a.lsp")}}}});
  EXPECT_EQ(client.sent().front()["params"]["diagnostics"].size(), 1U);
}

TEST(Uri, LeadsToAPathAndBack) {
  EXPECT_EQ(pathOf("file:///home/ada/plate%20two.lsp"), "/home/ada/plate two.lsp");
  EXPECT_EQ(uriOf("/home/ada/plate two.lsp"), "file:///home/ada/plate%20two.lsp");
  EXPECT_EQ(pathOf("file:///c%3A/x.lsp"), "c:/x.lsp");
  EXPECT_EQ(uriOf("C:/x.lsp"), "file:///C%3A/x.lsp");
  EXPECT_EQ(pathOf("file://host/x"), "/x");
  EXPECT_EQ(pathOf("untitled:Untitled-1"), "");
  EXPECT_EQ(pathOf("file:///a%00b"), "");
  EXPECT_EQ(pathOf("file:///a%2"), "/a%2");
  EXPECT_EQ(pathOf(uriOf("/\xC3\xA9%41")), "/\xC3\xA9%41");
}

// Every prefix of a conversation, and conversations with a byte changed, leave the server in order:
// it answers, or it has ended.
TEST(LanguageServer, SurvivesBytesThatWereDamaged) {
  testing_support::Random random(4);
  std::string conversation = framed(R"({"id":1,"method":"initialize","params":{}})");
  conversation += framed(dumped(
      {{"method", "textDocument/didOpen"},
       {"params",
        {{"textDocument", {{"uri", kUri}, {"version", 1}, {"text", "(LIST \"\xC3\xA9\"\n"}}}}}}));
  for (const char* const method : {"hover", "completion", "documentSymbol", "formatting"}) {
    conversation += framed(dumped(
        {{"id", 2}, {"method", "textDocument/" + std::string(method)}, {"params", at(0, 3)}}));
  }
  conversation +=
      framed(dumped({{"method", "textDocument/didChange"},
                     {"params",
                      {{"textDocument", {{"uri", kUri}, {"version", 2}}},
                       {"contentChanges", {{{"range", range(0, 1, 5)}, {"text", "X"}}}}}}}));
  for (int n = 0; n < 3000; ++n) {
    std::string bytes = conversation;
    bytes[random.below(bytes.size())] = static_cast<char>(random.below(256));
    bytes.resize(random.below(bytes.size() + 1));
    LanguageServer server;
    for (std::size_t begin = 0; begin < bytes.size();) {
      const std::size_t size = random.below(200) + 1;
      server.receive(std::string_view(bytes).substr(begin, size));
      begin += size;
    }
    MessageReader reader;
    reader.append(server.takeOutput());
    std::string body;
    while (reader.next(body) == MessageReader::Result::Message) {
      ASSERT_FALSE(Json::parse(body, nullptr, false).is_discarded()) << body;
      body.clear();
    }
    ASSERT_FALSE(reader.isInMessage());
  }
}

}  // namespace
}  // namespace lisp_worker::console::language
