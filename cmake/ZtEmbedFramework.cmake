# Run by zt_embed_framework after a program was linked: makes FRAMEWORKS/ZtFoundation.framework anew from the file LIBRARY with its
# SONAME, the files MODULES and, where given, the include folders HEADERS.

cmake_minimum_required(VERSION 3.25)

set(framework ${FRAMEWORKS}/ZtFoundation.framework)
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
