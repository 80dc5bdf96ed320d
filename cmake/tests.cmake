# Tests: one GoogleTest program per directory, and a few ctest entries per program.
#
# Entries per program, not per test: a program of a thousand tests starts once instead of a
# thousand times, which under the sanitizers is the difference between seconds and minutes, and
# tests that share a process also show whether one leaves something behind for the next. A failing
# test is named by GoogleTest in the output, which ctest prints for every failing entry.

if(CMAKE_CROSSCOMPILING)
  # No distribution carries GoogleTest built for the other system; its sources come with the
  # package for this one.
  set(LISP_GOOGLETEST_SOURCES /usr/src/googletest CACHE PATH "Sources of GoogleTest")
  set(INSTALL_GTEST OFF)
  add_subdirectory(${LISP_GOOGLETEST_SOURCES} googletest EXCLUDE_FROM_ALL SYSTEM)
else()
  find_package(GTest REQUIRED)
endif()

# Usually those of this build.
set(LISP_TESTED_WORKERS ${PROJECT_BINARY_DIR} CACHE PATH "Where the workers are that tests start")

# Where tests find what is outside their own program: tests of whole processes read these. In
# ctest's output only failing tests speak; started by hand, a program names every test it runs.
set(lisp_test_environment
    GTEST_BRIEF=1
    LISP_SOURCE_DIR=${PROJECT_SOURCE_DIR}
    LISP_WORKER_PATH=${LISP_TESTED_WORKERS}/lisp_worker${CMAKE_EXECUTABLE_SUFFIX}
    LISP_CONSOLE_PATH=${PROJECT_BINARY_DIR}/lisp_console${CMAKE_EXECUTABLE_SUFFIX}
    LISP_FAILING_WORKER_PATH=${LISP_TESTED_WORKERS}/lisp_failing_worker${CMAKE_EXECUTABLE_SUFFIX}
    LISP_SESSION_PATH=${PROJECT_BINARY_DIR}/lisp_session${CMAKE_EXECUTABLE_SUFFIX}
    LISP_FAULTY_WORKER_PATH=${LISP_TESTED_WORKERS}/lisp_faulty_worker${CMAKE_EXECUTABLE_SUFFIX})
if(LISP_SANITIZE)
  # Random conversations take twenty times as long here; the release build holds all of them.
  list(APPEND lisp_test_environment
       LISP_DIFFERENTIAL_COUNT=100
       LISP_NUMBER_COUNT=20000
       LISP_FORMAT_COUNT=1000
       LISP_FAULT_STRIDE=61
       LISP_FAULT_TIME_LIMIT=3000
       LISP_FAULT_THREADS=8
       LISP_CHECK_SECONDS=60
       LISP_START_COUNT=40
       LISP_ROLLBACK_PROGRAMS=300
       ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=1:strict_string_checks=1
       LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/cmake/leaks_of_libraries.txt:print_suppressions=0
       UBSAN_OPTIONS=print_stacktrace=1)
elseif(LISP_SANITIZE_THREADS)
  list(APPEND lisp_test_environment LISP_FAULT_STRIDE=61 LISP_FAULT_TIME_LIMIT=3000
       TSAN_OPTIONS=halt_on_error=1:die_after_fork=0)
elseif(LISP_SANITIZE_INTEGERS)
  list(APPEND lisp_test_environment UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1)
elseif(CMAKE_CROSSCOMPILING)
  # Every request crosses Wine's server; the other builds hold all of them.
  list(APPEND lisp_test_environment
       LISP_DIFFERENTIAL_COUNT=600
       LISP_FORMAT_COUNT=3000
       LISP_FAULT_STRIDE=211
       LISP_FAULT_TIME_LIMIT=3000
       LISP_FAULT_THREADS=4
       LISP_CHECK_SECONDS=10
       LISP_START_COUNT=40
       LISP_ROLLBACK_PROGRAMS=1000)
endif()

# lisp_quicken_build(<test program>)
#
# Tests take most of the time of a build. GoogleTest's headers, which every test file includes
# anyway, are read once for all; and with them how enumerators are printed, which every test needs and
# none names. What its macros expand to is not optimised in the builds with few random conversations,
# and little in the others, where tests share templates with the code under test.
function(lisp_quicken_build name)
  if(LISP_SANITIZE OR LISP_SANITIZE_THREADS OR LISP_SANITIZE_INTEGERS OR CMAKE_CROSSCOMPILING)
    target_compile_options(${name} PRIVATE -O0)
  elseif(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC 12 is often wrong about these in the standard library's strings. It keeps that to itself, but
    # not where the library was precompiled.
    target_compile_options(${name} PRIVATE -Wno-array-bounds -Wno-restrict -Wno-stringop-overflow)
    # Where branches are counted nothing is optimised.
    if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT LISP_COVERAGE)
      target_compile_options(${name} PRIVATE -O1)
    endif()
  endif()
  if(NOT CMAKE_CROSSCOMPILING)
    # A library that a program uses may ask for it, and what is precompiled must be the same for all.
    target_compile_options(${name} PRIVATE -pthread)
  endif()
  get_property(first GLOBAL PROPERTY lisp_precompiled_by)
  if(first)
    target_precompile_headers(${name} REUSE_FROM ${first})
  else()
    target_precompile_headers(${name} PRIVATE <gmock/gmock.h> <gtest/gtest.h>
                                              ${PROJECT_SOURCE_DIR}/testing/base/enum_printer.h)
    set_property(GLOBAL PROPERTY lisp_precompiled_by ${name})
  endif()
