#include "console/language/workspace.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <system_error>
#include <utility>

#include "check/check.h"
#include "console/check_program.h"
#include "console/language/uri.h"
#include "explain/explanation.h"

namespace lisp_worker::console::language {
namespace {

// With slashes, as the paths of URIs.
std::string absolutePath(const std::string& path) {
  std::error_code failure;
  const auto absolute = std::filesystem::absolute(path, failure);
  return (failure ? std::filesystem::path(path) : absolute.lexically_normal()).generic_string();
}

Unit makeUnit(std::vector<std::shared_ptr<const ProgramText>> texts, std::size_t own) {
  std::vector<const ProgramParts*> parts;
  for (const auto& text : texts) parts.push_back(&text->parts);
  return {.texts = std::move(texts), .own = own, .scopes = Scopes(std::move(parts))};
}

// The line that "PATH: line 3: REASON" speaks of, which the message loses; else the first.
std::size_t takeLine(const std::string& path, std::string& message) {
  const std::string front = path + ": line ";
  if (!message.starts_with(front)) return 0;
  std::size_t number = 0;
  const char* const end = message.data() + message.size();
  const auto [digits_end, failure] = std::from_chars(message.data() + front.size(), end, number);
  if (failure != std::errc() || number == 0 || end - digits_end < 2) return 0;
  message.erase(0, static_cast<std::size_t>(digits_end - message.data()) + 2);
  return number - 1;
}

bool loads(const Program& program, const std::string& name) {
  return program.name == name ||
         std::any_of(program.libraries.begin(), program.libraries.end(),
                     [&name](const Program& library) { return loads(library, name); });
}

// The line in which the program names a library that is this text or loads it.
std::size_t loadingLine(const Program& program, const std::string& name) {
  const std::filesystem::path directory = std::filesystem::path(program.name).parent_path();
  for (const Program& library : program.libraries) {
    if (!loads(library, name)) continue;
    for (const NamedFile& named : program.script.libraries) {
      if (libraryPath(directory, named.path) == library.name) return named.line - 1;
    }
  }
  return 0;
}

}  // namespace

Document::Document(std::string uri, std::string text, std::optional<std::int64_t> version,
                   Encoding encoding)
    : path_(pathOf(uri)), version_(version) {
  TextDocument document(std::move(text), encoding);
  ProgramParts parts(document.text());
  text_ = std::make_shared<ProgramText>(ProgramText{
      .uri = std::move(uri), .document = std::move(document), .parts = std::move(parts)});
}

void Document::noteChange(std::optional<std::int64_t> version) {
  version_ = version;
  is_checked_ = false;
  is_read_ = false;
}

void Workspace::open(const std::string& uri, std::string text,
                     std::optional<std::int64_t> version) {
  documents_[uri] = std::make_unique<Document>(uri, std::move(text), version, encoding_);
  forgetReadersOf(uri);
}

void Workspace::close(const std::string& uri) {
  documents_.erase(uri);
  forgetReadersOf(uri);
}

Document* Workspace::find(const std::string& uri) {
  const auto found = documents_.find(uri);
  return found == documents_.end() ? nullptr : found->second.get();
}

void Workspace::change(Document& document, const std::vector<Change>& changes,
                       std::optional<std::int64_t> version) {
  document.unit_.reset();
  forgetReadersOf(document.uri());
  ProgramText& text = *document.text_;
  for (const Change& change : changes) {
    if (change.range) {
      text.document.replace(*change.range, change.text);
    } else {
      text.document.replaceAll(change.text);
    }
  }
  text.parts.update(text.document.text());
  document.noteChange(version);
}

// What others have read of this text is a copy.
void Workspace::forgetReadersOf(const std::string& uri) {
  for (auto& [other_uri, other] : documents_) {
    const bool has_read =
        other->is_read_ &&
        (!other->program_ || std::any_of(other->libraries_.begin(), other->libraries_.end(),
                                         [path = pathOf(uri)](const auto& library) {
                                           return pathOf(library->uri) == path;
                                         }));
    if (has_read) forgetFilesOf(*other);
  }
}

void Workspace::forgetFilesOf(Document& document) {
  document.is_read_ = false;
  document.is_checked_ = false;
}

void Workspace::forgetFiles() {
  for (auto& [uri, document] : documents_) forgetFilesOf(*document);
}

std::vector<Document*> Workspace::takeUnchecked() {
  std::vector<Document*> unchecked;
  for (auto& [uri, document] : documents_) {
    if (!std::exchange(document->is_checked_, true)) unchecked.push_back(document.get());
  }
  return unchecked;
}

const std::string* Workspace::openText(const std::string& path) const {
  const std::string wanted = absolutePath(path);
  for (const auto& [uri, document] : documents_) {
    if (document->path() == wanted) return &document->text().text();
  }
  return nullptr;
}

void Workspace::appendLibraries(const Program& program,
                                std::vector<std::shared_ptr<const ProgramText>>& texts) {
  for (const Program& library : program.libraries) {
    appendLibraries(library, texts);
    const std::string path = absolutePath(library.name);
    std::string uri = uriOf(path);
    for (const auto& [open_uri, document] : documents_) {
      if (document->path() == path) uri = open_uri;
    }
    std::shared_ptr<const ProgramText>& known = libraries_[uri];
    if (known == nullptr || known->document.text() != library.text) {
      known = std::make_shared<const ProgramText>(
          ProgramText{.uri = uri,
                      .document = TextDocument(library.text, encoding_),
                      .parts = ProgramParts(library.text)});
    }
    texts.push_back(known);
  }
}

void Workspace::read(Document& document) {
  if (std::exchange(document.is_read_, true)) return;
  document.unit_.reset();
  document.diagnostics_.reset();
  document.libraries_.clear();
  document.why_no_program_.clear();
  // A text that is no file has its names count from the working directory.
  const std::string name = document.path().empty() ? document.uri() : document.path();
  document.program_ = readOpenProgram(
      name, document.text().text(),
      [this](const std::filesystem::path& path) { return openText(path.string()); },
      document.why_no_program_);
  if (document.program_) appendLibraries(*document.program_, document.libraries_);
}

const std::vector<Diagnostic>& Workspace::check(Document& document) {
  read(document);
  if (!document.diagnostics_) document.diagnostics_ = findMistakes(document);
  return *document.diagnostics_;
}

std::vector<Diagnostic> Workspace::findMistakes(const Document& document) const {
  const TextDocument& text = document.text();
  const auto line_span = [&text](std::size_t line) {
    return text.lineSpan(std::min(line, text.lineCount() - 1));
  };
  if (!document.program_) {
    std::string message = document.why_no_program_;
    const std::string& name = document.path().empty() ? document.uri() : document.path();
    const std::size_t line = takeLine(name, message);
    return {{.span = line_span(line), .is_error = true, .message = message, .advice = ""}};
  }
  const std::size_t shift =
      text.text().size() - document.program_->text.size();  // A byte order mark.
  std::vector<explain::ProgramPointer> texts;
  std::vector<Diagnostic> diagnostics;
  const std::vector<TextFindings> all = checkProgram(*document.program_, texts);
  for (const TextFindings& one : all) {
    for (const check::Finding& finding : one.findings) {
      const bool is_error = finding.severity == check::Severity::Error;
      if (&one == &all.back()) {
        diagnostics.push_back({.span = {std::min(finding.begin + shift, text.text().size()),
                                        std::min(finding.end + shift, text.text().size())},
                               .is_error = is_error,
                               .message = finding.message,
                               .advice = finding.advice});
        continue;
      }
      const std::string& name = finding.program->source.name();
      diagnostics.push_back({.span = line_span(loadingLine(*document.program_, name)),
                             .is_error = is_error,
                             .message = explain::nameOfPlace(*finding.program, finding.begin) +
                                        ": " + finding.message,
                             .advice = finding.advice});
    }
  }
  if (all.back().has_more) {
    diagnostics.push_back({.span = line_span(0),
                           .is_error = false,
                           .message = "... of more than " +
                                      std::to_string(all.back().findings.size()) +
                                      " these are the first",
                           .advice = ""});
  }
  return diagnostics;
}

const Unit& Workspace::unitOf(Document& document) {
  read(document);
  if (!document.unit_) {
    std::vector<std::shared_ptr<const ProgramText>> texts = document.libraries_;
    texts.push_back(document.text_);
    document.unit_ = makeUnit(std::move(texts), document.libraries_.size());
  }
  return *document.unit_;
}

Unit Workspace::unitAround(Document& document, std::string_view name) {
  const Unit& own = unitOf(document);
  std::vector<std::shared_ptr<const ProgramText>> texts = own.texts;
  const auto has = [&texts](const ProgramText& text) {
    return std::any_of(texts.begin(), texts.end(),
                       [&text](const auto& known) { return known->uri == text.uri; });
  };
  for (auto& [uri, other] : documents_) {
    if (other.get() == &document) continue;
    const Unit& unit = unitOf(*other);
    const bool shares = std::any_of(
        unit.texts.begin(), unit.texts.end(), [&](const std::shared_ptr<const ProgramText>& text) {
          const Scopes alone({&text->parts});
          return has(*text) && (alone.isUsed(name, true) || alone.isUsed(name, false));
        });
    if (!shares) continue;
    for (const std::shared_ptr<const ProgramText>& text : unit.texts) {
      if (!has(*text)) texts.push_back(text);
    }
  }
  return makeUnit(std::move(texts), own.own);
}

}  // namespace lisp_worker::console::language
