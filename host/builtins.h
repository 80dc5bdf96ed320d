// The builtins of this directory, as rows for the evaluator.

#ifndef HOST_BUILTINS_H_
#define HOST_BUILTINS_H_

#include <span>

#include "lisp/builtin.h"

namespace host {

// The eleven host builtins, and SSLENGTH and SSNAME, which work on the selection sets that hosts
// hand back.
[[nodiscard]] std::span<const lisp::Builtin> host_builtins();

}  // namespace host

#endif  // HOST_BUILTINS_H_
