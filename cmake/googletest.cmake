# GoogleTest, and tarvel_test() for every test program written with it. For the machine itself Debian's libraries serve;
# another processor gets them compiled from the sources that Debian installs.
if(CMAKE_CROSSCOMPILING)
  set(CMAKE_POLICY_DEFAULT_CMP0077 NEW)
  # Not link-time optimised, like the tests themselves: it would only make each of them slow to link.
  set(CMAKE_POLICY_DEFAULT_CMP0069 NEW)
  set(optimize_at_link_time ${CMAKE_INTERPROCEDURAL_OPTIMIZATION})
  set(CMAKE_INTERPROCEDURAL_OPTIMIZATION OFF)
  set(INSTALL_GTEST OFF)
  add_subdirectory(/usr/src/googletest "${CMAKE_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL)
  set(CMAKE_INTERPROCEDURAL_OPTIMIZATION ${optimize_at_link_time})
  if(NOT TARGET GTest::gtest)
    foreach(name gtest gtest_main gmock gmock_main)
      add_library(GTest::${name} ALIAS ${name})
    endforeach()
  endif()
else()
  find_package(GTest REQUIRED)
endif()
include(GoogleTest)

# GoogleTest's headers take up to half of the time that a test is compiled.
if(TARVEL_PRECOMPILE_HEADERS)
  file(WRITE "${CMAKE_BINARY_DIR}/precompiled_tests.cpp" "")
  # Of executables. What a test uses it includes all the same: another compiler or a cache sees it without.
  add_library(tarvel_test_headers OBJECT "${CMAKE_BINARY_DIR}/precompiled_tests.cpp")
  target_link_libraries(tarvel_test_headers PRIVATE tarvel_build_flags GTest::gmock GTest::gtest)
  target_compile_options(tarvel_test_headers PRIVATE -fPIE)
  set_target_properties(tarvel_test_headers PROPERTIES INTERPROCEDURAL_OPTIMIZATION OFF POSITION_INDEPENDENT_CODE OFF)
  target_precompile_headers(tarvel_test_headers PRIVATE <algorithm> <filesystem> <fstream> <functional> <map> <memory>
    <optional> <string> <thread> <vector> <gmock/gmock.h> <gtest/gtest.h>)
endif()

# tarvel_precompiled_headers(target): a test program of at least two sources, on flags like all others'.
function(tarvel_precompiled_headers target)
  if(TARVEL_PRECOMPILE_HEADERS)
    target_precompile_headers(${target} REUSE_FROM tarvel_test_headers)
  endif()
endfunction()

# tarvel_test(NAME [MAIN] LABEL label SOURCES file... LIBRARIES target... [WRAPPER command...] [PROPERTIES name value...])
#
# Builds the test program NAME and hands its suites to ctest as "<preset>/<Suite>", each a process of its own, with the
# label LABEL. MAIN: the sources bring their own main(). WRAPPER: every single case runs as "command... NAME", for
# example in the appliance tree on a state of its own, and is "<preset>/<Suite>.<Case>" for ctest. Nothing is inherited:
# what is tested comes with LIBRARIES.
function(tarvel_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "MAIN" "LABEL" "SOURCES;LIBRARIES;WRAPPER;PROPERTIES")
  add_executable(${name} ${arg_SOURCES})
  set_target_properties(${name} PROPERTIES INTERPROCEDURAL_OPTIMIZATION OFF)
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} tarvel_build_flags GTest::gmock GTest::gtest)
  tarvel_precompiled_headers(${name})
  list(FILTER arg_SOURCES INCLUDE REGEX "^${PROJECT_SOURCE_DIR}/host/")
  set_source_files_properties(${arg_SOURCES} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
  if(NOT arg_MAIN)
    target_link_libraries(${name} PRIVATE GTest::gmock_main)
  endif()
  if(arg_WRAPPER)
    set_target_properties(${name} PROPERTIES CROSSCOMPILING_EMULATOR "${arg_WRAPPER};${CMAKE_CROSSCOMPILING_EMULATOR}")
    gtest_discover_tests(${name} TEST_PREFIX "${TARVEL_PRESET}/" DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
      PROPERTIES LABELS ${arg_LABEL} TIMEOUT 120 ${arg_PROPERTIES})
  else()
    tarvel_discover_suites(${name} "${TARVEL_PRESET}" LABELS ${arg_LABEL} TIMEOUT 300 ${arg_PROPERTIES})
  endif()
endfunction()

# Lets ctest ask the program for its suites when it starts; they are "<prefix>/<Suite>". A process for each single case, as gtest_discover_tests()
# has it, would cost more than the cases themselves: under sanitizers and qemu a start takes tenths of a second.
function(tarvel_discover_suites name prefix)
  set(script "${CMAKE_CURRENT_BINARY_DIR}/${name}_suites.cmake")
  file(GENERATE OUTPUT "${script}" CONTENT "\
set(prefix [==[${prefix}]==])
set(program [==[$<TARGET_FILE:${name}>]==])
set(emulator [==[${CMAKE_CROSSCOMPILING_EMULATOR}]==])
set(properties [==[${ARGN}]==])
include([==[${PROJECT_SOURCE_DIR}/cmake/test_suites.cmake]==])
")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES "${script}")
endfunction()
