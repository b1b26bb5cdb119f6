# The one place where the compiler is set up.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release)
endif()

find_program(SCSITOOL_CCACHE ccache)
if(SCSITOOL_CCACHE)
  # A clone in another folder hits, too, and precompiled headers are taken for what they hold.
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
    CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
    CCACHE_SLOPPINESS=pch_defines,time_macros ${SCSITOOL_CCACHE})
endif()

# A newer compiler warns of more: that stops whoever works on the code and nobody who builds it.
option(SCSITOOL_WERROR "Take warnings for errors" OFF)
option(SCSITOOL_SANITIZE "Build with the address and undefined-behaviour sanitizers" OFF)
option(SCSITOOL_FUZZ "Build what guides a fuzzer into the libraries, and the fuzz targets" OFF)
option(SCSITOOL_MUTANTS "Build the code for tests/mutants: fast to compile, and telling what a test runs" OFF)

add_compile_options(
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
  -Wnon-virtual-dtor -Wformat=2 -Wundef)
if(SCSITOOL_WERROR)
  add_compile_options(-Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options(-Wduplicated-cond -Wlogical-op)
  # As Clang does: a function of the library is not replaced from outside, so it may be inlined.
  add_compile_options(-fno-semantic-interposition)
endif()
if(SCSITOOL_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
else()
  # Every symbol that the library leaves open must be found in what it links with.
  add_link_options(-Wl,-z,defs -Wl,-z,relro -Wl,-z,now)
endif()
# For the code alone: the tests, which are compiled as in any other build, come from ccache.
set(SCSITOOL_TRACED "")
if(SCSITOOL_MUTANTS)
  set(SCSITOOL_TRACED -O0 -g1 -w -fsanitize-coverage=trace-pc)
endif()
# For the libraries and the command alone: the tests of the same build are no faster for it.
set(SCSITOOL_GUIDED "")
if(SCSITOOL_FUZZ)
  set(SCSITOOL_GUIDED -fsanitize=fuzzer-no-link)
endif()
