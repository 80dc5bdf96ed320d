#include "console/language/requests.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

#include "console/command_input.h"
#include "console/language/completions.h"
#include "console/language/fixes.h"
#include "console/language/hovers.h"
#include "console/language/inlay_hints.h"
#include "console/language/layouts.h"
#include "console/language/outline.h"
#include "console/language/renames.h"

namespace lisp_worker::console::language {
namespace {

// --- Parameters --------------------------------------------------------------------------------

std::optional<std::size_t> readCount(const Json& json, std::string_view name) {
  const Json* const number = member(json, name);
  if (number == nullptr || !number->is_number_unsigned()) return std::nullopt;
  return number->get<std::size_t>();
}

std::optional<std::string> readString(const Json& json, std::string_view name) {
  const Json* const text = member(json, name);
  if (text == nullptr || !text->is_string()) return std::nullopt;
  return text->get<std::string>();
}

std::optional<Position> readPosition(const Json* json) {
  if (json == nullptr) return std::nullopt;
  const auto line = readCount(*json, "line");
  const auto character = readCount(*json, "character");
  if (!line || !character) return std::nullopt;
  return Position{*line, *character};
}

std::optional<Range> readRange(const Json* json) {
  if (json == nullptr) return std::nullopt;
  const auto start = readPosition(member(*json, "start"));
  const auto end = readPosition(member(*json, "end"));
  if (!start || !end) return std::nullopt;
  return Range{*start, *end};
}

std::optional<std::int64_t> readVersion(const Json& document) {
  const Json* const version = member(document, "version");
  if (version == nullptr || !version->is_number_integer()) return std::nullopt;
  return version->get<std::int64_t>();
}

// --- Results -----------------------------------------------------------------------------------
//
// Texts of JSON are put together by hand, because a megabyte of program can have a megabyte of
// results.

std::string inJson(std::string_view text) {
  const bool is_plain = std::all_of(text.begin(), text.end(), [](char c) {
    return c >= ' ' && c <= '~' && c != '"' && c != '\\';
  });
  return is_plain ? '"' + std::string(text) + '"' : dumped(Json(text));
}

void append(std::string& json, const Position& position) {
  json += R"({"line":)";
  json += std::to_string(position.line);
  json += R"(,"character":)";
  json += std::to_string(position.character);
  json += '}';
}

std::string jsonOf(const Range& range) {
  std::string json = R"({"start":)";
  append(json, range.start);
  json += R"(,"end":)";
  append(json, range.end);
  return json + '}';
}

std::string jsonOf(const TextDocument& document, const Span& span) {
  return jsonOf(document.rangeOf(span));
}

std::string jsonOf(const Position& position) {
  std::string json;
  append(json, position);
  return json;
}

// [a,b,c]
template <typename List, typename Write>
std::string jsonList(const List& list, Write write) {
  std::string json = "[";
  for (const auto& item : list) {
    if (json.size() > 1) json += ',';
    json += write(item);
  }
  return json + ']';
}

std::string locationOf(const Unit& unit, const Use& use) {
  const ProgramText& text = *unit.texts[use.text];
  return R"({"uri":)" + inJson(text.uri) + R"(,"range":)" + jsonOf(text.document, use.span) + '}';
}

std::string jsonOf(const TextDocument& document, const TextEdit& edit) {
  return R"({"range":)" + jsonOf(document, edit.span) + R"(,"newText":)" + inJson(edit.text) + '}';
}

std::string jsonOf(const TextDocument& document, const std::vector<TextEdit>& edits) {
  return jsonList(edits, [&](const TextEdit& edit) { return jsonOf(document, edit); });
}

std::string markdown(const std::string& text) {
  return R"({"kind":"markdown","value":)" + inJson(text) + '}';
}

std::string jsonOf(const TextDocument& document, const Diagnostic& diagnostic) {
  const std::string text =
      diagnostic.message + (diagnostic.advice.empty() ? "" : "\n" + diagnostic.advice);
  return R"({"range":)" + jsonOf(document, diagnostic.span) + R"(,"severity":)" +
         (diagnostic.is_error ? "1" : "2") + R"(,"source":"lisp_console","message":)" +
         inJson(text) + '}';
}

// The protocol's numbers for kinds of symbols.
int symbolKind(const Definition& definition) {
  constexpr int kFunction = 12;
  constexpr int kVariable = 13;
  return definition.is_function ? kFunction : kVariable;
}

bool isWrite(Role role) { return role != Role::Read && role != Role::Call; }

}  // namespace

Answer failed(int error, std::string message) {
  return {.result = "", .error = error, .message = std::move(message)};
}

const Json* member(const Json& json, std::string_view name) {
  if (!json.is_object()) return nullptr;
  const auto found = json.find(name);
  return found == json.end() ? nullptr : &*found;
}

struct Requests::Method {
  std::string_view name;
  Answer (Requests::*handle)(const Json& params);
  std::string_view capability = {};  // The server says with it that it answers.
  const char* options = "true";      // JSON.
};

const std::vector<Requests::Method>& Requests::methods() {
  static const std::vector<Method> kMethods = {
      {"textDocument/didOpen", &Requests::didOpen, "textDocumentSync",
       R"({"openClose":true,"change":2,"save":{"includeText":false}})"},
      {"textDocument/didChange", &Requests::didChange},
      {"textDocument/didClose", &Requests::didClose},
      {"textDocument/didSave", &Requests::filesChanged},
      {"workspace/didChangeWatchedFiles", &Requests::filesChanged},
      {"textDocument/hover", &Requests::hover, "hoverProvider"},
      {"textDocument/completion", &Requests::completion, "completionProvider",
       R"({"triggerCharacters":["(","\"","'"]})"},
      {"textDocument/signatureHelp", &Requests::signatureHelp, "signatureHelpProvider",
       R"x({"triggerCharacters":[" "],"retriggerCharacters":[")"]})x"},
      {"textDocument/definition", &Requests::definition, "definitionProvider"},
      {"textDocument/references", &Requests::references, "referencesProvider"},
      {"textDocument/documentHighlight", &Requests::documentHighlight, "documentHighlightProvider"},
      {"textDocument/documentSymbol", &Requests::documentSymbol, "documentSymbolProvider"},
      {"workspace/symbol", &Requests::workspaceSymbol, "workspaceSymbolProvider"},
      {"textDocument/rename", &Requests::rename, "renameProvider", R"({"prepareProvider":true})"},
      {"textDocument/prepareRename", &Requests::prepareRename},
      {"textDocument/foldingRange", &Requests::foldingRange, "foldingRangeProvider"},
      {"textDocument/selectionRange", &Requests::selectionRange, "selectionRangeProvider"},
      {"textDocument/formatting", &Requests::formatting, "documentFormattingProvider"},
      {"textDocument/rangeFormatting", &Requests::rangeFormatting,
       "documentRangeFormattingProvider"},
      {"textDocument/onTypeFormatting", &Requests::onTypeFormatting,
       "documentOnTypeFormattingProvider",
       R"x({"firstTriggerCharacter":")","moreTriggerCharacter":["\n"]})x"},
      {"textDocument/codeAction", &Requests::codeAction, "codeActionProvider",
       R"({"codeActionKinds":["quickfix"]})"},
      {"textDocument/semanticTokens/full", &Requests::semanticTokens, "semanticTokensProvider", ""},
      {"textDocument/semanticTokens/range", &Requests::semanticTokensOfRange},
      {"textDocument/inlayHint", &Requests::inlayHint, "inlayHintProvider"},
  };
  return kMethods;
}

