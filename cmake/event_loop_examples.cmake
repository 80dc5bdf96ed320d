# The hosts with event loops of libraries, for which there are development packages here.

# lisp_event_loop_example(<name> <library>)
function(lisp_event_loop_example name library)
  set(source ${PROJECT_SOURCE_DIR}/examples/event_loops/${name}.cc)
  add_executable(event_loop_${name} ${source})
  target_link_libraries(event_loop_${name} PRIVATE lisp_options session ${library})
  set_target_properties(event_loop_${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY
                                                      ${PROJECT_BINARY_DIR}/event_loops)
  add_test(NAME event_loop_${name}
           COMMAND ${CMAKE_COMMAND} -DPROGRAM=$<TARGET_FILE:event_loop_${name}>
                   -DEXPECTED=${PROJECT_SOURCE_DIR}/examples/event_loops/${name}.txt
                   -DWORKER=$<TARGET_FILE:lisp_worker>
                   -DDIRECTORY=${PROJECT_BINARY_DIR}/event_loops/${name}_workers
                   -P ${PROJECT_SOURCE_DIR}/cmake/run_example.cmake)
  set_tests_properties(event_loop_${name} PROPERTIES TIMEOUT 60)
endfunction()

if(NOT WIN32 AND NOT LISP_SANITIZE)
  find_package(PkgConfig QUIET)
  if(PkgConfig_FOUND)
    pkg_check_modules(LIBUV QUIET IMPORTED_TARGET libuv)
    if(LIBUV_FOUND)
      lisp_event_loop_example(libuv PkgConfig::LIBUV)
    endif()
  endif()
  find_package(Qt6 QUIET COMPONENTS Widgets)
  if(Qt6_FOUND)
    lisp_event_loop_example(qt Qt6::Widgets)
  endif()
endif()