endfunction()

# The samples of hosts in another language. A sanitized library cannot be loaded by a program that
# is not, and another system's not at all.
find_program(LISP_PYTHON python3)
if(LISP_PYTHON AND NOT LISP_SANITIZE AND NOT CMAKE_CROSSCOMPILING)
  foreach(sample IN ITEMS host async_host)
    add_test(NAME python_${sample}
             COMMAND ${CMAKE_COMMAND} -DPYTHON=${LISP_PYTHON}
                     -DSAMPLE=${PROJECT_SOURCE_DIR}/examples/python/${sample}.py
                     -DLIBRARY=$<TARGET_FILE:lisp_worker_c> -DWORKER=$<TARGET_FILE:lisp_worker>
                     -P ${PROJECT_SOURCE_DIR}/cmake/run_python_sample.cmake)
    set_tests_properties(python_${sample} PROPERTIES TIMEOUT 60)
  endforeach()
endif()

# lisp_tests(<name> DIRECTORY <directory> LINKS <component>... [RUNS <program>...] [SHARDS <count>])
#
# Defines the test program <name> and a ctest entry <name>_<shard> for each share of its tests: more
# shares than processors, where one long program would keep one processor waiting for the other. The
# programs that the tests run are built with it, workers of another build excepted.
function(lisp_tests name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "DIRECTORY;SHARDS" "LINKS;RUNS")
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${arg_DIRECTORY}/*_test.cc
       ${PROJECT_SOURCE_DIR}/${arg_DIRECTORY}/*/*_test.cc)
  lisp_keep_platform_files(sources ${sources})
  if(NOT sources)
    return()
  endif()
  add_executable(${name} ${sources})
  target_link_libraries(${name} PRIVATE lisp_options ${arg_LINKS} testing_support GTest::gmock
                                        GTest::gtest_main)
  lisp_quicken_build(${name})
  foreach(program IN LISTS arg_RUNS)
    if(TARGET ${program} AND NOT (program MATCHES "_worker$" AND
                                  NOT LISP_TESTED_WORKERS STREQUAL PROJECT_BINARY_DIR))
      add_dependencies(${name} ${program})
    endif()
  endforeach()
  if(NOT arg_SHARDS)
    set(arg_SHARDS 1)
  endif()
  if(LISP_SANITIZE AND arg_SHARDS LESS 2)
    set(arg_SHARDS 2)
  endif()
  math(EXPR last_shard "${arg_SHARDS} - 1")
  foreach(shard RANGE ${last_shard})
    set(environment ${lisp_test_environment} GTEST_TOTAL_SHARDS=${arg_SHARDS}
                    GTEST_SHARD_INDEX=${shard})
    if(CMAKE_BUILD_TYPE STREQUAL "Release")
      # What the worker answers, to be compared between systems (tools/compare_responses).
      list(APPEND environment
           LISP_RESPONSE_RECORD=${PROJECT_BINARY_DIR}/${name}.${shard}.responses)
    endif()
    add_test(NAME ${name}_${shard} COMMAND ${name})
    set_tests_properties(${name}_${shard} PROPERTIES ENVIRONMENT "${environment}" TIMEOUT 900)
  endforeach()
endfunction()

# lisp_fuzz_smoke(<name>)
#
# Defines a test program that runs every fuzzer for a moment (fuzz/smoke_test.cc), with the compiler
# of the build. The sanitizer build has the fuzzers themselves.
function(lisp_fuzz_smoke name)
  if(CMAKE_CROSSCOMPILING OR LISP_SANITIZE)
    return()
  endif()
  lisp_tests(${name} DIRECTORY fuzz LINKS worker_core console_core session)
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/fuzz/*_fuzz.cc)
  set(fuzzers)
  foreach(source IN LISTS sources)
    cmake_path(GET source STEM fuzzer)
    add_library(${fuzzer}_smoke OBJECT ${source})
    target_link_libraries(${fuzzer}_smoke PRIVATE lisp_options testing_support)
    target_compile_definitions(${fuzzer}_smoke PRIVATE LLVMFuzzerTestOneInput=${fuzzer})
    target_sources(${name} PRIVATE $<TARGET_OBJECTS:${fuzzer}_smoke>)
    string(APPEND fuzzers "FUZZER(${fuzzer})")
  endforeach()
  set_source_files_properties(${PROJECT_SOURCE_DIR}/fuzz/smoke_test.cc PROPERTIES
                              COMPILE_DEFINITIONS "LISP_FUZZERS=${fuzzers}")
endfunction()
