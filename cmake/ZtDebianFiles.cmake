# Run by cpack before it makes packages of what was installed: adds what only Debian packages have, or have otherwise.

if(NOT CPACK_GENERATOR STREQUAL DEB)
  return()
endif()

set(everybodyMayRead PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
set(everybodyMayEnter PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# Replaces the file; without a name and time inside, so that the same file gives the same bytes.
function(zt_compress file)
  execute_process(COMMAND gzip -9 -n -f ${file} COMMAND_ERROR_IS_FATAL ANY)
  file(CHMOD ${file}.gz ${everybodyMayRead})
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} name)
  set(content ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component})
  set(documentation ${content}/usr/share/doc/${CPACK_DEBIAN_${name}_PACKAGE_NAME})

  file(GLOB manPages ${content}/usr/share/man/*/*.[0-9])
  foreach(page IN LISTS manPages)
    zt_compress(${page})
  endforeach()

  file(MAKE_DIRECTORY ${documentation})
  file(COPY_FILE ${CMAKE_CURRENT_LIST_DIR}/debian-changelog ${documentation}/changelog.Debian)
  zt_compress(${documentation}/changelog.Debian)
  file(CHMOD ${content}/usr ${content}/usr/share ${content}/usr/share/doc ${documentation} ${everybodyMayEnter})
endforeach()
