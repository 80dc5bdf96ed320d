// Everything that the console prints, made safe for a person's terminal.
//
// Texts of programs, drawings, files and the worker reach the output at many places, and control
// sequences in them could do anything to a terminal. So all of std::cout and std::cerr passes one
// filter, and whoever means a control sequence writes it around that.

#ifndef CONSOLE_SAFE_OUTPUT_H_
#define CONSOLE_SAFE_OUTPUT_H_

#include <streambuf>
#include <string>

namespace lisp_worker::console {

// Passes lines on, through safeText.
class SafeBuffer : public std::streambuf {
 public:
  // `target` must outlive the buffer.
  explicit SafeBuffer(std::streambuf& target) : target_(target) {}
  SafeBuffer(const SafeBuffer&) = delete;
  SafeBuffer& operator=(const SafeBuffer&) = delete;
  ~SafeBuffer() override;

 protected:
  int_type overflow(int_type c) override;
  std::streamsize xsputn(const char* text, std::streamsize size) override;
  int sync() override;

 private:
  bool pass(std::size_t size);

  std::streambuf& target_;
  std::string waiting_;  // The end of a line, or of a letter, is still to come.
};

// Puts the filter before std::cout and std::cerr for as long as it lives.
class SafeOutput {
 public:
  SafeOutput();
  SafeOutput(const SafeOutput&) = delete;
  SafeOutput& operator=(const SafeOutput&) = delete;
  ~SafeOutput();

 private:
  std::streambuf* out_;
  std::streambuf* err_;
  SafeBuffer safe_out_;
  SafeBuffer safe_err_;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_SAFE_OUTPUT_H_
