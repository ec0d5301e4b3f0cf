# Every option of the build. The presets set them; nobody has to.
option(TARVEL_STATIC_PROGRAMS "Link the CGI programs fully static, except those that receive uploads" OFF)
option(TARVEL_BENCH "Build the programs that script/bench compares" OFF)
option(TARVEL_UNIT_FLAVOURS "Run the unit tests also on the library with counted lines, and under sanitizers" OFF)
set(TARVEL_TESTS "platform;unit;host;contract;program" CACHE STRING "Kinds of tests to build: the folders of tests/; fuzz needs clang")
set(TARVEL_SANITIZERS "" CACHE STRING "Value for -fsanitize=, empty: none")
set(TARVEL_PRESET "none" CACHE STRING "Name of the preset, put before each test's name")
set(TARVEL_CONTRACT_PLATFORM "" CACHE STRING "Libraries of another platform for the contract tests, empty: libkest")
set(TARVEL_MIME_TYPES "/etc/mime.types" CACHE FILEPATH "Table of types that the appliance's is made from")
