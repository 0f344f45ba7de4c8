# Options of the build, and the flags that every target of this project is compiled with.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# Where ccache is installed, it stands before the compiler.
find_program(SORN_CCACHE ccache)
mark_as_advanced(SORN_CCACHE)
if(SORN_CCACHE AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${SORN_CCACHE}")
endif()

option(SORN_BENCHMARKS "Build the benchmarks" OFF)
option(SORN_FUZZ "Build the fuzz targets (needs clang)" OFF)
option(SORN_LTO "Optimise the shared library of a release build when it is linked (g++)" ON)
set(SORN_SANITIZE "" CACHE STRING "Sanitizers to build with, such as address,undefined")

# What a deployment fixes; the reserved names stand until somebody sets them.
set(SORN_STORAGE_ORIGIN "https://storage.invalid" CACHE STRING "Origin of the published files' storage")
set(SORN_STORAGE_DOMAIN ".files.invalid" CACHE STRING "Domain part that follows the bucket's first label")
set(SORN_LOG_LABEL "invalid.sorn.sdk" CACHE STRING "Label of the library's lines in the system log")

# Of this directory and those below it, so that no host that links a target inherits them.
add_compile_options(
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-align -Woverloaded-virtual
  -Wconversion -Wno-sign-conversion -Wnull-dereference -Wimplicit-fallthrough -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # g++ 12 reports uses of uninitialised and dangling storage inside the standard library's variants.
  add_compile_options(
    -Wno-maybe-uninitialized -Wno-null-dereference -Wno-restrict -Wno-dangling-pointer -Wno-array-bounds)
endif()
if(SORN_SANITIZE)
  add_compile_options(-fsanitize=${SORN_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${SORN_SANITIZE})
  if(SORN_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()
if(SORN_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()
