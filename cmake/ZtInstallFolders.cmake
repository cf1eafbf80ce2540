# Where things are installed below the prefix. On Debian the folder of libraries names the architecture under every prefix, not only
# under /usr, so that a package and an installation by hand have one layout; Debian's loader, CMake and pkg-config all look there.

if(NOT DEFINED CMAKE_INSTALL_LIBDIR AND CMAKE_LIBRARY_ARCHITECTURE AND EXISTS /etc/debian_version)
  set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "Folder of libraries below the prefix")
endif()
include(GNUInstallDirs)

# Others may look into new folders, whatever mask the installing user has for new files.
if(NOT DEFINED CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS)
  set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
endif()

# What follows of the component finds these folders made.
function(zt_install_folders component)
  install(CODE "
  set(FOLDERS \"${ARGN}\")
  include(\"${PROJECT_SOURCE_DIR}/cmake/ZtMakeFolders.cmake\")
  " COMPONENT ${component})
endfunction()
