# The examples of docs/EMBEDDING.md, built from the tree and run by the tests. `./dev check packages`
# builds the same files from an installed package.

file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/examples/embedding/*.cc)
lisp_keep_platform_files(sources ${sources})
foreach(source IN LISTS sources)
  cmake_path(GET source STEM name)
  add_executable(embedding_${name} ${source})
  target_link_libraries(embedding_${name} PRIVATE lisp_options session)
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
endforeach()
