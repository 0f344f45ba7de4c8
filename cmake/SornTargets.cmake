# sorn_add_layer(NAME SOURCES file... [HOT file...] [BELOW layer...] [LIBRARIES library...])
#
# One folder of the library: an object library that sees the headers of the layers it names, and so those
# below them. The objects of all layers together make the libraries `sorn` (static and shared). A release build
# optimises for size, but for the sources named HOT, which run for each event or each value of a document; its
# objects carry both finished code, for programs that take the static library in, and what the shared library
# needs to be optimised as a whole.
function(sorn_add_layer name)
  cmake_parse_arguments(LAYER "" "" "SOURCES;HOT;BELOW;LIBRARIES" ${ARGN})
  set(target sorn_${name})
  add_library(${target} OBJECT ${LAYER_SOURCES} ${LAYER_HOT})
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-Os> -ffunction-sections -fdata-sections)
  if(SORN_LTO AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${target} PRIVATE "$<$<CONFIG:Release>:-flto=auto;-ffat-lto-objects>")
  endif()
  set_source_files_properties(${LAYER_HOT} PROPERTIES COMPILE_OPTIONS "$<$<CONFIG:Release>:-O2>")
  target_include_directories(${target} PUBLIC "${PROJECT_SOURCE_DIR}/include" "${PROJECT_SOURCE_DIR}/src")
  target_link_libraries(${target} PUBLIC sorn_flags Threads::Threads ${LAYER_LIBRARIES})
  foreach(below IN LISTS LAYER_BELOW)
    target_link_libraries(${target} PUBLIC sorn_${below})
  endforeach()
  target_compile_definitions(${target} PRIVATE SORN_BUILDING_LIBRARY)
  set_property(GLOBAL APPEND PROPERTY SORN_LAYERS ${target})
endfunction()
