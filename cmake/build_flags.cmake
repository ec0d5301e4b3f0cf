# Flags of every target of the project, carried by one interface target.
add_library(tarvel_build_flags INTERFACE)
target_compile_features(tarvel_build_flags INTERFACE cxx_std_17)
target_compile_definitions(tarvel_build_flags INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
target_compile_options(tarvel_build_flags INTERFACE
  -Wall -Wextra -Wshadow -Wformat=2 -Wconversion -Werror)
# Tells of a parameter-passing change in g++ 7 that no supported compiler still has.
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "arm" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(tarvel_build_flags INTERFACE -Wno-psabi)
endif()
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# What changes code generation reaches everything, GoogleTest compiled from source included.
if(TARVEL_SANITIZERS)
  add_compile_options(-fsanitize=${TARVEL_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${TARVEL_SANITIZERS})
endif()

# tarvel_lean_library(target): what is mapped at each start of a program. Its own names are bound when it is linked, not at
# every start; code and read-only data share one mapping.
function(tarvel_lean_library target)
  target_link_options(${target} PRIVATE -Wl,-Bsymbolic -Wl,-O1 -Wl,--hash-style=gnu -Wl,-z,noseparate-code)
endfunction()

# Standard headers are half of what the compiler reads. Where no compiler cache answers they are read once for each target that
# is worth it; a cache would answer less with them.
set(TARVEL_PRECOMPILE_HEADERS ON)
if(CMAKE_CXX_COMPILER_LAUNCHER MATCHES "ccache")
  set(TARVEL_PRECOMPILE_HEADERS OFF)
endif()

# tarvel_precompiled_standard_headers(target [header...]): for a target of many sources in C++. Not with clang, so that one
# compiler tells of a source that does not include what it uses.
function(tarvel_precompiled_standard_headers target)
  if(TARVEL_PRECOMPILE_HEADERS AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    foreach(header algorithm cstring functional map memory optional string string_view utility vector ${ARGN})
      target_precompile_headers(${target} PRIVATE "$<$<COMPILE_LANGUAGE:CXX>:<${header}$<ANGLE-R>>")
    endforeach()
  endif()
endfunction()
