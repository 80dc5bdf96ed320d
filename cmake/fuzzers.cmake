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

# The canary: the evaluator's fuzzer, with an evaluator in which OR leaves out its last operand. A
# fuzzer that does not find that finds nothing. The fault is planted into a copy of the source, which
# is linked in front of the library.
set(lisp_canary_source lisp/special_forms.cc)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${lisp_canary_source})
file(READ ${PROJECT_SOURCE_DIR}/${lisp_canary_source} lisp_canary_text)
string(REPLACE "i < items.flatLength() && result.is(Tag::Nil)"
               "i + 1 < items.flatLength() && result.is(Tag::Nil)" lisp_canary_faulty
               "${lisp_canary_text}")
if(lisp_canary_faulty STREQUAL lisp_canary_text)
  message(FATAL_ERROR "${lisp_canary_source} has no place for the canary's fault any more")
endif()
file(WRITE ${PROJECT_BINARY_DIR}/fuzz/canary.cc.new "${lisp_canary_faulty}")
configure_file(${PROJECT_BINARY_DIR}/fuzz/canary.cc.new ${PROJECT_BINARY_DIR}/fuzz/canary.cc COPYONLY)
add_executable(evaluator_canary EXCLUDE_FROM_ALL fuzz/evaluator_fuzz.cc
                                                 ${PROJECT_BINARY_DIR}/fuzz/canary.cc)
target_link_libraries(evaluator_canary PRIVATE lisp_options testing_support)
target_link_options(evaluator_canary PRIVATE -fsanitize=fuzzer)
set_target_properties(evaluator_canary PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/fuzz)
add_dependencies(fuzzers evaluator_canary)
