# What `cmake --install` puts where, and the package files by which other projects find the library. The component
# "runtime" is what a user of a program needs, "development" what its author needs beside that; "tools" runs by itself.

set(packageFolder ${CMAKE_INSTALL_LIBDIR}/cmake/ZtFoundation)
zt_install_folders(runtime ${CMAKE_INSTALL_LIBDIR})
zt_install_folders(development ${CMAKE_INSTALL_INCLUDEDIR} ${packageFolder} ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS ZtFoundation EXPORT ZtFoundationTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
get_property(modules GLOBAL PROPERTY ZT_MODULES)
if(modules)
  install(TARGETS ${modules} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime)
endif()

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT ZtFoundationTargets NAMESPACE ZtFoundation:: FILE ZtFoundationTargets.cmake
  DESTINATION ${packageFolder} COMPONENT development)
include(CMakePackageConfigHelpers)
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/ZtFoundationConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/ZtFoundationConfigVersion.cmake
  ${PROJECT_SOURCE_DIR}/cmake/ZtFoundationConfig.cmake
  ${PROJECT_SOURCE_DIR}/cmake/ZtFramework.cmake
  ${PROJECT_SOURCE_DIR}/cmake/ZtEmbedFramework.cmake
  DESTINATION ${packageFolder} COMPONENT development)

# Names its own prefix by the way from where it lies, so that a copy that was moved stays right.
file(RELATIVE_PATH ZT_PREFIX_FROM_PKGCONFIG ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
foreach(folder LIBDIR INCLUDEDIR)  # may be absolute, which some distributions make of them
  cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_${folder} BASE_DIRECTORY "\${prefix}" OUTPUT_VARIABLE ZT_PKGCONFIG_${folder})
endforeach()
configure_file(${PROJECT_SOURCE_DIR}/cmake/ZtFoundation.pc.in ${PROJECT_BINARY_DIR}/ZtFoundation.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ZtFoundation.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# gdb looks for its script beside the library. For the system's own libraries it has a folder apart, since ldconfig
# complains of what is no library in theirs.
install(CODE "
  set(folder \"${CMAKE_INSTALL_LIBDIR}\")
  cmake_path(ABSOLUTE_PATH folder BASE_DIRECTORY \"\${CMAKE_INSTALL_PREFIX}\")
  if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr\")
    set(folder \"/usr/share/gdb/auto-load\${folder}\")
  endif()
  set(FOLDERS \"\${folder}\")
  include(\"${PROJECT_SOURCE_DIR}/cmake/ZtMakeFolders.cmake\")
  file(INSTALL \"${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/libZtFoundation.so.${PROJECT_VERSION}-gdb.py\"
    DESTINATION \"\${folder}\")
  " COMPONENT development)
