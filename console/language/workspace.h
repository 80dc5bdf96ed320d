// The documents that a client has open, with the libraries that they load.

#ifndef CONSOLE_LANGUAGE_WORKSPACE_H_
#define CONSOLE_LANGUAGE_WORKSPACE_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/language/program_parts.h"
#include "console/language/scopes.h"
#include "console/language/text_document.h"
#include "console/program.h"

namespace lisp_worker::console::language {

// A text with all that follows from it alone.
struct ProgramText {
  std::string uri;
  TextDocument document;
  ProgramParts parts;
};

// Texts that run one after the other; the one that was asked for is `texts[own]`.
struct Unit {
  std::vector<std::shared_ptr<const ProgramText>> texts;
  std::size_t own = 0;
  Scopes scopes;
};

// A mistake, as an editor shows it.
struct Diagnostic {
  Span span;
  bool is_error = false;
  std::string message;
  std::string advice;
};

class Document {
 public:
  Document(std::string uri, std::string text, std::optional<std::int64_t> version,
           Encoding encoding);

  [[nodiscard]] const std::string& uri() const { return text_->uri; }
  // Absolute; empty for a text that is no file.
  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] std::optional<std::int64_t> version() const { return version_; }
  [[nodiscard]] const TextDocument& text() const { return text_->document; }
  [[nodiscard]] const ProgramParts& parts() const { return text_->parts; }

 private:
  friend class Workspace;

  void noteChange(std::optional<std::int64_t> version);

  std::shared_ptr<ProgramText> text_;
  std::string path_;
  std::optional<std::int64_t> version_;
  bool is_checked_ = false;  // The client knows the mistakes in this text.
  // Follow from the text and from files. Empty until they are asked for.
  bool is_read_ = false;
  std::optional<Program> program_;
  std::string why_no_program_;
  std::vector<std::shared_ptr<const ProgramText>> libraries_;
  std::optional<Unit> unit_;
  std::optional<std::vector<Diagnostic>> diagnostics_;
};

class Workspace {
 public:
  void setEncoding(Encoding encoding) { encoding_ = encoding; }

  // Replaces a document that is open already.
  void open(const std::string& uri, std::string text, std::optional<std::int64_t> version);
  void close(const std::string& uri);
  // Null when it is not open.
  [[nodiscard]] Document* find(const std::string& uri);

  // An edit of a piece of a text; without a range, of all of it.
  struct Change {
    std::optional<Range> range;
    std::string text;
  };
  void change(Document& document, const std::vector<Change>& changes,
              std::optional<std::int64_t> version);
  // Files have changed, so everything that was read from them may be another.
  void forgetFiles();

  // Documents whose mistakes are to be told to the client, each once after a change.
  [[nodiscard]] std::vector<Document*> takeUnchecked();
  // All that `lisp_console check` says about it, in the same words.
  [[nodiscard]] const std::vector<Diagnostic>& check(Document& document);

  // The document behind its libraries.
  [[nodiscard]] const Unit& unitOf(Document& document);
  // The same with all other open programs, if they share a text in which the name is used.
  [[nodiscard]] Unit unitAround(Document& document, std::string_view name);

  [[nodiscard]] const std::map<std::string, std::unique_ptr<Document>>& documents() const {
    return documents_;
  }

 private:
  void read(Document& document);
  [[nodiscard]] std::vector<Diagnostic> findMistakes(const Document& document) const;
  void forgetReadersOf(const std::string& uri);
  static void forgetFilesOf(Document& document);
  [[nodiscard]] const std::string* openText(const std::string& path) const;
  void appendLibraries(const Program& program,
                       std::vector<std::shared_ptr<const ProgramText>>& texts);

  Encoding encoding_ = Encoding::Utf16;
  std::map<std::string, std::unique_ptr<Document>> documents_;           // By URI.
  std::map<std::string, std::shared_ptr<const ProgramText>> libraries_;  // By URI; as last read.
};

}  // namespace lisp_worker::console::language

#endif  // CONSOLE_LANGUAGE_WORKSPACE_H_
