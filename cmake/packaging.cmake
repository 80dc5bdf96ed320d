# What is installed, and packages of it.
#
#   cmake --install build/release --prefix DIRECTORY
#   ./dev package
#
# The layout is the same everywhere: bin/, lib/, include/lisp_worker/, share/. All paths inside are
# relative, so an installed tree can be moved.
#
# What is installed is in four components, and the Debian packages are made of them:
#
#   runtime      lisp-worker          the worker and lisp_session
#   library      liblisp-worker-c1    the shared library with the C interface
#   development  liblisp-worker-dev   headers, libraries to link, documents, examples
#   console      lisp-console         the console, which needs libraries that draw pictures
#
# The runtime is built twice: programs that need no library at all, to be put anywhere, and for the
# Debian package the same with the libraries of the system, as Debian wants it.

include(CMakePackageConfigHelpers)

# --- The libraries as others link them --------------------------------------------------------

# One archive for C++ hosts, of the components that they can include, and one more for hosts in C
# that want no shared library.
add_library(lisp_worker_client STATIC $<TARGET_OBJECTS:frame> $<TARGET_OBJECTS:client>
                                      $<TARGET_OBJECTS:session>)
add_library(lisp_worker_c_static STATIC $<TARGET_OBJECTS:frame> $<TARGET_OBJECTS:client>
                                        $<TARGET_OBJECTS:session> $<TARGET_OBJECTS:c_interface>)
# On Windows the import library of the shared one has the plain name.
set_target_properties(lisp_worker_c_static PROPERTIES OUTPUT_NAME
                                                      lisp_worker_c$<$<BOOL:${WIN32}>:_static>)
set(static_libraries lisp_worker_client lisp_worker_c_static)
set_target_properties(${static_libraries} PROPERTIES LINKER_LANGUAGE CXX)
set_target_properties(lisp_worker_client PROPERTIES EXPORT_NAME client)
set_target_properties(lisp_worker_c_static PROPERTIES EXPORT_NAME c_static)
set_target_properties(lisp_worker_c PROPERTIES EXPORT_NAME c)
target_compile_features(lisp_worker_client INTERFACE cxx_std_20)
# A host in C does not link the library of C++ by itself.
target_link_libraries(lisp_worker_c_static INTERFACE stdc++ m)
foreach(library IN LISTS static_libraries)
  target_link_libraries(${library} INTERFACE Threads::Threads)
  if(WIN32)
    # MinGW's stack protector is a library of its own, which hosts may not have asked for.
    target_link_libraries(${library} INTERFACE ssp)
    set(lisp_worker_client_needs " -lssp")
  endif()
endforeach()
foreach(library IN LISTS static_libraries ITEMS lisp_worker_c)
  target_include_directories(${library} INTERFACE $<INSTALL_INTERFACE:include>)
endforeach()
if(WIN32)
  # What other compilers make an import library of.
  target_link_options(lisp_worker_c PRIVATE -Wl,--output-def,liblisp_worker_c.def)
endif()

# --- Files ------------------------------------------------------------------------------------

set(package_directory lib/cmake/lisp_worker)
set(documents share/doc/lisp-worker)

# Directories are to be the same whatever the umask of those who install is. Those that have been
# there before are not ours to change, except for the root of a package.
set(installed_directories
    . bin lib lib/cmake ${package_directory} include include/lisp_worker include/lisp_worker/c_interface
    include/lisp_worker/client include/lisp_worker/session include/lisp_worker/worker share share/doc share/man share/man/man1 share/pkgconfig
    share/lisp-worker share/lisp-worker/editors share/doc/lisp-worker share/doc/lisp-console share/doc/liblisp-worker-c1
    share/doc/liblisp-worker-dev)
