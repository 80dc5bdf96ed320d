// The files whose saving makes a page new.

#ifndef CONSOLE_WATCH_WATCHED_FILES_H_
#define CONSOLE_WATCH_WATCHED_FILES_H_

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace lisp_worker::console {

// A stamp that changes whenever a file is saved: by writing into it, or by putting another in its
// place.
// Empty when there is no file. A save within the same tick of the file system's clock, with the
// same size, is told by nothing, so look again a moment later than the last change.
[[nodiscard]] std::string fingerprintOf(const std::string& path);

// The files that a program is made of: its own, and the libraries and drawings that its comments
// and theirs name, as far as they can be read. Each once, its own first.
[[nodiscard]] std::vector<std::string> filesOf(const std::string& program_path);

// Looks at files again and again. A save counts once the files have stayed the same from one look
// to the next: an editor may empty a file before it writes it. Nor is a file gone before it has
// stayed away for a moment: an editor may delete it and create it anew.
class WatchedFiles {
 public:
  using Clock = std::chrono::steady_clock;

  // The pause between two looks.
  static constexpr std::chrono::milliseconds kInterval{10};
  // Files that change at every look are taken as they are after this time, and a file that stays
  // away so long is gone.
  static constexpr std::chrono::milliseconds kPatience{100};

  // From here on these files count. What they are at the moment is what they have been.
  void watch(const std::vector<std::string>& paths);

  // Looks once, at that time. True when some file has been saved since the last time that this was
  // true, or since watch().
  [[nodiscard]] bool look(Clock::time_point now);

 private:
  using Fingerprints = std::map<std::string, std::string>;

  Fingerprints known_;  // When they counted last.
  Fingerprints seen_;   // At the last look.
  bool is_restless_ = false;
  Clock::time_point restless_since_;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_WATCH_WATCHED_FILES_H_
