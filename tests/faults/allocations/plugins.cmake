# The code of the bundles that are loaded with failing allocations: plugins/<name>.cpp becomes tests/plugins/<name>.so.
file(GLOB plugins CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/plugins/*.cpp)
foreach(plugin IN LISTS plugins)
  get_filename_component(name ${plugin} NAME_WE)
  add_library(plugin-${name} MODULE ${plugin})
  target_link_libraries(plugin-${name} PRIVATE ZtBuildOptions ZtFoundation)
  set_target_properties(plugin-${name} PROPERTIES
    PREFIX "" OUTPUT_NAME ${name} LIBRARY_OUTPUT_DIRECTORY ${testOutput}/plugins)
  add_dependencies(${target} plugin-${name})
endforeach()
target_compile_definitions(${target} PRIVATE ZT_TEST_PLUGINS="${testOutput}/plugins")
