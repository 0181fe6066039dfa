# SPDX-License-Identifier: Apache-2.0
# Installation: headers, both libraries, CMake package (find_package(Arvessa)) and pkg-config file.
include(CMakePackageConfigHelpers)

install(
  TARGETS Arvessa ArvessaStatic
  EXPORT ArvessaTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(
  EXPORT ArvessaTargets
  NAMESPACE Arvessa::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Arvessa)

configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/ArvessaConfig.cmake.in ${PROJECT_BINARY_DIR}/ArvessaConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Arvessa)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ArvessaConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ArvessaConfig.cmake
              ${PROJECT_BINARY_DIR}/ArvessaConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Arvessa)

file(RELATIVE_PATH ARVESSA_LIB_TO_INCLUDE ${CMAKE_INSTALL_FULL_LIBDIR}
     ${CMAKE_INSTALL_FULL_INCLUDEDIR})
configure_file(${CMAKE_CURRENT_LIST_DIR}/arvessa.pc.in ${PROJECT_BINARY_DIR}/arvessa.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/arvessa.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
