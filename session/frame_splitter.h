// Frames out of a stream of bytes that comes in pieces of any size.

#ifndef SESSION_FRAME_SPLITTER_H_
#define SESSION_FRAME_SPLITTER_H_

#include <functional>
#include <string>
#include <string_view>

namespace lisp_worker::session {

class FrameSplitter {
 public:
  // Takes the next bytes and hands each frame that is whole with them to `take`. A header that no
  // worker goes on after (another magic or version, too large a payload) is a frame by itself, and
  // the last one: what follows belongs to none.
  void feed(std::string_view bytes, const std::function<void(std::string_view frame)>& take);

  // True when such a header has come.
  [[nodiscard]] bool isOver() const { return is_over_; }

  // The bytes of the frame that is not whole yet; or those after the last one.
  [[nodiscard]] std::string_view rest() const { return rest_; }

 private:
  std::string rest_;
  bool is_over_ = false;
};

}  // namespace lisp_worker::session

#endif  // SESSION_FRAME_SPLITTER_H_
