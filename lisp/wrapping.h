// Unsigned arithmetic that wraps around on purpose.

#ifndef LISP_WRAPPING_H_
#define LISP_WRAPPING_H_

// Marks a function that computes modulo a power of two, as hash functions and generators of random
// numbers do. Everywhere else a result that does not fit is a mistake, and the build that looks for
// such mistakes (the preset integers) reports it.
#ifdef __clang__
#define LISP_WRAPS __attribute__((no_sanitize("unsigned-integer-overflow", "unsigned-shift-base")))
#else
#define LISP_WRAPS
#endif

#endif  // LISP_WRAPPING_H_
