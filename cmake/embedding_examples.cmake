# The examples of docs/EMBEDDING.md, built from the tree and run by the tests. `./dev check packages`
# builds the same files from an installed package.

# lisp_embedding_example(<source>)
#
# Defines the program of an example, and the test that it prints what stands beside it.
function(lisp_embedding_example source)
  cmake_path(GET source STEM name)
  add_executable(embedding_${name} ${source})
  set_target_properties(embedding_${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY
                                                     ${PROJECT_BINARY_DIR}/embedding)
  # Two of the programs that examples get are shell scripts.
  if(NOT WIN32)
    add_test(NAME embedding_${name}
             COMMAND ${CMAKE_COMMAND} -DPROGRAM=$<TARGET_FILE:embedding_${name}>
                     -DEXPECTED=${PROJECT_SOURCE_DIR}/examples/embedding/${name}.txt
                     -DWORKER=$<TARGET_FILE:lisp_worker>
                     -DDIRECTORY=${PROJECT_BINARY_DIR}/embedding/${name}_workers
                     -P ${PROJECT_SOURCE_DIR}/cmake/run_example.cmake)
  endif()
endfunction()

file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/examples/embedding/*.cc)
lisp_keep_platform_files(sources ${sources})
foreach(source IN LISTS sources)
  lisp_embedding_example(${source})
  cmake_path(GET source STEM name)
  target_link_libraries(embedding_${name} PRIVATE lisp_options session)
endforeach()

# Those in C are for a compiler of C, which knows none of the sanitizers' options.
if(NOT WIN32 AND NOT LISP_SANITIZE)
  enable_language(C)
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/examples/embedding/*.c)
  foreach(source IN LISTS sources)
    lisp_embedding_example(${source})
    cmake_path(GET source STEM name)
    target_compile_options(embedding_${name} PRIVATE -std=c11 -Wall -Wextra -Wpedantic)
    target_include_directories(embedding_${name} PRIVATE ${PROJECT_SOURCE_DIR}/include)
    target_link_libraries(embedding_${name} PRIVATE c_interface)
    set_target_properties(embedding_${name} PROPERTIES LINKER_LANGUAGE CXX)
  endforeach()
endif()
