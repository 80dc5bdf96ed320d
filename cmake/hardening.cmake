# What the compiler and the linker can do to make a mistake of ours a crash instead of a way in.
# On for release builds, which are what ships; the sanitizers have checks of their own.

option(LISP_HARDEN "Build with the toolchain's hardening" ON)

if(LISP_HARDEN AND CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT LISP_SANITIZE)
  # An index out of range or an empty optional ends the process.
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
  if(NOT WIN32)  # cmake/mingw-w64.cmake has the flags for Windows.
    # Distributions build their compilers so that executables are position independent anyway, and
    # tools/check_packages looks. CMake's own switch would compile libraries as if they were shared,
    # whose functions cannot be put in line.
    #
    # No landing pads of control-flow protection: a system uses them only in a program that carries
    # the mark for it, and the linker sets the mark only if every object has it, which the C library's
    # start files of Debian 12 have not.
    add_compile_options(
      -fstack-protector-strong -fstack-clash-protection -fcf-protection=none -U_FORTIFY_SOURCE
      -D_FORTIFY_SOURCE=3)
    add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack,-z,separate-code)
  endif()
endif()

# A released worker may make ten system calls (worker/least_privilege_posix.cc). Not restricted are
# builds whose instrumentation needs others: sanitizers, notes on coverage, and the worker that tells
# which request broke the law of work.
if(LISP_SANITIZE OR LISP_COVERAGE OR LISP_DECISIONS OR LISP_COUNT_WORK)
  add_compile_definitions(LISP_FREE_SYSTEM_CALLS=1)
endif()