void Requests::setEncoding(Encoding encoding) { workspace_.setEncoding(encoding); }

Json Requests::capabilities() {
  Json capabilities = Json::object();
  for (const Method& method : methods()) {
    if (method.capability.empty()) continue;
    Json& options = capabilities[std::string(method.capability)];
    if (*method.options != '\0') {
      options = Json::parse(method.options);
    } else {
      options = {{"legend", {{"tokenTypes", kColourNames}, {"tokenModifiers", kMarkNames}}},
                 {"full", true},
                 {"range", true}};
    }
  }
  return capabilities;
}

Answer Requests::handle(std::string_view method, const Json& params) {
  for (const Method& each : methods()) {
    if (each.name == method) return (this->*each.handle)(params);
  }
  return failed(kMethodNotFound, "there is no method " + std::string(method));
}

Document* Requests::documentIn(const Json& params, Answer& failure) {
  const Json* const named = member(params, "textDocument");
  const auto uri = named == nullptr ? std::nullopt : readString(*named, "uri");
  if (!uri) {
    failure = failed(kInvalidParams, "textDocument.uri is missing");
    return nullptr;
  }
  Document* const document = workspace_.find(*uri);
  if (document == nullptr) failure = failed(kInvalidParams, "no document is open as " + *uri);
  return document;
}

