# What `cmake --install` puts where, for people who write programs with the library.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

# Headers: <tarvel/NAME.h>, and what they include of the platform.
list(TRANSFORM TARVEL_FAMILIES REPLACE "(.+)" "${PROJECT_SOURCE_DIR}/include/\\1.h" OUTPUT_VARIABLE headers)
file(GLOB platform_headers CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/platform/*.h")
install(FILES ${headers} "${PROJECT_SOURCE_DIR}/include/tarvel_export.h"
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tarvel)
install(FILES ${platform_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tarvel/platform)

# The library finds the platform beside itself.
set_target_properties(tarvel PROPERTIES INSTALL_RPATH "$ORIGIN")
# Not to the project's own programs, whose flags ask for the same.
target_compile_features(tarvel INTERFACE $<INSTALL_INTERFACE:cxx_std_17>)
target_compile_definitions(tarvel INTERFACE $<INSTALL_INTERFACE:_FILE_OFFSET_BITS=64> $<INSTALL_INTERFACE:_TIME_BITS=64>)
install(TARGETS tarvel EXPORT tarvelTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})

# The CMake package: find_package(tarvel), target tarvel::tarvel.
add_library(tarvel::tarvel ALIAS tarvel)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tarvel)
configure_package_config_file(cmake/package/tarvelConfig.cmake.in "${PROJECT_BINARY_DIR}/tarvelConfig.cmake"
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file("${PROJECT_BINARY_DIR}/tarvelConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/tarvelConfig.cmake" "${PROJECT_BINARY_DIR}/tarvelConfigVersion.cmake"
  DESTINATION ${package_dir})
install(EXPORT tarvelTargets NAMESPACE tarvel:: DESTINATION ${package_dir})

# pkg-config; the prefix follows the file, so that an installed tree may be moved.
file(RELATIVE_PATH TARVEL_PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/package/tarvel.pc.in "${PROJECT_BINARY_DIR}/tarvel.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/tarvel.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Man pages, one for each header and one for each class, and the same as HTML.
find_program(DOXYGEN doxygen)
if(DOXYGEN AND NOT CMAKE_CROSSCOMPILING)
  configure_file(cmake/package/Doxyfile.in "${PROJECT_BINARY_DIR}/Doxyfile" @ONLY)
  set(reference "${PROJECT_SOURCE_DIR}/cmake/package/reference")
  add_custom_command(OUTPUT "${PROJECT_BINARY_DIR}/reference/stamp"
    COMMAND "${reference}" "${PROJECT_BINARY_DIR}/Doxyfile" "${PROJECT_BINARY_DIR}/reference"
    COMMAND ${CMAKE_COMMAND} -E touch "${PROJECT_BINARY_DIR}/reference/stamp"
    DEPENDS ${headers} ${platform_headers} "${PROJECT_BINARY_DIR}/Doxyfile" "${reference}"
      "${PROJECT_SOURCE_DIR}/cmake/package/mainpage.dox" "${PROJECT_SOURCE_DIR}/docs/examples/hello.cpp"
    COMMENT "Reference of the public headers" VERBATIM)
  add_custom_target(reference ALL DEPENDS "${PROJECT_BINARY_DIR}/reference/stamp")
  install(DIRECTORY "${PROJECT_BINARY_DIR}/reference/man/" DESTINATION ${CMAKE_INSTALL_MANDIR} OPTIONAL)
  install(DIRECTORY "${PROJECT_BINARY_DIR}/reference/html/" DESTINATION ${CMAKE_INSTALL_DOCDIR}/html OPTIONAL)
endif()
