# Where things are installed, and how a host finds them there.
include(CMakePackageConfigHelpers)

set(SORN_PACKAGE_DIRECTORY "${CMAKE_INSTALL_LIBDIR}/cmake/Sorn")

# sorn_install_library(TARGET DESCRIPTION [LIBRARY]): the shared library, as the target Sorn::TARGET of the CMake
# package and as the package TARGET of pkg-config, which brings LIBRARY along. Each library is a part of its own, TARGET.targets.cmake: the package loads
# that of `sorn` always, another one when a host asks for the component.
function(sorn_install_library target description)
  install(TARGETS ${target} EXPORT ${target} LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
  install(EXPORT ${target} NAMESPACE Sorn:: FILE ${target}.targets.cmake DESTINATION "${SORN_PACKAGE_DIRECTORY}")
  set(requires ${ARGN})
  file(RELATIVE_PATH to_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
  string(REGEX REPLACE "/$" "" to_prefix "${to_prefix}")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/library.pc.in" "${CMAKE_CURRENT_BINARY_DIR}/${target}.pc" @ONLY)
  install(FILES "${CMAKE_CURRENT_BINARY_DIR}/${target}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
endfunction()

# sorn_install_package(): the entry of the CMake package, with its version.
function(sorn_install_package)
  set(version "${CMAKE_CURRENT_BINARY_DIR}/SornConfigVersion.cmake")
  write_basic_package_version_file("${version}" COMPATIBILITY SameMajorVersion)
  install(FILES "${PROJECT_SOURCE_DIR}/cmake/SornConfig.cmake" "${version}" DESTINATION "${SORN_PACKAGE_DIRECTORY}")
endfunction()