// --- Documents ---------------------------------------------------------------------------------

Answer Requests::didOpen(const Json& params) {
  const Json* const document = member(params, "textDocument");
  const auto uri = document == nullptr ? std::nullopt : readString(*document, "uri");
  auto text = document == nullptr ? std::nullopt : readString(*document, "text");
  if (!uri || !text) return failed(kInvalidParams, "textDocument has no uri or no text");
  workspace_.open(*uri, *std::move(text), readVersion(*document));
  return {};
}

Answer Requests::didChange(const Json& params) {
  Answer failure;
  Document* const document = documentIn(params, failure);
  if (document == nullptr) return failure;
  const Json* const list = member(params, "contentChanges");
  if (list == nullptr || !list->is_array()) {
    return failed(kInvalidParams, "contentChanges is missing");
  }
  std::vector<Workspace::Change> changes;
  for (const Json& each : *list) {
    auto text = readString(each, "text");
    const Json* const range = member(each, "range");
    const bool is_whole = range == nullptr || range->is_null();
    const auto read = readRange(range);
    if (!text || (!is_whole && !read)) {
      return failed(kInvalidParams, "a change has no text, or a range that is none");
    }
    changes.push_back({.range = read, .text = *std::move(text)});
  }
  workspace_.change(*document, changes, readVersion(*member(params, "textDocument")));
  return {};
}

Answer Requests::didClose(const Json& params) {
  Answer failure;
  const Document* const document = documentIn(params, failure);
  if (document == nullptr) return failure;
  const std::string uri = document->uri();
  closed_.push_back(uri);
  colourings_.erase(uri);
  workspace_.close(uri);
  return {};
}

Answer Requests::filesChanged(const Json& /*params*/) {
  workspace_.forgetFiles();
  return {};
}

std::vector<std::string> Requests::takeDiagnostics() {
  std::vector<std::string> all;
  for (const std::string& uri : std::exchange(closed_, {})) {
    if (workspace_.find(uri) == nullptr) {
      all.push_back(R"({"uri":)" + inJson(uri) + R"(,"diagnostics":[]})");
    }
  }
  for (Document* const document : workspace_.takeUnchecked()) {
    std::string json = R"({"uri":)" + inJson(document->uri());
    if (document->version()) json += R"(,"version":)" + std::to_string(*document->version());
    json += R"(,"diagnostics":)" +
            jsonList(workspace_.check(*document), [&](const Diagnostic& diagnostic) {
              return jsonOf(document->text(), diagnostic);
            });
    all.push_back(json + '}');
  }
  return all;
}

// --- Requests ----------------------------------------------------------------------------------

std::optional<Requests::Place> Requests::wholeIn(const Json& params, Answer& failure) {
  Document* const document = documentIn(params, failure);
  if (document == nullptr) return std::nullopt;
  return Place{document, &workspace_.unitOf(*document), {0, document->text().text().size()}};
}

std::optional<Requests::Place> Requests::placeIn(const Json& params, Answer& failure) {
  auto place = wholeIn(params, failure);
  if (!place) return std::nullopt;
  const auto position = readPosition(member(params, "position"));
  if (!position) {
    failure = failed(kInvalidParams, "position is missing, or is none");
    return std::nullopt;
  }
  const std::size_t offset = place->lines().offsetOf(*position);
  place->span = {offset, offset};
  return place;
}

