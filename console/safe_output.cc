// A stream buffer in front of the real one. What it gets is passed on through safeText(); the bytes
// of a letter that is not whole yet wait for the rest.

#include "console/safe_output.h"

#include <cstddef>
#include <iostream>

#include "console/display.h"
#include "console/utf8.h"

namespace lisp_worker::console {

SafeBuffer::~SafeBuffer() { pass(waiting_.size()); }

bool SafeBuffer::pass(std::size_t size) {
  const std::string text = safeText(std::string_view(waiting_).substr(0, size));
  waiting_.erase(0, size);
  const auto wanted = static_cast<std::streamsize>(text.size());
  return target_.sputn(text.data(), wanted) == wanted;
}

SafeBuffer::int_type SafeBuffer::overflow(int_type c) {
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
  const char letter = traits_type::to_char_type(c);
  return xsputn(&letter, 1) == 1 ? c : traits_type::eof();
}

std::streamsize SafeBuffer::xsputn(const char* text, std::streamsize size) {
  waiting_.append(text, static_cast<std::size_t>(size));
  const std::size_t line_end = waiting_.rfind('\n');
  if (line_end != std::string::npos && !pass(line_end + 1)) return 0;
  return size;
}

int SafeBuffer::sync() {
  const bool is_passed = pass(waiting_.size() - unfinishedSize(waiting_));
  return target_.pubsync() == 0 && is_passed ? 0 : -1;
}

SafeOutput::SafeOutput()
    : out_(std::cout.rdbuf()), err_(std::cerr.rdbuf()), safe_out_(*out_), safe_err_(*err_) {
  std::cout.rdbuf(&safe_out_);
  std::cerr.rdbuf(&safe_err_);
}

SafeOutput::~SafeOutput() {
  std::cout.flush();
  std::cerr.flush();
  std::cout.rdbuf(out_);
  std::cerr.rdbuf(err_);
}

}  // namespace lisp_worker::console
