# SPDX-License-Identifier: Apache-2.0
# Installation: headers, both libraries, CMake package (find_package(Arvessa)) and pkg-config file.
include(CMakePackageConfigHelpers)

set(ARVESSA_SHARED_LIBDIR ${CMAKE_INSTALL_LIBDIR}
    CACHE STRING "Folder of the installed shared library; programs are told any that is not usual")
install(
  TARGETS Arvessa ArvessaStatic
  EXPORT ArvessaTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  LIBRARY DESTINATION ${ARVESSA_SHARED_LIBDIR}
  PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(TARGET ArvessaV3)
  install(TARGETS ArvessaV3
          LIBRARY DESTINATION ${ARVESSA_SHARED_LIBDIR}/glibc-hwcaps/x86-64-v3)
endif()
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

set(shared ${CMAKE_INSTALL_PREFIX}/${ARVESSA_SHARED_LIBDIR})
file(RELATIVE_PATH ARVESSA_PC_TO_LIB ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${shared})
file(RELATIVE_PATH ARVESSA_LIB_TO_INCLUDE ${shared} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
set(ARVESSA_RPATH "")
if(NOT ARVESSA_SHARED_LIBDIR STREQUAL CMAKE_INSTALL_LIBDIR)
  set(ARVESSA_RPATH " -Wl,-rpath,\${libdir}")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/arvessa.pc.in ${PROJECT_BINARY_DIR}/arvessa.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/arvessa.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
