# How everything of this project is compiled: language level, warnings, visibility, sanitizers, ccache.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
string(STRIP "${CMAKE_CXX_FLAGS_RELEASE_INIT}" usualFlags)
if(CMAKE_CXX_FLAGS_RELEASE STREQUAL usualFlags)  # nobody asks for others
  set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
endif()

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Release or Debug" FORCE)
endif()

# Where ccache cannot make its folder it compiles nothing.
function(zt_try_ccache result)
  set(probe ${CMAKE_BINARY_DIR}/CMakeFiles/ccache-probe)
  file(WRITE ${probe}.cpp "")
  execute_process(COMMAND ${ZT_CCACHE} ${CMAKE_CXX_COMPILER} -c ${probe}.cpp -o ${probe}.o
    RESULT_VARIABLE status OUTPUT_QUIET ERROR_VARIABLE message ERROR_STRIP_TRAILING_WHITESPACE)
  set(works ON)
  if(NOT status EQUAL 0)
    set(works OFF)
    message(STATUS "Compiling without ccache: ${message}")
  endif()
  set(${result} ${works} PARENT_SCOPE)
endfunction()

find_program(ZT_CCACHE ccache)
if(ZT_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  zt_try_ccache(works)
  if(works)
    # Without this leave it would compile everything that uses a precompiled header again. What it has not yet is not
    # preprocessed twice: the compiler itself tells it what a source includes.
    set(CMAKE_CXX_COMPILER_LAUNCHER env CCACHE_SLOPPINESS=pch_defines,time_macros CCACHE_DEPEND=1 ${ZT_CCACHE})
  endif()
endif()

# Every target of the project links this; it is not part of what hosts see.
add_library(ZtBuildOptions INTERFACE)
target_compile_options(ZtBuildOptions INTERFACE
  -Wall -Wextra -Wpedantic -Werror
  -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
  -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2 -Wno-format-nonliteral -Wundef
)
target_compile_definitions(ZtBuildOptions INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)

# 32-bit x86 gets the same arithmetic as all other processors, not that of its old floating-point unit, whose results have digits that the memory for
# them has not.
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86|x86_64|AMD64)$")
  target_compile_options(ZtBuildOptions INTERFACE -msse2 -mfpmath=sse)
endif()

# A target with the property ZT_IS_TEST is neither checked for undefined behaviour nor watched by the fuzzer.
if(ZT_SANITIZE)
  target_compile_options(ZtBuildOptions INTERFACE
    -fsanitize=${ZT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
    $<$<BOOL:$<TARGET_PROPERTY:ZT_IS_TEST>>:-fno-sanitize=undefined>)
  target_link_options(ZtBuildOptions INTERFACE -fsanitize=${ZT_SANITIZE})
endif()
if(ZT_LIBFUZZER)
  target_compile_options(ZtBuildOptions INTERFACE $<$<NOT:$<BOOL:$<TARGET_PROPERTY:ZT_IS_TEST>>>:-fsanitize=fuzzer-no-link>)
  target_link_options(ZtBuildOptions INTERFACE -fsanitize=fuzzer-no-link)
endif()
