// The libraries that render are not part of the Windows build.

#include "console/picture.h"

namespace lisp_worker::console {

std::optional<std::string> renderPng(const std::string& /*svg*/, std::string& error) {
  error = "this system has no PNG pictures; let the name end in .svg";
  return std::nullopt;
}

std::optional<std::string> renderPdf(const std::string& /*svg*/, std::string& error) {
  error = "this system has no PDF pictures; let the name end in .svg";
  return std::nullopt;
}

}  // namespace lisp_worker::console
