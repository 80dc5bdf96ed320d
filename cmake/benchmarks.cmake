# Benchmarks, the target "benchmarks": every bench/*_benchmark.cc is a Google Benchmark program of its own, every other
# bench/*.cc a plain program that benchmarks start, such as the host of bench/compare_peers.

add_custom_target(benchmarks)
find_package(benchmark QUIET)
find_package(Lua 5.4 EXACT QUIET)
if(NOT benchmark_FOUND OR NOT LUA_FOUND)
  add_custom_target(missing_libraries_of_benchmarks
                    COMMAND ${CMAKE_COMMAND} -E false
                    COMMENT "benchmarks need Google Benchmark and Lua 5.4")
  add_dependencies(benchmarks missing_libraries_of_benchmarks)
  return()
endif()
enable_language(C)

# In C, with nothing of ours in it: what the worker's process is compared with.
add_executable(echo_worker EXCLUDE_FROM_ALL ${PROJECT_SOURCE_DIR}/bench/echo_worker.c)
target_compile_options(echo_worker PRIVATE -Wall -Wextra -Wpedantic -Wshadow)
set_target_properties(echo_worker PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bench)

file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/bench/*.cc)
lisp_keep_platform_files(sources ${sources})
foreach(source IN LISTS sources)
  cmake_path(GET source STEM name)
  add_executable(${name} EXCLUDE_FROM_ALL ${source})
  add_dependencies(benchmarks ${name})
  target_link_libraries(${name} PRIVATE lisp_strict_options worker_core client session)
  if(name MATCHES "_benchmark$")
    target_link_libraries(${name} PRIVATE benchmark::benchmark_main)
  endif()
  if(name STREQUAL "lua_benchmark")
    target_include_directories(${name} SYSTEM PRIVATE ${LUA_INCLUDE_DIR})
    target_link_libraries(${name} PRIVATE ${LUA_LIBRARIES})
  endif()
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bench)
  add_dependencies(${name} echo_worker lisp_worker lisp_session)
endforeach()