std::optional<Requests::Place> Requests::rangeIn(const Json& params, Answer& failure) {
  auto place = wholeIn(params, failure);
  if (!place) return std::nullopt;
  const auto range = readRange(member(params, "range"));
  if (!range) {
    failure = failed(kInvalidParams, "range is missing, or is none");
    return std::nullopt;
  }
  place->span = place->lines().spanOf(*range);
  return place;
}

Answer Requests::hover(const Json& params) {
  Answer failure;
  const auto place = placeIn(params, failure);
  if (!place) return failure;
  const auto hover = hoverAt(*place->unit, place->offset());
  if (!hover) return {};
  return {R"({"contents":)" + markdown(hover->markdown) + R"(,"range":)" +
          jsonOf(place->lines(), hover->span) + '}'};
}

Answer Requests::completion(const Json& params) {
  Answer failure;
  const auto place = placeIn(params, failure);
  if (!place) return failure;
  const Completions found = completionsAt(*place->unit, place->offset());
  const std::string range = jsonOf(place->lines(), found.word);
  const auto write = [&range](const CompletionItem& item) {
    const std::string text = inJson(item.text);
    std::string json =
        R"({"label":)" + text + R"(,"kind":)" + std::to_string(static_cast<int>(item.kind));
    if (!item.detail.empty()) json += R"(,"detail":)" + inJson(item.detail);
    if (!item.documentation.empty()) json += R"(,"documentation":)" + markdown(item.documentation);
    return json + R"(,"filterText":)" + text + R"(,"textEdit":{"range":)" + range +
           R"(,"newText":)" + text + "}}";
  };
  return {std::string(R"({"isIncomplete":)") + (found.has_more ? "true" : "false") +
          R"(,"items":)" + jsonList(found.items, write) + '}'};
}

Answer Requests::signatureHelp(const Json& params) {
  Answer failure;
  const auto place = placeIn(params, failure);
  if (!place) return failure;
  const auto help = signatureAt(*place->unit, place->offset());
  if (!help) return {};
  const Signature& signature = help->signature;
  // Columns of a label are units of UTF-16, whatever was agreed on for documents.
  const TextDocument label(signature.label);
  const auto write = [&label](const Span& span) {
    const Range range = label.rangeOf(span);
    return R"({"label":[)" + std::to_string(range.start.character) + ',' +
           std::to_string(range.end.character) + "]}";
  };
  std::string json = R"({"signatures":[{"label":)" + inJson(signature.label) +
                     R"(,"documentation":)" + markdown(signature.documentation) +
                     R"(,"parameters":)" + jsonList(signature.parameters, write);
  // A number that no parameter has is the protocol's way to say that none is active.
  json +=
      R"(,"activeParameter":)" + std::to_string(help->active.value_or(signature.parameters.size()));
  return {json + R"(}],"activeSignature":0})"};
}

Answer Requests::definition(const Json& params) {
  Answer failure;
  const auto place = placeIn(params, failure);
  if (!place) return failure;
  const auto use = place->unit->scopes.at(place->unit->own, place->offset());
  if (!use) return {};
  return {jsonList(place->unit->scopes.definitionsOf(*use),
                   [&](const Use& each) { return locationOf(*place->unit, each); })};
}

Answer Requests::references(const Json& params) {
  Answer failure;
  const auto place = placeIn(params, failure);
  if (!place) return failure;
  const auto use = place->unit->scopes.at(place->unit->own, place->offset());
  if (!use) return {};
  const Json* const context = member(params, "context");
  const Json* const wish = context == nullptr ? nullptr : member(*context, "includeDeclaration");
  const bool has_declarations = wish == nullptr || !wish->is_boolean() || wish->get<bool>();
  const Unit unit = workspace_.unitAround(*place->document, use->name);
  std::vector<Use> uses = unit.scopes.sameAs(*use);
  if (!has_declarations) {
    std::erase_if(uses, [](const Use& each) {
      return each.role == Role::Definition || each.role == Role::Parameter ||
             each.role == Role::Local;
    });
  }
  return {jsonList(uses, [&](const Use& each) { return locationOf(unit, each); })};
}

