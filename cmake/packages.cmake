# Debian packages: karst (the program), libkarst0 (the library), libkarst-dev (what a build against it needs).
# Made by: cmake --preset package && cmake --build --preset package && cpack --preset package
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Karst developers <karst@localhost>")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_SET_DESTDIR OFF)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian/documents.cmake)
set(CPACK_KARST_SOURCE_DIR ${PROJECT_SOURCE_DIR})

set(CPACK_COMPONENTS_ALL program library development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# What the binaries need of the system is read from them.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY "=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})

# With its own packages one release fits another exactly.
set(KARST_LIBRARY_DEPENDENCY "libkarst0 (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME karst)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS ${KARST_LIBRARY_DEPENDENCY})
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SUGGESTS xdg-utils)
set(CPACK_DEBIAN_PROGRAM_DESCRIPTION
    "runs Karst scripts and record filters
Karst is a small script language for library cataloguing. Its filters are
laid out like a bibliographic record, with a block for each field and
subfield, and run over files of MARC records of any size.")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libkarst0)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION
    "engine of the Karst script language
Karst is a small script language for library cataloguing. This library runs
its scripts and filters, over files of records or for one record at a time.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkarst-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS ${KARST_LIBRARY_DEPENDENCY})
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
    "engine of the Karst script language, for developers
Karst is a small script language for library cataloguing. This package has
the headers for C and C++, a CMake package and a pkg-config file.")
include(CPack)
