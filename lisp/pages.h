// Memory that the process has and does not need.

#ifndef LISP_PAGES_H_
#define LISP_PAGES_H_

#include <cstddef>

namespace lisp::storage {

// Gives whole pages back to the system. Their addresses stay the process's; their contents are
// unspecified from here on, and what is written to them next takes memory again.
void returnPages(void* begin, std::size_t size);

}  // namespace lisp::storage

#endif  // LISP_PAGES_H_
