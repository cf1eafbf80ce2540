# The targets of src/, examples/ and tools/. Sources are found by folder, so a new file needs no edit here.

include(ZtFramework)

set(ZT_MODULE_FOLDERS src/platform/unicode src/platform/desktop src/platform/mounts)

# The sources of a folder and everything below it, without those of the optional modules.
function(zt_sources result folder)
  file(GLOB_RECURSE found CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.cpp)
  foreach(module IN LISTS ZT_MODULE_FOLDERS)
    if(NOT folder STREQUAL module)
      list(FILTER found EXCLUDE REGEX "/${module}/")
    endif()
  endforeach()
  set(${result} ${found} PARENT_SCOPE)
endfunction()

# libZtFoundation.so, made of objects that white-box tests can also link directly.
function(zt_add_library)
  zt_sources(sources src)
  if(NOT sources)
    message(FATAL_ERROR "There are no sources under src/")
  endif()

  add_library(ZtFoundationObjects OBJECT ${sources})
  target_include_directories(ZtFoundationObjects
    PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    PRIVATE ${PROJECT_SOURCE_DIR}/src)
  set_target_properties(ZtFoundationObjects PROPERTIES POSITION_INDEPENDENT_CODE ON)
  target_link_libraries(ZtFoundationObjects PRIVATE ZtBuildOptions PUBLIC ${CMAKE_DL_LIBS})
  set_source_files_properties(${PROJECT_SOURCE_DIR}/src/platform/linux/process/ModuleLoader.cpp
    PROPERTIES COMPILE_DEFINITIONS "ZT_VERSION=\"${PROJECT_VERSION}\"")
  if(ZT_SANITIZE)
    zt_precompile_common_headers(ZtFoundationObjects)
  endif()

  add_library(ZtFoundation SHARED $<TARGET_OBJECTS:ZtFoundationObjects>)
  target_include_directories(ZtFoundation PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_compile_features(ZtFoundation PUBLIC cxx_std_20)
  target_link_libraries(ZtFoundation PRIVATE $<BUILD_INTERFACE:ZtBuildOptions> ${CMAKE_DL_LIBS})
  zt_link_as_shared_object(ZtFoundation ${PROJECT_SOURCE_DIR}/cmake/exports.map)
  set_target_properties(ZtFoundation PROPERTIES
    LINKER_LANGUAGE CXX VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
    ZT_MODULE_FILES "" EXPORT_PROPERTIES ZT_MODULE_FILES)
  add_library(ZtFoundation::ZtFoundation ALIAS ZtFoundation)

  # By this name gdb finds what shows the library's values.
  configure_file(${PROJECT_SOURCE_DIR}/tools/gdb/ZtFoundation-gdb.py
    ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/libZtFoundation.so.${PROJECT_VERSION}-gdb.py COPYONLY)
endfunction()

# Parsing what nearly all sources include takes a third of a sanitized build. Other builds go without, so that an include
# that is missing comes to light, and so that g++ 12 may tell all its warnings.
function(zt_precompile_common_headers target)
  target_precompile_headers(${target} PRIVATE
    <algorithm> <array> <charconv> <memory> <mutex> <optional> <string> <string_view> <vector>
    <ZtFoundation/platform/Array.h> <ZtFoundation/platform/Dictionary.h> <ZtFoundation/platform/Runtime.h>)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # A time inside the precompiled header would make it, and all that uses it, new to ccache each time.
    target_compile_options(${target} PRIVATE "SHELL:-Xclang -fno-pch-timestamp")
  else()
    # g++ 12 no longer knows the system's headers as such when they were precompiled, and finds such faults in its own.
    target_compile_options(${target} PRIVATE -Wno-array-bounds -Wno-stringop-overflow)
  endif()
endfunction()

# The linker options that keep a shared object quick to load and its interface to what is marked for export; `exports` is
# a version script.
function(zt_link_as_shared_object target exports)
  target_link_options(${target} PRIVATE
    -Wl,-O1 -Wl,--as-needed -Wl,--hash-style=gnu -Wl,-z,relro -Wl,-Bsymbolic-functions
    -Wl,--version-script=${exports})
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${exports})
  if(NOT ZT_SANITIZE AND NOT ZT_LIBFUZZER)
    target_link_options(${target} PRIVATE -Wl,-z,defs)
  endif()
endfunction()

# A part of the platform that carries a heavy dependency: libZtFoundation<name>.so, which the library opens on
# first use. The other arguments are pkg-config packages. Made only if the folder has sources.
function(zt_add_module name folder)
  zt_sources(sources ${folder})
  if(NOT sources)
    return()
  endif()
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(ZT_${name} REQUIRED IMPORTED_TARGET ${ARGN})

  set(target ZtFoundation${name})
  add_library(${target} MODULE ${sources})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${target} PRIVATE ZtBuildOptions ZtFoundation PkgConfig::ZT_${name})
  set(exports ${PROJECT_BINARY_DIR}/module-exports.map)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/module-exports.map.in ${exports} @ONLY)
  zt_link_as_shared_object(${target} ${exports})
  set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "$ORIGIN")
  set_property(GLOBAL APPEND PROPERTY ZT_MODULES ${target})
  set_property(TARGET ZtFoundation APPEND PROPERTY ZT_MODULE_FILES lib${target}.so)
endfunction()

