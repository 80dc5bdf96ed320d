# Components: a directory's sources as a library, and executables on top of them.

# Sets <result> to those of the listed files that belong to the target system.
function(lisp_keep_platform_files result)
  set(files ${ARGN})
  if(WIN32)
    list(FILTER files EXCLUDE REGEX "_posix(_test)?\\.cc$")
  else()
    list(FILTER files EXCLUDE REGEX "_win32(_test)?\\.cc$")
  endif()
  set(${result} ${files} PARENT_SCOPE)
endfunction()

# lisp_component(<name> DIRECTORY <directory> [EXCEPT <file>...] [LINKS <component>...])
# lisp_component(<name> FILES <file>... [LINKS <component>...])
#
# Defines the static library <name> of the files in the directory and in its folders. Whoever links it links LINKS as well. A component without a
# source file on the target system is an interface of headers, and links nothing.
function(lisp_component name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "DIRECTORY" "FILES;EXCEPT;LINKS")
  if(arg_DIRECTORY)
    file(GLOB sources CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}
         ${PROJECT_SOURCE_DIR}/${arg_DIRECTORY}/*.cc ${PROJECT_SOURCE_DIR}/${arg_DIRECTORY}/*/*.cc)
    list(FILTER sources EXCLUDE REGEX "(_test|/main)\\.cc$")
    if(arg_EXCEPT)
      list(REMOVE_ITEM sources ${arg_EXCEPT})
    endif()
  else()
    set(sources ${arg_FILES})
  endif()
  lisp_keep_platform_files(sources ${sources})
  if(sources)
    add_library(${name} STATIC ${sources})
    target_link_libraries(${name} PRIVATE lisp_strict_options PUBLIC ${arg_LINKS})
  else()
    add_library(${name} INTERFACE)
  endif()
endfunction()

# lisp_free_of_libraries(<shared library>)
#
# Makes it need nothing but the C library of the system that it runs on and libgcc_s, which goes with
# that. A libgcc of its own could not unwind for an exception that another one has begun.
function(lisp_free_of_libraries name)
  if(NOT LISP_SANITIZE)
    target_link_options(${name} PRIVATE -static-libstdc++ $<$<BOOL:${WIN32}>:-static-libgcc>)
  endif()
endfunction()

# lisp_static_program(<program>)
#
# Makes a program need nothing at all when it is built for release: it runs on any Linux of its
# processor, and starts a quarter sooner.
function(lisp_static_program name)
  if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT WIN32 AND NOT LISP_SANITIZE)
    # CMake's own -pie would undo -static-pie.
    set_property(TARGET ${name} PROPERTY POSITION_INDEPENDENT_CODE)
    target_compile_options(${name} PRIVATE -fPIE)
    target_link_options(${name} PRIVATE -static-pie)
  endif()
endfunction()

# lisp_embeddable(<component>)
#
# Lets a component stand in a shared library, where it shows nothing of itself.
function(lisp_embeddable name)
  set_target_properties(
    ${name} PROPERTIES POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden
                       VISIBILITY_INLINES_HIDDEN ON)
endfunction()

# lisp_shared_library(<name> FILES <file>... VERSIONS <version script> LINKS <embeddable component>...)
#
# Defines a shared library that has the functions marked LISP_WORKER_API and nothing else, under the
# versions that the script gives them, and needs nothing but what goes with the C library.
function(lisp_shared_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "VERSIONS" "FILES;LINKS")
  add_library(${name} SHARED ${arg_FILES})
  lisp_embeddable(${name})
  target_link_libraries(${name} PRIVATE lisp_strict_options ${arg_LINKS})
  if(WIN32)
    target_compile_definitions(${name} PRIVATE "LISP_WORKER_API=__declspec(dllexport)")
  else()
    target_compile_definitions(${name}
                               PRIVATE "LISP_WORKER_API=__attribute__((visibility(\"default\")))")
    target_link_options(${name} PRIVATE -Wl,--exclude-libs,ALL
                                        -Wl,--version-script,${PROJECT_SOURCE_DIR}/${arg_VERSIONS})
    set_target_properties(${name} PROPERTIES LINK_DEPENDS ${PROJECT_SOURCE_DIR}/${arg_VERSIONS})
  endif()
  lisp_free_of_libraries(${name})
  set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION}
                                           SOVERSION ${PROJECT_VERSION_MAJOR}
                                           LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
endfunction()

# lisp_program(<name> <main file> LINKS <component>...)
#
# Defines the executable <name> in the top of the build directory.
function(lisp_program name main)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "LINKS")
  file(GLOB main CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${main})
  if(NOT main)
    return()
  endif()
  add_executable(${name} ${main})
  target_link_libraries(${name} PRIVATE lisp_strict_options ${arg_LINKS})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
endfunction()
