# Read by ctest: one test for each suite of `program`, a GoogleTest program, named "<prefix>/<Suite>".
get_filename_component(name "${program}" NAME)
if(NOT EXISTS "${program}")
  add_test("${prefix}/${name}_NOT_BUILT" "${program}")
  return()
endif()
execute_process(COMMAND ${emulator} "${program}" --gtest_list_tests
  OUTPUT_VARIABLE listing RESULT_VARIABLE result TIMEOUT 60)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${program} does not list its tests: ${result}\n${listing}")
endif()
# Suites stand at the beginning of a line and end with a dot; their cases are indented.
string(REGEX MATCHALL "(^|\n)[A-Za-z0-9_/]+[.]" suites "${listing}")
list(TRANSFORM suites STRIP)
foreach(suite IN LISTS suites)
  string(REGEX REPLACE "[.]$" "" test "${prefix}/${suite}")
  add_test("${test}" ${emulator} "${program}" "--gtest_filter=${suite}*")
  set_tests_properties("${test}" PROPERTIES ${properties})
endforeach()