# Whoever runs with the library also needs its modules built, though it does not link them.
function(zt_use_library target)
  target_link_libraries(${target} PRIVATE ZtBuildOptions ZtFoundation)
  zt_need_modules(${target})
endfunction()

function(zt_need_modules target)
  get_property(modules GLOBAL PROPERTY ZT_MODULES)
  if(modules)
    add_dependencies(${target} ${modules})
  endif()
endfunction()

# examples/<name>.cpp and examples/<name>/*.cpp each become build/.../examples/<name>; examples/<name>.bundle/ becomes a bundle
# and examples/<name>.app/ an application package of that name there. An example that names packages in a file "pkg-config" is left
# out where they are not installed.
function(zt_add_examples)
  file(GLOB entries CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}/examples ${PROJECT_SOURCE_DIR}/examples/*)
  foreach(entry IN LISTS entries)
    if(entry MATCHES "\\.bundle$")
      zt_add_bundle(${entry})
      continue()
    elseif(entry MATCHES "\\.app$")
      zt_add_application(${entry})
      continue()
    elseif(IS_DIRECTORY ${PROJECT_SOURCE_DIR}/examples/${entry})
      zt_sources(sources examples/${entry})
    elseif(entry MATCHES "\\.cpp$")
      set(sources ${PROJECT_SOURCE_DIR}/examples/${entry})
    else()
      set(sources)
    endif()
    if(sources)
      string(REGEX REPLACE "\\.cpp$" "" name ${entry})
      zt_add_example(${name} ${sources})
    endif()
  endforeach()
endfunction()

function(zt_add_example name)
  set(list ${PROJECT_SOURCE_DIR}/examples/${name}/pkg-config)
  set(packages)
  if(EXISTS ${list})
    file(STRINGS ${list} packages)
    find_package(PkgConfig REQUIRED)
    pkg_check_modules(ZT_EXAMPLE_${name} IMPORTED_TARGET ${packages})
    if(NOT ZT_EXAMPLE_${name}_FOUND)
      return()
    endif()
  endif()
  zt_add_program(example-${name} ${name} examples ${ARGN})
  if(packages)
    target_link_libraries(example-${name} PRIVATE PkgConfig::ZT_EXAMPLE_${name})
  endif()
endfunction()

# Info.plist and Resources/ of a bundle.
function(zt_copy_bundle_files bundle)
  set(source ${PROJECT_SOURCE_DIR}/examples/${bundle})
  file(GLOB_RECURSE files CONFIGURE_DEPENDS RELATIVE ${source} ${source}/Info.plist ${source}/Resources/*)
  foreach(file IN LISTS files)
    configure_file(${source}/${file} ${CMAKE_BINARY_DIR}/examples/${bundle}/Contents/${file} COPYONLY)
  endforeach()
endfunction()

# A plug-in: its code, named like the bundle, and its other files.
function(zt_add_bundle bundle)
  zt_sources(sources examples/${bundle})
  get_filename_component(name ${bundle} NAME_WE)
  set(contents ${CMAKE_BINARY_DIR}/examples/${bundle}/Contents)
  set(target example-${bundle})
  add_library(${target} MODULE ${sources})
  zt_use_library(${target})
  set_target_properties(${target} PROPERTIES
    PREFIX "" SUFFIX "" OUTPUT_NAME ${name} LIBRARY_OUTPUT_DIRECTORY ${contents}/Linux)
  zt_copy_bundle_files(${bundle})
endfunction()

# An application package with the library inside: its program, named like the package, and its other files.
function(zt_add_application package)
  zt_sources(sources examples/${package})
  get_filename_component(name ${package} NAME_WE)
  set(target example-${package})
  zt_add_program(${target} ${name} examples/${package}/Contents/Linux ${sources})
  zt_embed_framework(${target})
  zt_copy_bundle_files(${package})
endfunction()

# tools/<name>/*.cpp becomes build/.../bin/<name>; tools/<name>/<name>.1 is its man page.
function(zt_add_tools)
  file(GLOB entries CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}/tools ${PROJECT_SOURCE_DIR}/tools/*)
  foreach(entry IN LISTS entries)
    zt_sources(sources tools/${entry})
    if(sources)
      zt_add_program(${entry} ${entry} bin ${sources})
      zt_find_library_from_bin(${entry})
      zt_install_folders(tools ${CMAKE_INSTALL_BINDIR} ${CMAKE_INSTALL_MANDIR}/man1)
      install(TARGETS ${entry} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
      install(FILES ${PROJECT_SOURCE_DIR}/tools/${entry}/${entry}.1
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
    endif()
  endforeach()
endfunction()

function(zt_add_program target output folder)
  add_executable(${target} ${ARGN})
  zt_use_library(${target})
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME ${output} RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/${folder})
  # Where only some tests are built, so is only what they need.
  set_target_properties(${target} PROPERTIES EXCLUDE_FROM_ALL ${ZT_ONLY_THREADED_TESTS})
endfunction()

# A program that is installed has one run path for here and there, the way in the build folder last. CMake would make room for a run path that
# it writes later by empty folders at the end, and an empty one is the current folder.
function(zt_find_library_from_bin target)
  file(RELATIVE_PATH installed ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  file(RELATIVE_PATH built ${CMAKE_BINARY_DIR}/bin ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
  set(ways "$ORIGIN/${installed}" "$ORIGIN/${built}")
  list(REMOVE_DUPLICATES ways)
  set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "${ways}")
endfunction()