Answer Requests::documentHighlight(const Json& params) {
  Answer failure;
  const auto place = placeIn(params, failure);
  if (!place) return failure;
  const auto use = place->unit->scopes.at(place->unit->own, place->offset());
  if (!use) return {};
  std::vector<Use> uses = place->unit->scopes.sameAs(*use);
  std::erase_if(uses, [&](const Use& each) { return each.text != place->unit->own; });
  return {jsonList(uses, [&](const Use& each) {
    return R"({"range":)" + jsonOf(place->lines(), each.span) + R"(,"kind":)" +
           (isWrite(each.role) ? "3" : "2") + '}';
  })};
}

Answer Requests::documentSymbol(const Json& params) {
  Answer failure;
  const auto place = wholeIn(params, failure);
  if (!place) return failure;
  return {jsonList(definitionsIn(place->text().parts), [&](const Definition& definition) {
    return R"({"name":)" + inJson(definition.name) + R"(,"kind":)" +
           std::to_string(symbolKind(definition)) + R"(,"range":)" +
           jsonOf(place->lines(), definition.span) + R"(,"selectionRange":)" +
           jsonOf(place->lines(), definition.name_span) + '}';
  })};
}

Answer Requests::workspaceSymbol(const Json& params) {
  const auto query = readString(params, "query");
  if (!query) return failed(kInvalidParams, "query is missing");
  const std::string wanted = upperCase(*query);
  std::vector<std::string> seen;  // Texts that several documents load.
  std::string json = "[";
  for (const auto& [uri, document] : workspace_.documents()) {
    for (const std::shared_ptr<const ProgramText>& text : workspace_.unitOf(*document).texts) {
      if (std::find(seen.begin(), seen.end(), text->uri) != seen.end()) continue;
      seen.push_back(text->uri);
      for (const Definition& definition : definitionsIn(text->parts)) {
        if (definition.name.find(wanted) == std::string_view::npos) continue;
        if (json.size() > 1) json += ',';
        json += R"({"name":)" + inJson(definition.name) + R"(,"kind":)" +
                std::to_string(symbolKind(definition)) + R"(,"location":{"uri":)" +
                inJson(text->uri) + R"(,"range":)" + jsonOf(text->document, definition.name_span) +
                "}}";
      }
    }
  }
  return {json + ']'};
}

Answer Requests::prepareRename(const Json& params) {
  Answer failure;
  const auto place = placeIn(params, failure);
  if (!place) return failure;
  const auto use = place->unit->scopes.at(place->unit->own, place->offset());
  if (!use) return {};
  const std::string reason = whyNoRename(*place->unit, *use);
  if (!reason.empty()) return failed(kRequestFailed, reason);
  return {R"({"range":)" + jsonOf(place->lines(), use->span) + R"(,"placeholder":)" +
          inJson(place->lines().textOf(use->span)) + '}'};
}

Answer Requests::rename(const Json& params) {
  Answer failure;
  const auto place = placeIn(params, failure);
  if (!place) return failure;
  const auto name = readString(params, "newName");
  if (!name) return failed(kInvalidParams, "newName is missing");
  const auto use = place->unit->scopes.at(place->unit->own, place->offset());
  if (!use) return failed(kRequestFailed, "there is no name here");
  const Unit unit = workspace_.unitAround(*place->document, use->name);
  std::string reason = whyNoRename(unit, *use);
  if (reason.empty()) reason = whyNotNamed(unit, *use, *name);
  if (!reason.empty()) return failed(kRequestFailed, reason);
  std::map<std::size_t, std::vector<TextEdit>> edits;  // By text.
  for (const Use& each : unit.scopes.sameAs(*use)) {
    edits[each.text].push_back({.span = each.span, .text = *name});
  }
  std::string json = R"({"changes":{)";
  for (const auto& [index, of_text] : edits) {
    const ProgramText& text = *unit.texts[index];
    if (!json.ends_with('{')) json += ',';
    json += inJson(text.uri) + ':' + jsonOf(text.document, of_text);
  }
  return {json + "}}"};
}

