# Installs the library, the headers of hosts, and what build systems ask for: a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

set(KARST_HEADERS_DIR ${PROJECT_BINARY_DIR}/installed-headers/karst)
set(KARST_HEADERS_STAMP ${PROJECT_BINARY_DIR}/installed-headers/made)

file(GLOB_RECURSE KARST_ALL_HEADERS CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/*.h)
add_custom_command(
  OUTPUT ${KARST_HEADERS_STAMP}
  COMMAND ${CMAKE_COMMAND} -D SOURCE_DIR=${PROJECT_SOURCE_DIR}/src -D TARGET_DIR=${KARST_HEADERS_DIR} -P
          ${PROJECT_SOURCE_DIR}/cmake/installed_headers.cmake
  COMMAND ${CMAKE_COMMAND} -E touch ${KARST_HEADERS_STAMP}
  DEPENDS ${KARST_ALL_HEADERS} ${PROJECT_SOURCE_DIR}/cmake/installed_headers.cmake
  COMMENT "Collecting the public headers"
  VERBATIM)
add_custom_target(karst_headers ALL DEPENDS ${KARST_HEADERS_STAMP})

install(TARGETS karst_library EXPORT KarstTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development)
install(DIRECTORY ${KARST_HEADERS_DIR} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

# Before 1.0 a minor version may change what hosts see.
set(KARST_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Karst)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KarstConfig.cmake.in ${PROJECT_BINARY_DIR}/KarstConfig.cmake
                              INSTALL_DESTINATION ${KARST_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KarstConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KarstConfig.cmake ${PROJECT_BINARY_DIR}/KarstConfigVersion.cmake
        DESTINATION ${KARST_PACKAGE_DIR} COMPONENT development)
install(EXPORT KarstTargets NAMESPACE Karst:: DESTINATION ${KARST_PACKAGE_DIR} COMPONENT development)

# The file finds its prefix from its own place, so that an installed tree can be moved.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
           OUTPUT_VARIABLE KARST_PC_TO_PREFIX)
configure_file(${PROJECT_SOURCE_DIR}/cmake/karst.pc.in ${PROJECT_BINARY_DIR}/karst.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/karst.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
