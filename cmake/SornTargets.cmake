# The floors of the library as targets. src/floors.txt lists them; a floor is compiled with the headers of the
# floors that it sees in its reach and no others, so that an include that goes up finds no file.

# sorn_read_floors(): reads the list, which is in the order of building, into global properties: SORN_FLOORS,
# and for each floor SORN_TOWER_<floor> and SORN_SEES_<floor> (itself first, down to the ground).
function(sorn_read_floors)
  set(list "${PROJECT_SOURCE_DIR}/src/floors.txt")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${list}")
  file(STRINGS "${list}" rows REGEX "^[a-z]")
  foreach(row IN LISTS rows)
    if(NOT row MATCHES "^([a-z]+) ([a-z]+): ?([a-z ]*)$")
      message(FATAL_ERROR "src/floors.txt: ${row}")
    endif()
    set(floor "${CMAKE_MATCH_2}")
    set(sees ${floor})
    set_property(GLOBAL PROPERTY SORN_TOWER_${floor} "${CMAKE_MATCH_1}")
    string(REPLACE " " ";" below "${CMAKE_MATCH_3}")
    foreach(lower IN LISTS below)
      get_property(reach GLOBAL PROPERTY SORN_SEES_${lower})
      if(NOT reach)
        message(FATAL_ERROR "src/floors.txt: ${floor} stands on ${lower}, which is not listed before it")
      endif()
      list(APPEND sees ${reach})
    endforeach()
    list(REMOVE_DUPLICATES sees)
    set_property(GLOBAL PROPERTY SORN_SEES_${floor} "${sees}")
    set_property(GLOBAL APPEND PROPERTY SORN_FLOORS ${floor})
    # A folder that holds this floor alone, for the compiler's search.
    if(EXISTS "${PROJECT_SOURCE_DIR}/src/${floor}")
      file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/floors/${floor}")
      file(CREATE_LINK "${PROJECT_SOURCE_DIR}/src/${floor}" "${PROJECT_BINARY_DIR}/floors/${floor}/${floor}" SYMBOLIC)
    endif()
  endforeach()
endfunction()

# sorn_add_floor(SOURCES file... [HOT file...] [LIBRARIES library...])
#
# The floor that the calling folder is: an object library, sorn_<folder>. A release build optimises for size, but
# for the sources named HOT, which run for each event or each value of a document; its objects carry both finished
# code, for programs that take the static library in, and what the shared library needs to be optimised as a whole.
function(sorn_add_floor)
  cmake_parse_arguments(FLOOR "" "" "SOURCES;HOT;LIBRARIES" ${ARGN})
  get_filename_component(floor "${CMAKE_CURRENT_SOURCE_DIR}" NAME)
  set(target sorn_${floor})
  add_library(${target} OBJECT ${FLOOR_SOURCES} ${FLOOR_HOT})
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-Os> -ffunction-sections -fdata-sections)
  if(SORN_LTO AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${target} PRIVATE "$<$<CONFIG:Release>:-flto=auto;-ffat-lto-objects>")
  endif()
  set_source_files_properties(${FLOOR_HOT} PROPERTIES COMPILE_OPTIONS "$<$<CONFIG:Release>:-O2>")
  target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}/include")
  get_property(sees GLOBAL PROPERTY SORN_SEES_${floor})
  foreach(lower IN LISTS sees)
    target_include_directories(${target} PRIVATE "${PROJECT_BINARY_DIR}/floors/${lower}")
  endforeach()
  target_link_libraries(${target} PUBLIC Threads::Threads ${FLOOR_LIBRARIES})
  target_compile_definitions(${target} PRIVATE SORN_BUILDING_LIBRARY)
endfunction()

# sorn_floors_of(OUT TOWER): the floors of one library, as far as they were built.
function(sorn_floors_of out tower)
  get_property(floors GLOBAL PROPERTY SORN_FLOORS)
  set(found)
  foreach(floor IN LISTS floors)
    get_property(own GLOBAL PROPERTY SORN_TOWER_${floor})
    if(own STREQUAL tower AND TARGET sorn_${floor})
      list(APPEND found ${floor})
    endif()
  endforeach()
  set(${out} ${found} PARENT_SCOPE)
endfunction()

# sorn_objects_of(OUT FLOOR...): the object files of these floors.
function(sorn_objects_of out)
  list(TRANSFORM ARGN REPLACE "(.+)" "$<TARGET_OBJECTS:sorn_\\1>" OUTPUT_VARIABLE objects)
  set(${out} ${objects} PARENT_SCOPE)
endfunction()

# sorn_link_floors(TARGET FLOOR...): links a program of this tree with some floors and all that they stand on, for
# one that has no use for the whole library.
function(sorn_link_floors target)
  foreach(floor IN LISTS ARGN)
    get_property(sees GLOBAL PROPERTY SORN_SEES_${floor})
    list(APPEND floors ${sees})
  endforeach()
  list(REMOVE_DUPLICATES floors)
  list(TRANSFORM floors PREPEND sorn_)
  target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}/include" "${PROJECT_SOURCE_DIR}/src")
  target_link_libraries(${target} PRIVATE ${floors})
endfunction()
