// A file that is only ever appended to, each time in one write, so whatever ends the program leaves
// all earlier writes whole.

#ifndef LISP_WORKER_SESSION_APPEND_FILE_H_
#define LISP_WORKER_SESSION_APPEND_FILE_H_

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace lisp_worker::session {

class AppendFile {
 public:
  virtual ~AppendFile() = default;

  // False when the file does not take all of `bytes`, as when the disk is full, with the system's
  // reason in `error_out`. In a process that was forked from the one that has made the file nothing
  // is written, and that is the reason.
  [[nodiscard]] virtual bool append(std::string_view bytes, std::string* error_out) = 0;
};

// Makes the file. One that exists already is left alone: null, with the system's reason in
// `error_out`.
[[nodiscard]] std::unique_ptr<AppendFile> createAppendFile(const std::filesystem::path& path,
                                                           std::string* error_out);

}  // namespace lisp_worker::session

#endif  // LISP_WORKER_SESSION_APPEND_FILE_H_
