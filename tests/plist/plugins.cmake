# A host that is no position-independent program.
add_executable(fixed-host ${CMAKE_CURRENT_LIST_DIR}/hosts/FixedHost.cpp)
target_link_libraries(fixed-host PRIVATE ZtBuildOptions ZtFoundation)
target_compile_options(fixed-host PRIVATE -fno-pie)
target_link_options(fixed-host PRIVATE -no-pie)
set_target_properties(fixed-host PROPERTIES OUTPUT_NAME FixedHost RUNTIME_OUTPUT_DIRECTORY ${testOutput}/hosts)
add_dependencies(${target} fixed-host)
target_compile_definitions(${target} PRIVATE ZT_TEST_HOSTS="${testOutput}/hosts")
