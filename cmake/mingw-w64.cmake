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

# A function that overruns an array on its stack ends the process instead of returning.
set(CMAKE_CXX_FLAGS_INIT "-fstack-protector-strong")

# What tools/check_windows_program holds:
#   one file that runs on Windows 8 and newer, with no runtime library beside it and no symbols in it;
#   an address space laid out anew, and over all of it, at every start; data that never runs;
#   the stack that Windows gives by default, where the linker would ask for twice as much;
#   nothing of the time or the place of the build, so that the same sources give the same bytes.
string(JOIN " " CMAKE_EXE_LINKER_FLAGS_INIT
       -static -s
       -Wl,--dynamicbase,--high-entropy-va,--nxcompat
       -Wl,--stack,0x100000
       -Wl,--no-insert-timestamp)
# A library has what concerns it of that.
set(CMAKE_SHARED_LINKER_FLAGS_INIT
    "-static -s -Wl,--dynamicbase,--high-entropy-va,--nxcompat -Wl,--no-insert-timestamp")

# Debian keeps the 64-bit loader off the search path.
find_program(LISP_WINE NAMES wine64 wine PATHS /usr/lib/wine)
if(LISP_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${LISP_WINE})
endif()
