// The ways in which a client counts, as it says when a session begins.

#ifndef CONSOLE_ADAPTER_CLIENT_STYLE_H_
#define CONSOLE_ADAPTER_CLIENT_STYLE_H_

namespace lisp_worker::console {

struct ClientStyle {
  int first_line = 1;
  int first_column = 1;
  bool shows_types = false;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_ADAPTER_CLIENT_STYLE_H_