list(JOIN installed_directories " " installed_directory_list)
set(installed_place "\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}")
install(
  CODE "set(lisp_new_directories)
foreach(directory IN ITEMS ${installed_directory_list})
  if(NOT EXISTS \"${installed_place}/\${directory}\")
    list(APPEND lisp_new_directories \${directory})
  endif()
endforeach()
if(\"${installed_place}\" MATCHES \"/_CPack_Packages/\")
  list(APPEND lisp_new_directories .)
endif()"
  ALL_COMPONENTS)

install(TARGETS lisp_worker lisp_session EXPORT lisp_worker
        RUNTIME DESTINATION bin COMPONENT runtime)
if(NOT WIN32)
  foreach(program IN ITEMS lisp_worker lisp_session)
    get_target_property(sources ${program} SOURCES)
    get_target_property(libraries ${program} LINK_LIBRARIES)
    add_executable(${program}_system ${sources})
    target_link_libraries(${program}_system PRIVATE ${libraries})
    set_target_properties(${program}_system PROPERTIES OUTPUT_NAME ${program} RUNTIME_OUTPUT_DIRECTORY
                                                       ${PROJECT_BINARY_DIR}/system)
    install(TARGETS ${program}_system RUNTIME DESTINATION bin COMPONENT system_runtime
            EXCLUDE_FROM_ALL)
  endforeach()
endif()
install(TARGETS lisp_console RUNTIME DESTINATION bin COMPONENT console)
install(FILES docs/DEBUGGER.md docs/EDITORS.md DESTINATION share/doc/lisp-console
        COMPONENT console)
install(DIRECTORY editors/emacs editors/vim editors/nvim DESTINATION share/lisp-worker/editors
        COMPONENT console FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
install(TARGETS lisp_worker_client lisp_worker_c lisp_worker_c_static EXPORT lisp_worker
        RUNTIME DESTINATION bin COMPONENT library
        LIBRARY DESTINATION lib COMPONENT library NAMELINK_COMPONENT development
        ARCHIVE DESTINATION lib COMPONENT development)
if(WIN32)
  install(FILES ${PROJECT_BINARY_DIR}/liblisp_worker_c.def DESTINATION lib COMPONENT development)
endif()

install(EXPORT lisp_worker FILE lisp_worker-targets.cmake NAMESPACE lisp_worker::
        DESTINATION ${package_directory} COMPONENT development)
configure_package_config_file(
  cmake/package/config.cmake.in ${PROJECT_BINARY_DIR}/package/lisp_worker-config.cmake
  INSTALL_DESTINATION ${package_directory})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/lisp_worker-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/lisp_worker-config.cmake
              ${PROJECT_BINARY_DIR}/package/lisp_worker-config-version.cmake
        DESTINATION ${package_directory} COMPONENT development)

# A host that links the shared library in a place of its own must find it there when it starts; in
# the system's place the system finds it.
set(lisp_worker_c_archive ${CMAKE_STATIC_LIBRARY_PREFIX}lisp_worker_c)
if(WIN32)
  string(APPEND lisp_worker_c_archive _static)
else()
  set(run_path " -Wl,-rpath,\${prefix}/lib")
endif()
string(APPEND lisp_worker_c_archive ${CMAKE_STATIC_LIBRARY_SUFFIX})
foreach(place IN ITEMS system own)
  set(lisp_worker_c_needs)
  if(place STREQUAL "own")
    set(lisp_worker_c_needs "${run_path}")
  endif()
  foreach(name IN ITEMS lisp_worker_client lisp_worker_c lisp_worker_c_static)
    configure_file(cmake/package/${name}.pc.in ${PROJECT_BINARY_DIR}/package/${place}/${name}.pc
                   @ONLY)
  endforeach()
endforeach()
install(
  CODE "set(place own)
if(CMAKE_INSTALL_PREFIX MATCHES \"/usr$\")
  set(place system)
endif()
file(GLOB files \"${PROJECT_BINARY_DIR}/package/\${place}/*.pc\")
file(INSTALL DESTINATION \"\${CMAKE_INSTALL_PREFIX}/share/pkgconfig\" TYPE FILE FILES \${files})"
  COMPONENT development)

install(DIRECTORY include/lisp_worker DESTINATION include COMPONENT development)
install(FILES cmake/package/README.md docs/EMBEDDING.md docs/LANGUAGE.md docs/PROTOCOL.md
              docs/SESSIONS.md
        DESTINATION ${documents} COMPONENT development)
install(DIRECTORY examples DESTINATION ${documents} COMPONENT development
        FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

# What goes with programs: whose work is in them, their changes, and their pages.

# lisp_manual_page(<program> <component>...)
#
# Its page, compressed, as every program that shows such pages takes it.
function(lisp_manual_page program)
  set(page ${PROJECT_BINARY_DIR}/package/${program}.1)
  configure_file(man/${program}.1 ${page} @ONLY)
  lisp_compress(${page})
  foreach(component IN LISTS ARGN)
    set(only_there)
    if(component STREQUAL "system_runtime")
      set(only_there EXCLUDE_FROM_ALL)
    endif()
    install(FILES ${page}.gz DESTINATION share/man/man1 COMPONENT ${component} ${only_there})
  endforeach()
endfunction()

# lisp_compress(<file>)
function(lisp_compress file)
  execute_process(COMMAND gzip -9nc ${file} OUTPUT_FILE ${file}.gz COMMAND_ERROR_IS_FATAL ANY)
endfunction()

if(WIN32)
  return()
endif()
install(FILES CHANGELOG.md NOTICES.md DESTINATION ${documents} COMPONENT runtime)
install(FILES CHANGELOG.md NOTICES.md DESTINATION ${documents} COMPONENT system_runtime
        EXCLUDE_FROM_ALL)
lisp_manual_page(lisp_worker runtime system_runtime)
lisp_manual_page(lisp_session runtime system_runtime)
lisp_manual_page(lisp_console console)

# --- The Debian packages ----------------------------------------------------------------------

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lisp-worker)
set(CPACK_PACKAGE_CONTACT "The developers of the LISP worker <lisp-worker@example.invalid>")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL system_runtime library development console)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/package)

# lisp_debian_package(<component> <name> SECTION <section> SUMMARY <line> DESCRIPTION <text>
#                     [DEPENDS <packages>] [ALSO <component>])
#
# Describes the package that a component becomes, and gives it what Debian asks of each; ALSO gets
# the same files.
function(lisp_debian_package component name)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "SECTION;SUMMARY;DESCRIPTION;DEPENDS;ALSO" "")
  string(TOUPPER ${component} key)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${arg_SECTION} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_DESCRIPTION "${arg_SUMMARY}\n${arg_DESCRIPTION}" PARENT_SCOPE)
  if(arg_DEPENDS)
    set(CPACK_DEBIAN_${key}_PACKAGE_DEPENDS "${arg_DEPENDS}" PARENT_SCOPE)
  endif()
  set(texts ${PROJECT_BINARY_DIR}/package/${name})
  configure_file(cmake/package/changelog.in ${texts}/changelog @ONLY)
  lisp_compress(${texts}/changelog)
  foreach(each IN LISTS component arg_ALSO)
    set(only_there)
    if(each STREQUAL "system_runtime")
      set(only_there EXCLUDE_FROM_ALL)
    endif()
    install(FILES cmake/package/copyright ${texts}/changelog.gz DESTINATION share/doc/${name}
            COMPONENT ${each} ${only_there})
  endforeach()
endfunction()

lisp_debian_package(
  system_runtime lisp-worker ALSO runtime SECTION misc
  SUMMARY "evaluate programs in a small LISP for a CAD application"
  DESCRIPTION "The worker is a console process that a CAD application drives over two
pipes. With it comes lisp_session, which records, shows, replays and
compares conversations.")
lisp_debian_package(
  library liblisp-worker-c1 SECTION libs
  SUMMARY "drive the LISP worker (shared library)"
  DEPENDS "lisp-worker (= ${PROJECT_VERSION}), libc6 (>= 2.36), libgcc-s1 (>= 4.2)"
  DESCRIPTION "A host in any language that can call C starts workers with this library,
runs programs in them and answers their calls.")
lisp_debian_package(
  development liblisp-worker-dev SECTION libdevel
  SUMMARY "drive the LISP worker (development files)"
  DEPENDS "lisp-worker (= ${PROJECT_VERSION}), liblisp-worker-c1 (= ${PROJECT_VERSION})"
  DESCRIPTION "Headers and libraries for hosts in C++ and C, the documents of the
language, the protocol and the libraries, and examples.")
lisp_debian_package(
  console lisp-console SECTION misc
  SUMMARY "run programs in the LISP worker, on a drawing"
  DEPENDS "lisp-worker (= ${PROJECT_VERSION})"
  DESCRIPTION "A host for the command line: it keeps a drawing in memory, answers the
calls of programs on it, shows the conversation with the worker, and
writes pictures.")

# The system is told of the new library, and other packages of the one that has it. Where CPack
# itself looks for what a library needs, it would write scripts that Debian no longer wants.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS OFF)
set(shlibs "liblisp_worker_c ${PROJECT_VERSION_MAJOR} liblisp-worker-c1 (>= ${PROJECT_VERSION})\n")
file(WRITE ${PROJECT_BINARY_DIR}/package/shlibs "${shlibs}")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/package/shlibs
                                               ${PROJECT_SOURCE_DIR}/cmake/package/triggers)
install(
  CODE "foreach(directory IN LISTS lisp_new_directories)
  if(EXISTS \"${installed_place}/\${directory}\")
    file(CHMOD \"${installed_place}/\${directory}\" DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE
         OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  endif()
endforeach()"
  ALL_COMPONENTS)

include(CPack)
