# The library inside an application package, so that the application runs wherever its folder is put:
#
#   Name.app/Contents/Linux/<program>
#   Name.app/Contents/Frameworks/ZtFoundation.framework/Versions/A/ZtFoundation     the library
#   Name.app/Contents/Frameworks/ZtFoundation.framework/Versions/A/libZtFoundation<name>.so     its modules
#
# Beside the library lies a link with its shared-object name. By that name the loader looks for it, in the run path that the
# program has, and plug-ins find the one copy that is loaded already, whatever they were linked with.

set(ZT_EMBED_SCRIPT ${CMAKE_CURRENT_LIST_DIR}/ZtEmbedFramework.cmake)

# zt_embed_framework(<target> [HEADERS])
#
# Copies the library and its modules beside the executable target, whose output folder is Name.app/Contents/Linux, each time that it
# is linked or they have changed, and makes it find them there. HEADERS copies the public headers too; all programs of one package say it, or
# none. Building a target whose output folder is another fails.
function(zt_embed_framework target)
  cmake_parse_arguments(PARSE_ARGV 1 embed "HEADERS" "" "")
  set(library ZtFoundation::ZtFoundation)
  get_target_property(modules ${library} ZT_MODULE_FILES)
  list(TRANSFORM modules PREPEND $<TARGET_FILE_DIR:${library}>/ OUTPUT_VARIABLE moduleFiles)
  set(headers)
  if(embed_HEADERS)
    set(headers $<TARGET_PROPERTY:${library},INTERFACE_INCLUDE_DIRECTORIES>)
  endif()

  target_link_libraries(${target} PRIVATE ${library})
  set_target_properties(${target} PROPERTIES
    BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "$ORIGIN/../Frameworks/ZtFoundation.framework/Versions/A")
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND}
      -D "PROGRAM=$<TARGET_FILE:${target}>"
      -D "LOCK=${CMAKE_BINARY_DIR}/CMakeFiles/ZtEmbedFramework.lock"
      -D "LIBRARY=$<TARGET_FILE:${library}>"
      -D "SONAME=$<TARGET_SONAME_FILE_NAME:${library}>"
      -D "MODULES=${moduleFiles}"
      -D "HEADERS=${headers}"
      -P ${ZT_EMBED_SCRIPT}
    VERBATIM)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${ZT_EMBED_SCRIPT} ${moduleFiles})
endfunction()