Answer Requests::foldingRange(const Json& params) {
  Answer failure;
  const auto place = wholeIn(params, failure);
  if (!place) return failure;
  return {jsonList(foldsIn(place->text()), [](const Fold& fold) {
    return R"({"startLine":)" + std::to_string(fold.first_line) + R"(,"endLine":)" +
           std::to_string(fold.last_line) + (fold.is_comment ? R"(,"kind":"comment"})" : "}");
  })};
}

Answer Requests::selectionRange(const Json& params) {
  Answer failure;
  const auto place = wholeIn(params, failure);
  if (!place) return failure;
  const Json* const positions = member(params, "positions");
  if (positions == nullptr || !positions->is_array()) {
    return failed(kInvalidParams, "positions are missing");
  }
  std::string json = "[";
  for (const Json& each : *positions) {
    const auto position = readPosition(&each);
    if (!position) return failed(kInvalidParams, "one of the positions is none");
    if (json.size() > 1) json += ',';
    const std::vector<Span> spans = selectionsAt(place->text(), place->lines().offsetOf(*position));
    for (std::size_t n = 0; n < spans.size(); ++n) {
      json +=
          (n == 0 ? R"({"range":)" : R"(,"parent":{"range":)") + jsonOf(place->lines(), spans[n]);
    }
    json += std::string(spans.size(), '}');
  }
  return {json + ']'};
}

Answer Requests::formatting(const Json& params) {
  Answer failure;
  const auto place = wholeIn(params, failure);
  if (!place) return failure;
  return {jsonOf(place->lines(), formatAll(place->text()))};
}

Answer Requests::rangeFormatting(const Json& params) {
  Answer failure;
  const auto place = rangeIn(params, failure);
  if (!place) return failure;
  return {jsonOf(place->lines(), formatForms(place->text(), place->span))};
}

Answer Requests::onTypeFormatting(const Json& params) {
  Answer failure;
  const auto place = placeIn(params, failure);
  if (!place) return failure;
  const auto typed = readString(params, "ch");
  if (!typed || typed->empty()) return failed(kInvalidParams, "ch is missing");
  return {jsonOf(place->lines(), formatTyped(place->text(), place->offset(), typed->front()))};
}

Answer Requests::codeAction(const Json& params) {
  Answer failure;
  const auto place = rangeIn(params, failure);
  if (!place) return failure;
  std::string json = "[";
  for (const Diagnostic& diagnostic : workspace_.check(*place->document)) {
    const bool touches =
        diagnostic.span.begin <= place->span.end && place->span.begin <= diagnostic.span.end;
    const auto fix = touches ? fixFor(place->text(), diagnostic) : std::nullopt;
    if (!fix) continue;
    if (json.size() > 1) json += ',';
    json += R"({"title":)" + inJson(fix->title) + R"(,"kind":"quickfix","diagnostics":[)" +
            jsonOf(place->lines(), diagnostic) + R"(],"edit":{"changes":{)" +
            inJson(place->document->uri()) + ":[" + jsonOf(place->lines(), fix->edit) + "]}}}";
  }
  return {json + ']'};
}

Answer Requests::semanticTokens(const Json& params) {
  Answer failure;
  const auto place = wholeIn(params, failure);
  if (!place) return failure;
  Colouring& colouring = colourings_[place->document->uri()];
  return {R"({"data":[)" + colouring.encode(place->text(), place->span) + "]}"};
}

Answer Requests::semanticTokensOfRange(const Json& params) {
  Answer failure;
  const auto place = rangeIn(params, failure);
  if (!place) return failure;
  Colouring& colouring = colourings_[place->document->uri()];
  return {R"({"data":[)" + colouring.encode(place->text(), place->span) + "]}"};
}

Answer Requests::inlayHint(const Json& params) {
  Answer failure;
  const auto place = rangeIn(params, failure);
  if (!place) return failure;
  const auto write = [&](const InlayHint& hint) {
    return R"({"position":)" + jsonOf(place->lines().positionOf(hint.offset)) + R"(,"label":)" +
           inJson(hint.label) +
           (hint.is_parameter ? R"(,"kind":2,"paddingRight":true})" : R"(,"paddingLeft":true})");
  };
  return {jsonList(inlayHintsIn(*place->unit, place->span), write)};
}

}  // namespace lisp_worker::console::language
