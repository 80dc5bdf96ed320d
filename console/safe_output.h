// Everything that the console prints, made safe for a person's terminal.
//
// Texts of programs, drawings, files and the worker reach the output at many places, and control
// sequences in them could do anything to a terminal. So all of std::cout and std::cerr passes one
// filter. Whoever prints says what a text is, not how it looks:
//
//   std::cout << Style::Error << "error: " << message << Style::Plain << "\n";
//
// The filter alone turns that into colours, and only when it was told to. It also breaks lines that
// are wider than the terminal between two words.

#ifndef CONSOLE_SAFE_OUTPUT_H_
#define CONSOLE_SAFE_OUTPUT_H_

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

namespace lisp_worker::console {

// Of the text that follows, up to the next.
enum class Style : std::uint8_t {
  Plain,
  Error,
  Warning,  // Something was refused, or taken back.
  Value,
  Added,
  Changed,
  Erased,
  Prompt,
};

// Has no effect on a stream that does not lead through the filter, such as one into a string.
std::ostream& operator<<(std::ostream& out, Style style);

// Where to break a line, without its end, that is wider than `width`: the bytes at which blanks
// give way to a line end. `indent` becomes the number of blanks to put in front of the parts after
// the first: as many as bring them under what the first has in its last column. A line of a program
// with its number in front is never broken.
[[nodiscard]] std::vector<std::size_t> lineBreaks(std::string_view line, std::size_t width,
                                                  std::size_t& indent);

// Passes lines on, through safeText.
class SafeBuffer : public std::streambuf {
 public:
  // `target` must outlive the buffer.
  explicit SafeBuffer(std::streambuf& target) : target_(target) {}
  SafeBuffer(const SafeBuffer&) = delete;
  SafeBuffer& operator=(const SafeBuffer&) = delete;
  ~SafeBuffer() override;

  void setColours(bool has_colours) { has_colours_ = has_colours; }
  // Breaks wider lines; 0 breaks none.
  void setWidth(std::size_t width) { width_ = width; }
  // The style of what is written from here on.
  void setStyle(Style style);

 protected:
  int_type overflow(int_type c) override;
  std::streamsize xsputn(const char* text, std::streamsize size) override;
  int sync() override;

 private:
  // That the style changes at a byte of waiting_.
  struct Mark {
    std::size_t at;
    Style style;
  };

  bool pass(std::size_t size);
  bool passLine(std::size_t size);

  std::streambuf& target_;
  std::string waiting_;  // The end of a line, or of a letter, is still to come.
  std::vector<Mark> marks_;
  bool has_colours_ = false;
  std::size_t width_ = 0;
  bool is_line_begun_ = false;  // A part of it has been passed on already.
};

// Puts the filter before std::cout and std::cerr for as long as it lives.
class SafeOutput {
 public:
  SafeOutput();
  SafeOutput(const SafeOutput&) = delete;
  SafeOutput& operator=(const SafeOutput&) = delete;
  ~SafeOutput();

  void setColours(bool on_output, bool on_error);
  void setWidth(std::size_t width) { safe_out_.setWidth(width); }
  // Writes a text that is meant for a file or another program to standard output, byte for byte. At
  // a terminal it passes the filter like all else.
  void writeUnchanged(std::string_view text);

 private:
  std::streambuf* out_;
  std::streambuf* err_;
  SafeBuffer safe_out_;
  SafeBuffer safe_err_;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_SAFE_OUTPUT_H_
