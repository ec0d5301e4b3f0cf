# Flags of every target of the project, carried by one interface target.
add_library(tarvel_build_flags INTERFACE)
target_compile_features(tarvel_build_flags INTERFACE cxx_std_17)
target_compile_definitions(tarvel_build_flags INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
target_compile_options(tarvel_build_flags INTERFACE
  -Wall -Wextra -Wshadow -Wformat=2 -Wconversion -Werror)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
