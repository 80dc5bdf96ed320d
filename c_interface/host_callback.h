// Calls of the host's own functions, out of which no exception may come as it is.

#ifndef C_INTERFACE_HOST_CALLBACK_H_
#define C_INTERFACE_HOST_CALLBACK_H_

#include <exception>
#include <string_view>

#ifdef __GLIBCXX__
#include <cxxabi.h>
#endif

namespace lisp_worker::c_interface {

// Calls `callback`. When it throws, returns what `failed` makes of the exception's text. The forced
// unwinding that ends a cancelled thread is passed on, because it must not be swallowed.
template <typename Callback, typename Failed>
auto callHost(Callback callback, Failed failed) -> decltype(callback()) {
  try {
    return callback();
#ifdef __GLIBCXX__
  } catch (abi::__forced_unwind&) {
    throw;
#endif
  } catch (const std::exception& exception) {
    return failed(std::string_view(exception.what()));
  } catch (...) {
    return failed(std::string_view("it has thrown what is not a std::exception"));
  }
}

}  // namespace lisp_worker::c_interface

#endif  // C_INTERFACE_HOST_CALLBACK_H_
