# Debian packages, made by `cpack` in the build folder: libztfoundation1 runs programs, libztfoundation-dev builds them, ztplist is the
# command-line tool, which what only needs the library does not bring along. Modules have no version in their names: those of the next major version
# need others, so that both can be installed side by side.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ztfoundation)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "ZtFoundation maintainers <ztfoundation@example.org>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/cmake/ZtPackageOptions.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/ZtDebianFiles.cmake)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(description "Property lists in their formats, a settings store that saves atomically, logging, text, file and application
services, and the strings, numbers and collections that they stand on.")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libztfoundation${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "services that desktop applications share\n${description}")
# What the library and its modules link gives the dependencies; they also link the library itself, which is not installed yet.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libztfoundation-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "services that desktop applications share (development files)\n${description}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "libztfoundation${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ztplist)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "looks into property lists and settings files, and changes them\nReads XML, binary, OpenStep and INI text; converts, compares, gets and sets values.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS
  "libztfoundation${PROJECT_VERSION_MAJOR} (>= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

include(CPack)
