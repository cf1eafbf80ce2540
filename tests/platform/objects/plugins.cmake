# What the tests put into bundles: plugins/Guest.cpp and plugins/Curious.cpp are code for plug-ins, plugins/Host.cpp a
# program.
foreach(name Guest Curious)
  add_library(bundle-${name} MODULE ${CMAKE_CURRENT_LIST_DIR}/plugins/${name}.cpp)
  target_link_libraries(bundle-${name} PRIVATE ZtBuildOptions ZtFoundation)
  set_target_properties(bundle-${name} PROPERTIES
    PREFIX "" OUTPUT_NAME ${name} LIBRARY_OUTPUT_DIRECTORY ${testOutput}/bundles)
  add_dependencies(${target} bundle-${name})
endforeach()
add_executable(bundle-host ${CMAKE_CURRENT_LIST_DIR}/plugins/Host.cpp)
target_link_libraries(bundle-host PRIVATE ZtBuildOptions ZtFoundation)
set_target_properties(bundle-host PROPERTIES OUTPUT_NAME Host RUNTIME_OUTPUT_DIRECTORY ${testOutput}/bundles)
add_dependencies(${target} bundle-host)
target_compile_definitions(${target} PRIVATE ZT_TEST_BUNDLES="${testOutput}/bundles")
# A tool that tells what it was started with. It knows nothing of the library.
add_executable(task-report ${CMAKE_CURRENT_LIST_DIR}/plugins/Report.cpp)
set_target_properties(task-report PROPERTIES OUTPUT_NAME Report RUNTIME_OUTPUT_DIRECTORY ${testOutput}/bundles)
add_dependencies(${target} task-report)
