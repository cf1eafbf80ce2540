# Run by the installation before files go into FOLDERS: makes those that are not there for everybody to look into, whatever mask for new files the
# installing user has. CMake's own permissions for new folders go through that mask.

foreach(wanted IN LISTS FOLDERS)
  cmake_path(ABSOLUTE_PATH wanted BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}")
  set(parent "$ENV{DESTDIR}${wanted}")
  cmake_path(ABSOLUTE_PATH parent)
  set(missing)
  while(NOT EXISTS "${parent}")
    list(PREPEND missing "${parent}")
    cmake_path(GET parent PARENT_PATH parent)
  endwhile()
  foreach(made IN LISTS missing)
    file(MAKE_DIRECTORY "${made}")
    file(CHMOD "${made}" PERMISSIONS
      OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  endforeach()
endforeach()
