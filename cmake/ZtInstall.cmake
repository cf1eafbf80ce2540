# What `cmake --install` puts where, and the package files by which other projects find the library.

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS ZtFoundation EXPORT ZtFoundationTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
get_property(modules GLOBAL PROPERTY ZT_MODULES)
if(modules)
  install(TARGETS ${modules} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()

set(packageFolder ${CMAKE_INSTALL_LIBDIR}/cmake/ZtFoundation)
install(EXPORT ZtFoundationTargets NAMESPACE ZtFoundation:: FILE ZtFoundationConfig.cmake DESTINATION ${packageFolder})
include(CMakePackageConfigHelpers)
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/ZtFoundationConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ZtFoundationConfigVersion.cmake DESTINATION ${packageFolder})

configure_file(${PROJECT_SOURCE_DIR}/cmake/ZtFoundation.pc.in ${PROJECT_BINARY_DIR}/ZtFoundation.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ZtFoundation.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
