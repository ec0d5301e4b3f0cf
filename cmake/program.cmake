# The jsoncpp that goes with the archive tarvel_static: for fully static programs an archive too.
set(TARVEL_JSONCPP_FOR_ARCHIVE PkgConfig::JSONCPP)
if(TARVEL_STATIC_PROGRAMS)
  set(archive "${PROJECT_SOURCE_DIR}/build/static-libraries/lib/libjsoncpp.a")
  if(NOT EXISTS "${archive}")
    message(FATAL_ERROR "Fully static programs need jsoncpp as an archive: run script/static_libraries first.")
  endif()
  add_library(tarvel_jsoncpp_archive STATIC IMPORTED GLOBAL)
  set_target_properties(tarvel_jsoncpp_archive PROPERTIES IMPORTED_LOCATION "${archive}"
    INTERFACE_INCLUDE_DIRECTORIES "${JSONCPP_INCLUDE_DIRS}")
  set(TARVEL_JSONCPP_FOR_ARCHIVE tarvel_jsoncpp_archive)
endif()

# tarvel_program(NAME SOURCES file... [LIBRARIES target...] [SHARED])
#
# One CGI program of the site, NAME.cgi: its own source comes first, behind it those that it shares with others. With
# TARVEL_STATIC_PROGRAMS it is fully static: library, platform, jsoncpp and the C++ runtime in one file, nothing to map or
# relocate at its start. SHARED exempts a program that needs what no archive offers (looking at the mounted volumes).
function(tarvel_program name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "SHARED" "" "SOURCES;LIBRARIES")
  list(POP_FRONT arg_SOURCES own_source)
  tarvel_program_parts(${arg_SOURCES})
  add_executable(${name}.cgi ${own_source})
  target_link_libraries(${name}.cgi PRIVATE tarvel_build_flags tarvel_program_parts ${arg_LIBRARIES})
  if(TARVEL_STATIC_PROGRAMS AND NOT arg_SHARED)
    set_property(GLOBAL APPEND PROPERTY TARVEL_FULLY_STATIC ${name}.cgi)
    target_link_libraries(${name}.cgi PRIVATE tarvel_static kest_static)
    target_compile_options(${name}.cgi PRIVATE -fno-pie)
    # Nothing is searched at run time, so the installation must not look for a path to change.
    set_target_properties(${name}.cgi PROPERTIES POSITION_INDEPENDENT_CODE OFF BUILD_WITH_INSTALL_RPATH ON)
    target_link_options(${name}.cgi PRIVATE -static -no-pie -Wl,--gc-sections)
  else()
    target_link_libraries(${name}.cgi PRIVATE tarvel kest)
  endif()
endfunction()

# tarvel_program_parts(file...): sources of several programs are compiled once, into an archive from which each program takes
# what it calls.
function(tarvel_program_parts)
  if(NOT TARGET tarvel_program_parts)
    add_library(tarvel_program_objects OBJECT)
    target_link_libraries(tarvel_program_objects PRIVATE tarvel_build_flags tarvel kest)
    tarvel_precompiled_standard_headers(tarvel_program_objects json/json.h)
    add_library(tarvel_program_parts STATIC $<TARGET_OBJECTS:tarvel_program_objects>)
    set_target_properties(tarvel_program_parts PROPERTIES LINKER_LANGUAGE CXX)
  endif()
  get_target_property(known tarvel_program_objects SOURCES)
  foreach(source IN LISTS ARGN)
    if(NOT source IN_LIST known)
      target_sources(tarvel_program_objects PRIVATE ${source})
      list(APPEND known ${source})
    endif()
  endforeach()
endfunction()
