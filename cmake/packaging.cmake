# What is installed, and packages of it.
#
#   cmake --install build/release --prefix DIRECTORY
#   ./dev package
#
# The layout is the same everywhere: bin/, lib/, include/lisp_worker/, share/. All paths inside are
# relative, so an installed tree can be moved.

include(CMakePackageConfigHelpers)

# --- The libraries as others link them --------------------------------------------------------

# One archive for C++ hosts, of the components that they can include.
add_library(lisp_worker_client STATIC $<TARGET_OBJECTS:frame> $<TARGET_OBJECTS:client>
                                      $<TARGET_OBJECTS:session>)
set_target_properties(lisp_worker_client PROPERTIES LINKER_LANGUAGE CXX EXPORT_NAME client)
target_link_libraries(lisp_worker_client INTERFACE Threads::Threads)
if(WIN32)
  # MinGW's stack protector is a library of its own, which hosts may not have asked for.
  target_link_libraries(lisp_worker_client INTERFACE ssp)
  set(lisp_worker_client_needs " -lssp")
endif()
target_compile_features(lisp_worker_client INTERFACE cxx_std_20)
set_target_properties(lisp_worker_c PROPERTIES EXPORT_NAME c)
foreach(library IN ITEMS lisp_worker_client lisp_worker_c)
  target_include_directories(${library} INTERFACE $<INSTALL_INTERFACE:include/lisp_worker>)
endforeach()

set(programs lisp_worker lisp_session lisp_console)

# --- Files ------------------------------------------------------------------------------------

set(package_directory lib/cmake/lisp_worker)
install(TARGETS ${programs} lisp_worker_client lisp_worker_c
        EXPORT lisp_worker
        RUNTIME DESTINATION bin
        LIBRARY DESTINATION lib
        ARCHIVE DESTINATION lib)
install(EXPORT lisp_worker FILE lisp_worker-targets.cmake NAMESPACE lisp_worker::
        DESTINATION ${package_directory})
configure_package_config_file(
  cmake/package/config.cmake.in ${PROJECT_BINARY_DIR}/package/lisp_worker-config.cmake
  INSTALL_DESTINATION ${package_directory})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/lisp_worker-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/lisp_worker-config.cmake
              ${PROJECT_BINARY_DIR}/package/lisp_worker-config-version.cmake
        DESTINATION ${package_directory})
foreach(name IN ITEMS lisp_worker_client lisp_worker_c)
  configure_file(cmake/package/${name}.pc.in ${PROJECT_BINARY_DIR}/package/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/package/${name}.pc DESTINATION lib/pkgconfig)
endforeach()

install(FILES worker/exit_code.h worker/frame.h DESTINATION include/lisp_worker/worker)
install(FILES c_interface/lisp_worker.h DESTINATION include/lisp_worker/c_interface)
install(DIRECTORY client session DESTINATION include/lisp_worker FILES_MATCHING PATTERN "*.h")
install(FILES README.md CHANGELOG.md NOTICES.md docs/EMBEDDING.md docs/LANGUAGE.md
              docs/PROTOCOL.md docs/SESSIONS.md
        DESTINATION share/doc/lisp_worker)
install(DIRECTORY examples DESTINATION share/doc/lisp_worker USE_SOURCE_PERMISSIONS)
foreach(program IN LISTS programs)
  configure_file(man/${program}.1 ${PROJECT_BINARY_DIR}/package/${program}.1 @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/package/${program}.1 DESTINATION share/man/man1)
endforeach()

# --- The Debian package -----------------------------------------------------------------------

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lisp-worker)
set(CPACK_PACKAGE_CONTACT "The developers of the LISP worker <lisp-worker@example.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "evaluates programs in a small LISP for a CAD application")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "The worker is a console process that a CAD application drives over two pipes. With it come a
 client library for hosts in C++ and C, a program that records and replays conversations, and an
 example host.")
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/package)
include(CPack)
