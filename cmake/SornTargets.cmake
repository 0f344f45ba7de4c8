# sorn_add_layer(NAME SOURCES file... [BELOW layer...] [LIBRARIES library...])
#
# One folder of the library: an object library that sees the headers of the layers it names, and so those
# below them. The objects of all layers together make the libraries `sorn` (static and shared).
function(sorn_add_layer name)
  cmake_parse_arguments(LAYER "" "" "SOURCES;BELOW;LIBRARIES" ${ARGN})
  set(target sorn_${name})
  add_library(${target} OBJECT ${LAYER_SOURCES})
  target_include_directories(${target} PUBLIC "${PROJECT_SOURCE_DIR}/include" "${PROJECT_SOURCE_DIR}/src")
  target_link_libraries(${target} PUBLIC sorn_flags Threads::Threads ${LAYER_LIBRARIES})
  foreach(below IN LISTS LAYER_BELOW)
    target_link_libraries(${target} PUBLIC sorn_${below})
  endforeach()
  target_compile_definitions(${target} PRIVATE SORN_BUILDING_LIBRARY)
  set_property(GLOBAL APPEND PROPERTY SORN_LAYERS ${target})
endfunction()
