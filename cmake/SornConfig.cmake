# The installed package: Sorn::sorn, and for each component NAME that a host asks for Sorn::NAME.
include("${CMAKE_CURRENT_LIST_DIR}/sorn.targets.cmake")
foreach(component IN LISTS Sorn_FIND_COMPONENTS)
  include("${CMAKE_CURRENT_LIST_DIR}/${component}.targets.cmake" OPTIONAL RESULT_VARIABLE Sorn_${component}_FOUND)
  if(NOT Sorn_${component}_FOUND AND Sorn_FIND_REQUIRED_${component})
    set(Sorn_FOUND FALSE)
    set(Sorn_NOT_FOUND_MESSAGE "Sorn was installed without ${component}")
  endif()
endforeach()
