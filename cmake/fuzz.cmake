# tarvel_fuzz_target(NAME SOURCES file... LIBRARIES target... [CORPUS folder] [DICTIONARY file] [RUNS number])
#
# Builds the libFuzzer program NAME. As the test "<preset>/NAME" it runs through the seed inputs of CORPUS (default:
# corpus/NAME beside the list file) and RUNS inputs derived from them, always the same ones.
function(tarvel_fuzz_target name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "CORPUS;DICTIONARY;RUNS" "SOURCES;LIBRARIES")
  if(NOT arg_CORPUS)
    set(arg_CORPUS "${CMAKE_CURRENT_SOURCE_DIR}/corpus/${name}")
  endif()
  if(NOT arg_RUNS)
    set(arg_RUNS 20000)
  endif()
  if(arg_DICTIONARY)
    set(dictionary "-dict=${arg_DICTIONARY}")
  endif()
  # As a list and not as a folder: the fuzzer would add its own findings to the folder and begin there next time.
  file(GLOB seeds CONFIGURE_DEPENDS "${arg_CORPUS}/*")
  list(JOIN seeds "," seed_list)
  set(seed_file "${CMAKE_CURRENT_BINARY_DIR}/${name}.seeds")
  file(WRITE "${seed_file}" "${seed_list}")
  file(MAKE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/found-${name}")
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} tarvel_build_flags)
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  add_test(NAME ${TARVEL_PRESET}/${name}
    COMMAND ${name} -runs=${arg_RUNS} -seed=1 -timeout=10 -max_len=65536 -print_final_stats=1 ${dictionary}
      "-artifact_prefix=${CMAKE_CURRENT_BINARY_DIR}/found-${name}/crash-" "-seed_inputs=@${seed_file}")
  set_tests_properties(${TARVEL_PRESET}/${name} PROPERTIES LABELS fuzz TIMEOUT 300)
endfunction()
