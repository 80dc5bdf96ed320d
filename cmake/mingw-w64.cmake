# Toolchain: Windows programs from a Linux machine, run under Wine.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# One file that runs on any Windows: no runtime library travels with it.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")

# Debian keeps the 64-bit loader off the search path.
find_program(LISP_WINE NAMES wine64 wine PATHS /usr/lib/wine)
if(LISP_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${LISP_WINE})
endif()
