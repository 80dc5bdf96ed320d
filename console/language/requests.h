// The requests of the Language Server Protocol about documents: parameters come as JSON, and
// results go as the text of JSON. A table in requests.cc has a row for each.

#ifndef CONSOLE_LANGUAGE_REQUESTS_H_
#define CONSOLE_LANGUAGE_REQUESTS_H_

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/json_parts.h"
#include "console/language/colours.h"
#include "console/language/text_document.h"
#include "console/language/workspace.h"

namespace lisp_worker::console::language {

// The protocol's numbers.
inline constexpr int kParseError = -32700;
inline constexpr int kInvalidRequest = -32600;
inline constexpr int kMethodNotFound = -32601;
inline constexpr int kInvalidParams = -32602;
inline constexpr int kServerNotInitialized = -32002;
inline constexpr int kRequestFailed = -32803;
inline constexpr int kRequestCancelled = -32800;

struct Answer {
  std::string result = "null";  // JSON.
  int error = 0;                // 0 for none.
  std::string message = {};     // Of the error.
};

[[nodiscard]] Answer failed(int error, std::string message);

// The member of an object; null when there is none, or when `json` is no object.
[[nodiscard]] const Json* member(const Json& json, std::string_view name);

class Requests {
 public:
  void setEncoding(Encoding encoding);

  // The part of the server's capabilities that says which of them it answers.
  [[nodiscard]] static Json capabilities();

  // For a method that is not in the table an error says so. Also for a notification, whose answer
  // is not sent.
  [[nodiscard]] Answer handle(std::string_view method, const Json& params);

  // The parameters of publishDiagnostics for each document whose text has changed, as JSON.
  [[nodiscard]] std::vector<std::string> takeDiagnostics();

 private:
  struct Method;
  static const std::vector<Method>& methods();

  Answer didOpen(const Json& params);
  Answer didChange(const Json& params);
  Answer didClose(const Json& params);
  Answer filesChanged(const Json& params);
  Answer hover(const Json& params);
  Answer completion(const Json& params);
  Answer signatureHelp(const Json& params);
  Answer definition(const Json& params);
  Answer references(const Json& params);
  Answer documentHighlight(const Json& params);
  Answer documentSymbol(const Json& params);
  Answer workspaceSymbol(const Json& params);
  Answer prepareRename(const Json& params);
  Answer rename(const Json& params);
  Answer foldingRange(const Json& params);
  Answer selectionRange(const Json& params);
  Answer formatting(const Json& params);
  Answer rangeFormatting(const Json& params);
  Answer onTypeFormatting(const Json& params);
  Answer codeAction(const Json& params);
  Answer semanticTokens(const Json& params);
  Answer semanticTokensOfRange(const Json& params);
  Answer inlayHint(const Json& params);

  // A place in a document, or a range of it.
  struct Place {
    Document* document;
    const Unit* unit;
    Span span;

    [[nodiscard]] std::size_t offset() const { return span.begin; }
    [[nodiscard]] const ProgramText& text() const { return *unit->texts[unit->own]; }
    [[nodiscard]] const TextDocument& lines() const { return text().document; }
  };

  // Each is empty, with `failure` set, when the parameters name no open document, or no place or
  // range.
  Document* documentIn(const Json& params, Answer& failure);
  std::optional<Place> wholeIn(const Json& params, Answer& failure);
  std::optional<Place> placeIn(const Json& params, Answer& failure);
  std::optional<Place> rangeIn(const Json& params, Answer& failure);

  Workspace workspace_;
  std::map<std::string, Colouring> colourings_;  // By URI.
  std::vector<std::string> closed_;              // Documents whose mistakes are to be taken back.
};

}  // namespace lisp_worker::console::language

#endif  // CONSOLE_LANGUAGE_REQUESTS_H_
