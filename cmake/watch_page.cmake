# What `lisp_console watch` needs: the library that serves its page, and the files of the page,
# which become a part of the program.

if(NOT WIN32)
  pkg_check_modules(httplib REQUIRED IMPORTED_TARGET cpp-httplib)
  target_link_libraries(console_core PRIVATE PkgConfig::httplib Threads::Threads)

  foreach(suffix IN ITEMS html css js svg)
    set(file ${PROJECT_SOURCE_DIR}/console/watch/page.${suffix})
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
    string(TOUPPER ${suffix} key)
    file(READ ${file} LISP_PAGE_${key})
  endforeach()
  configure_file(console/watch/page_files.cc.in ${PROJECT_BINARY_DIR}/page_files.cc @ONLY)
  target_sources(console_core PRIVATE ${PROJECT_BINARY_DIR}/page_files.cc)
endif()
