# What only the console needs besides the C++ library: packages of the distribution.
#
# CLI11 and nlohmann-json are headers and serve every target system. A cross build does not look
# into the build machine's own include directory, so the two are made visible there by links of
# their own. The prompt's line editing and the PNG pictures need libraries of the target system;
# their files end in _posix.cc, and the ones that end in _win32.cc do without.

add_library(console_libraries INTERFACE)
if(CMAKE_CROSSCOMPILING)
  set(headers ${PROJECT_BINARY_DIR}/headers)
  file(MAKE_DIRECTORY ${headers})
  foreach(directory IN ITEMS CLI nlohmann)
    if(NOT EXISTS /usr/include/${directory})
      message(FATAL_ERROR "/usr/include/${directory} is missing: ./dev installs it")
    endif()
    file(CREATE_LINK /usr/include/${directory} ${headers}/${directory} SYMBOLIC)
  endforeach()
  target_include_directories(console_libraries SYSTEM INTERFACE ${headers})
else()
  find_package(CLI11 REQUIRED)
  find_package(nlohmann_json REQUIRED)
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(librsvg REQUIRED IMPORTED_TARGET librsvg-2.0 cairo)
  pkg_check_modules(libedit REQUIRED IMPORTED_TARGET libedit)
  target_link_libraries(console_libraries INTERFACE CLI11::CLI11 nlohmann_json::nlohmann_json
                                                    PkgConfig::librsvg PkgConfig::libedit)
endif()
