if(TARGET example-plugin-logging.bundle)
  add_dependencies(${target} example-plugin-logging.bundle example-plugin-logging)
endif()
target_compile_definitions(${target} PRIVATE ZT_EXAMPLES="${CMAKE_BINARY_DIR}/examples")
