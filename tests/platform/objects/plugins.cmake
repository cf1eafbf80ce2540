# What the tests put into bundles: plugins/Guest.cpp is code for a plug-in, plugins/Host.cpp a program.
add_library(bundle-guest MODULE ${CMAKE_CURRENT_LIST_DIR}/plugins/Guest.cpp)
target_link_libraries(bundle-guest PRIVATE ZtBuildOptions ZtFoundation)
set_target_properties(bundle-guest PROPERTIES
  PREFIX "" OUTPUT_NAME Guest LIBRARY_OUTPUT_DIRECTORY ${testOutput}/bundles)
add_executable(bundle-host ${CMAKE_CURRENT_LIST_DIR}/plugins/Host.cpp)
target_link_libraries(bundle-host PRIVATE ZtBuildOptions ZtFoundation)
set_target_properties(bundle-host PROPERTIES OUTPUT_NAME Host RUNTIME_OUTPUT_DIRECTORY ${testOutput}/bundles)
add_dependencies(${target} bundle-guest bundle-host)
target_compile_definitions(${target} PRIVATE ZT_TEST_BUNDLES="${testOutput}/bundles")
# A tool that tells what it was started with. It knows nothing of the library.
add_executable(task-report ${CMAKE_CURRENT_LIST_DIR}/plugins/Report.cpp)
set_target_properties(task-report PROPERTIES OUTPUT_NAME Report RUNTIME_OUTPUT_DIRECTORY ${testOutput}/bundles)
add_dependencies(${target} task-report)
