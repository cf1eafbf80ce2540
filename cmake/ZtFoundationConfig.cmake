# Found by find_package(ZtFoundation): the target ZtFoundation::ZtFoundation and the function zt_embed_framework.

include(${CMAKE_CURRENT_LIST_DIR}/ZtFoundationTargets.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/ZtFramework.cmake)
