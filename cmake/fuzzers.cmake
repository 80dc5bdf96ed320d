# Fuzzers: every fuzz/*_fuzz.cc is a program of its own, driven by libFuzzer.

file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/fuzz/*_fuzz.cc)
add_custom_target(fuzzers)
foreach(source IN LISTS sources)
  cmake_path(GET source STEM name)
  add_executable(${name} EXCLUDE_FROM_ALL ${source})
  target_link_libraries(${name} PRIVATE lisp_options testing_support console_core)
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/fuzz)
  add_dependencies(fuzzers ${name})
endforeach()
