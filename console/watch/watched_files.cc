#include "console/watch/watched_files.h"

#include <algorithm>
#include <filesystem>
#include <optional>

#include "console/files.h"
#include "console/script.h"

namespace lisp_worker::console {

std::vector<std::string> filesOf(const std::string& program_path) {
  constexpr std::size_t kFileCountMax = 1000;
  std::vector<std::string> paths = {program_path};
  const auto append = [&paths](const std::filesystem::path& path) {
    if (std::find(paths.begin(), paths.end(), path.string()) == paths.end()) {
      paths.push_back(path.string());
    }
  };
  std::vector<std::string> drawings;
  for (std::size_t n = 0; n < paths.size() && paths.size() < kFileCountMax; ++n) {
    std::string error;
    const auto text = readFile(paths[n], error);
    const auto script = text ? readScript(*text, error) : std::nullopt;
    if (!script) continue;
    const std::filesystem::path directory = std::filesystem::path(paths[n]).parent_path();
    for (const NamedFile& library : script->libraries) append(directory / library.path);
    if (script->drawing) drawings.push_back((directory / script->drawing->path).string());
  }
  for (const std::string& drawing : drawings) append(drawing);
  return paths;
}

void WatchedFiles::watch(const std::vector<std::string>& paths) {
  Fingerprints fingerprints;
  for (const std::string& path : paths) {
    const auto known = known_.find(path);
    fingerprints[path] = known == known_.end() ? fingerprintOf(path) : known->second;
  }
  known_ = fingerprints;
  seen_ = std::move(fingerprints);
}

bool WatchedFiles::look(Clock::time_point now) {
  Fingerprints fingerprints;
  bool one_is_gone = false;
  for (const auto& [path, known] : known_) {
    const std::string& fingerprint = fingerprints[path] = fingerprintOf(path);
    one_is_gone = one_is_gone || (fingerprint.empty() && !known.empty());
  }
  const bool is_stable = fingerprints == seen_;
  seen_ = fingerprints;
  if (fingerprints == known_) {
    is_restless_ = false;
    return false;
  }
  if (!is_restless_) {
    is_restless_ = true;
    restless_since_ = now;
  }
  if ((one_is_gone || !is_stable) && now - restless_since_ < kPatience) return false;
  is_restless_ = false;
  known_ = std::move(fingerprints);
  return true;
}

}  // namespace lisp_worker::console
