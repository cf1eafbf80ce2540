zt_add_test_plugins(${target} ${CMAKE_CURRENT_LIST_DIR})
