# Where things are installed below the prefix. On Debian the folder of libraries names the architecture under every prefix, not only
# under /usr, so that a package and an installation by hand have one layout; Debian's loader, CMake and pkg-config all look there.

if(NOT DEFINED CMAKE_INSTALL_LIBDIR AND CMAKE_LIBRARY_ARCHITECTURE AND EXISTS /etc/debian_version)
  set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "Folder of libraries below the prefix")
endif()
include(GNUInstallDirs)
