# Run by zt_embed_framework after a program was linked: makes ZtFoundation.framework of the package that PROGRAM lies in anew from the file
# LIBRARY with its SONAME, the files MODULES and, where given, the include folders HEADERS. Programs of one package wait for each other
# by the file LOCK.

cmake_minimum_required(VERSION 3.25)

# Elsewhere, what is removed and made could be anybody's.
if(NOT PROGRAM MATCHES "^(.+\\.app/Contents)/[^/]+/[^/]+$")
  message(FATAL_ERROR "zt_embed_framework: ${PROGRAM} does not lie in Name.app/Contents/Linux of an application package; "
    "set the target's RUNTIME_OUTPUT_DIRECTORY to such a folder")
endif()
set(framework ${CMAKE_MATCH_1}/Frameworks/ZtFoundation.framework)
file(LOCK ${LOCK} GUARD PROCESS)

set(folder ${framework}/Versions/A)
file(REMOVE_RECURSE ${framework})
file(MAKE_DIRECTORY ${folder})

file(COPY_FILE ${LIBRARY} ${folder}/ZtFoundation)
file(CREATE_LINK ZtFoundation ${folder}/${SONAME} SYMBOLIC)
foreach(module IN LISTS MODULES)
  file(COPY ${module} DESTINATION ${folder})
endforeach()
foreach(include IN LISTS HEADERS)
  file(COPY ${include}/ZtFoundation/ DESTINATION ${folder}/Headers)
endforeach()

# What is current is found without naming the version.
file(CREATE_LINK A ${framework}/Versions/Current SYMBOLIC)
foreach(name ZtFoundation Headers)
  if(EXISTS ${folder}/${name})
    file(CREATE_LINK Versions/Current/${name} ${framework}/${name} SYMBOLIC)
  endif()
endforeach()
