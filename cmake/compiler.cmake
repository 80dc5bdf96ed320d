# What every build of the project has in common: the language, the floating-point rules, the
# warnings, and the switches of the builds that look for faults.

option(LISP_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
option(LISP_SANITIZE_THREADS "Build the host's side with ThreadSanitizer" OFF)
option(LISP_SANITIZE_INTEGERS "Report integers that wrap around or lose bits" OFF)
option(LISP_PLAIN_ALLOCATION
       "Take the storage of values straight from operator new, so that a sanitizer sees every one"
       OFF)

option(LISP_COVERAGE "Note which lines and branches run" OFF)
option(LISP_DECISIONS "Note which conditions decide: needs Clang 19" OFF)
option(LISP_PLAIN_FORMS "Give all forms of an operation one shape, to follow them in a debugger" OFF)
option(LISP_COUNT_WORK "Count the work of every request and hold it against the law" OFF)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_COMPILE_WARNING_AS_ERROR ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
set(CMAKE_CXX_FLAGS_DEBUG "-Og -g -D_GLIBCXX_ASSERTIONS")

# Answers are compared to the bit: a product and a sum round separately, as they are written.
add_compile_options(-ffp-contract=off)

# GCC packs neighbouring 8-byte members of small records into vector registers and pays for it
# with moves between register files; two-word values are exactly such records.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options(-fno-tree-slp-vectorize)
endif()

if(LISP_COVERAGE)
  # Nothing optimised, so that the branches are those of the source: even what is put in line
  # everywhere is one function, not a copy for every call. The locks around the making of a static
  # object are nobody's branches: the worker has a single thread.
  add_compile_options(--coverage -O0 -fno-threadsafe-statics)
  add_compile_definitions(always_inline=unused)
  add_link_options(--coverage)
endif()

if(LISP_DECISIONS)
  set(notes -fprofile-instr-generate -fcoverage-mapping -fcoverage-mcdc)
  # The standard library of GCC 12 sorts with what its own headers call deprecated.
  add_compile_options(${notes} -Wno-deprecated-declarations)
  add_link_options(${notes})
endif()

if(LISP_COUNT_WORK)
  add_compile_definitions(LISP_COUNT_WORK=1)
endif()

if(LISP_PLAIN_FORMS)
  add_compile_definitions(LISP_PLAIN_FORMS=1)
endif()

if(LISP_PLAIN_ALLOCATION)
  add_compile_definitions(LISP_PLAIN_ALLOCATION=1)
endif()

if(LISP_SANITIZE)
  set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g1 -D_GLIBCXX_ASSERTIONS")
  # A conversion of a double that does not fit is undefined but not among "undefined".
  set(sanitizers -fsanitize=address,undefined,float-cast-overflow)
  add_compile_options(${sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(${sanitizers})
  add_compile_definitions(LISP_SANITIZE=1)
endif()

if(LISP_SANITIZE_THREADS)
  set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g1 -D_GLIBCXX_ASSERTIONS")
  add_compile_options(-fsanitize=thread)
  add_link_options(-fsanitize=thread)
  add_compile_definitions(LISP_SANITIZE_THREADS=1)
endif()

if(LISP_SANITIZE_INTEGERS)
  set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g1 -D_GLIBCXX_ASSERTIONS")
  # Unsigned arithmetic that wraps around is defined, but where it is meant the code says it
  # (lisp/wrapping.h); the list has what is not ours. A program goes on after a report, unless
  # UBSAN_OPTIONS says otherwise, as it does for the tests.
  set(sanitizers -fsanitize=integer,implicit-conversion,undefined,float-cast-overflow)
  add_compile_options(${sanitizers}
                      -fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/integers_of_others.txt)
  add_link_options(${sanitizers})
  add_compile_definitions(LISP_SANITIZE_INTEGERS=1)
endif()

if(LISP_FUZZ)
  # Tells the fuzzers which branches an input has taken.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# Linked by every target of ours and by nothing else: a library built from someone else's sources
# answers for its own warnings.
add_library(lisp_options INTERFACE)
# Headers for hosts are included from include/, here as from an installed tree.
target_include_directories(lisp_options INTERFACE ${PROJECT_SOURCE_DIR}
                                                  ${PROJECT_SOURCE_DIR}/include)
target_compile_options(
  lisp_options
  INTERFACE -Wall
            -Wextra
            -Wpedantic
            -Wshadow
            -Wold-style-cast
            -Wextra-semi
            -Wnon-virtual-dtor
            -Woverloaded-virtual
            -Wimplicit-fallthrough
            -Wunused)

# Linked by all but tests: there, literals of every type meet each other in expectations, and a
# wrong one fails its test.
add_library(lisp_strict_options INTERFACE)
target_link_libraries(lisp_strict_options INTERFACE lisp_options)
target_compile_options(lisp_strict_options INTERFACE -Wconversion -Wsign-conversion
                                                     -Wdouble-promotion)
